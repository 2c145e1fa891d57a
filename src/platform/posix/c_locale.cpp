// Reading a double in the "C" locale through the POSIX locale objects.
#include <locale.h>
#include <stdlib.h>

#include <cstdlib>
#include <string>

#include "platform/numeric.h"

namespace ZEM::platform {

namespace {

locale_t CLocale() {
    static locale_t locale = ::newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    return locale;
}

}  // namespace

double StrToDoubleC(const char* text) {
    if (locale_t c = CLocale(); c != static_cast<locale_t>(0)) return ::strtod_l(text, nullptr, c);
    // Without a "C" locale object, hand strtod the current decimal point.
    const char* point = ::localeconv()->decimal_point;
    if (point == nullptr || point[0] == '\0' || (point[0] == '.' && point[1] == '\0'))
        return std::strtod(text, nullptr);
    std::string localised;
    for (const char* p = text; *p != '\0'; ++p) {
        if (*p == '.') localised += point;
        else localised.push_back(*p);
    }
    return std::strtod(localised.c_str(), nullptr);
}

}  // namespace ZEM::platform
