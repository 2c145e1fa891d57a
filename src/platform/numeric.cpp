// The lenient number readers of configuration values. They are written out by
// hand so that nothing depends on the process locale.
#include "platform/numeric.h"

#include <climits>
#include <cstdlib>
#include <string>

namespace ZEM::platform {

namespace {

inline bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

const char* SkipSpaceAndSign(const char* p, bool& negative) {
    while (IsSpace(*p)) ++p;
    negative = false;
    if (*p == '+' || *p == '-') {
        negative = *p == '-';
        ++p;
    }
    return p;
}

int DigitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'z') return c - 'a' + 10;
    if (c >= 'A' && c <= 'Z') return c - 'A' + 10;
    return 99;
}

}  // namespace

std::int32_t ParseInt32(const char* text) {
    if (text == nullptr) return 0;
    bool negative;
    const char* p = SkipSpaceAndSign(text, negative);
    std::int64_t value = 0;
    bool overflow = false;
    for (; *p >= '0' && *p <= '9'; ++p) {
        if (!overflow) {
            value = value * 10 + (*p - '0');
            if (value > static_cast<std::int64_t>(INT32_MAX) + 1) overflow = true;
        }
    }
    if (negative) {
        if (overflow || -value < INT32_MIN) return INT32_MIN;
        return static_cast<std::int32_t>(-value);
    }
    if (overflow || value > INT32_MAX) return INT32_MAX;
    return static_cast<std::int32_t>(value);
}

std::uint32_t ParseUInt32Auto(const char* text) {
    if (text == nullptr) return 0;
    bool negative;
    const char* p = SkipSpaceAndSign(text, negative);
    int base = 10;
    if (p[0] == '0' && (p[1] == 'x' || p[1] == 'X') && DigitValue(p[2]) < 16) {
        base = 16;
        p += 2;
    } else if (p[0] == '0') {
        base = 8;
    }
    std::uint64_t value = 0;
    bool overflow = false;
    for (; DigitValue(*p) < base; ++p) {
        value = value * static_cast<unsigned>(base) + static_cast<unsigned>(DigitValue(*p));
        if (value > UINT32_MAX) {
            overflow = true;
            value = UINT32_MAX;
        }
    }
    if (overflow) return UINT32_MAX;
    auto result = static_cast<std::uint32_t>(value);
    return negative ? static_cast<std::uint32_t>(0u - result) : result;
}

bool ScanUInt32(const char* text, std::uint32_t& value) {
    if (text == nullptr) return false;
    bool negative;
    const char* p = SkipSpaceAndSign(text, negative);
    if (*p < '0' || *p > '9') return false;
    std::uint64_t number = 0;
    bool overflow = false;
    for (; *p >= '0' && *p <= '9'; ++p) {
        const auto digit = static_cast<std::uint64_t>(*p - '0');
        if (number > (UINT64_MAX - digit) / 10) overflow = true;
        else number = number * 10 + digit;
    }
    if (overflow) number = UINT64_MAX;
    else if (negative) number = 0 - number;
    value = static_cast<std::uint32_t>(number);
    return true;
}

double ParseDouble(const char* text) {
    if (text == nullptr) return 0.0;
    // Only ASCII can belong to a number; anything else ends it.
    std::string narrow;
    for (const char* p = text; *p != 0; ++p) {
        if (static_cast<unsigned char>(*p) >= 0x80) break;
        narrow.push_back(*p);
    }
    return StrToDoubleC(narrow.c_str());
}

}  // namespace ZEM::platform
