// Reading a double in the "C" locale through the C runtime's locale objects.
#include <locale.h>
#include <stdlib.h>

#include <cstdlib>

#include "platform/numeric.h"

namespace ZEM::platform {

double StrToDoubleC(const char* text) {
    static const _locale_t c = ::_create_locale(LC_ALL, "C");
    if (c != nullptr) return ::_strtod_l(text, nullptr, c);
    return std::strtod(text, nullptr);
}

}  // namespace ZEM::platform
