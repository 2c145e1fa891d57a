// The version that this build of the library reports to a host at run time.
#include "zem/version.h"

namespace ZEM {

const char* Version() noexcept { return ZEM_VERSION_STRING; }

}  // namespace ZEM
