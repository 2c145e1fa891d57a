// The string layer's one piece of static state: the empty representation,
// constant-initialised so that it exists before any other static needs it.
#include "foundation/kt_string.h"

namespace kt_detail {

SEmptyRep g_emptyRep = {{{1}, 0, 0}, {0, 0}};

}  // namespace kt_detail
