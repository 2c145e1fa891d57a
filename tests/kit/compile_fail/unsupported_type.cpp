// Must not compile: a setter whose parameter no configured value can fill.
// By default the parameter is a list of strings; with -DZEM_KIT_LONG it is a
// 64-bit integer, which has a message of its own. With -DZEM_KIT_SUPPORTED it is
// the 32-bit type the configuration's long stands for and the file compiles,
// which shows that the failures come from the kit's checks and not from the
// build setup.
#include <cstdint>
#include <string>
#include <vector>

#include "zem/class.h"

#if defined(ZEM_KIT_SUPPORTED)
using Limit = std::int32_t;
#elif defined(ZEM_KIT_LONG)
using Limit = std::int64_t;  // long here, long long on Windows
#else
using Limit = const std::vector<std::string>&;
#endif

class CMeter : public ZEM::IObject {
public:
    void SetLimit(Limit) {}
};

ZEM::CClass<CMeter> BindMeter() {
    return ZEM::CClass<CMeter>().Constructor<>().Property("Limit", &CMeter::SetLimit);
}

ZEM_EXPORT_CLASS(BindMeter, CMeter)
