// The lenient number readers: white space, signs, stopping at the first
// character that can't continue a number, limits, bases, and the decimal
// point that stays '.' whatever the locale.
#include "platform/numeric.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

using ZEM::platform::ParseDouble;
using ZEM::platform::ParseInt32;
using ZEM::platform::ParseUInt32Auto;

namespace {

std::string Narrow(const wchar_t* text) {
    std::string out;
    for (; *text != 0; ++text) out.push_back(*text < 0x80 ? static_cast<char>(*text) : '?');
    return out;
}

}  // namespace

TEST(Numeric, SignedDecimal) {
    const struct {
        const wchar_t* text;
        std::int32_t value;
    } cases[] = {
        {L"", 0},
        {L" -7", -7},
        {L"\t\r\n +42", 42},
        {L"12abc", 12},
        {L"abc", 0},
        {L"0x10", 0},
        {L"010", 10},
        {L"2.5", 2},
        {L"- 5", 0},
        {L"--5", 0},
        {L"-", 0},
        {L"2147483647", 2147483647},
        {L"2147483648", 2147483647},
        {L"-2147483648", INT32_MIN},
        {L"-2147483649", INT32_MIN},
        {L"4294967296", 2147483647},                  // 2^32 is no wrap to 0
        {L"99999999999999999999999999", 2147483647},  // beyond 64 bits too
        {L"-99999999999999999999999999", INT32_MIN},
        {L"00000000000000000000000012", 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        EXPECT_EQ(ParseInt32(c.text), c.value);
    }
    EXPECT_EQ(ParseInt32(nullptr), 0);
}

// The 8- and 16-bit types and unsigned int keep the low bits of the signed
// 32-bit parse.
TEST(Numeric, NarrowTypesKeepLowBits) {
    EXPECT_EQ(static_cast<unsigned char>(ParseInt32(L"300")), 44);
    EXPECT_EQ(static_cast<std::uint8_t>(ParseInt32(L"-1")), 255);
    EXPECT_EQ(static_cast<signed char>(ParseInt32(L"200")), -56);
    EXPECT_EQ(static_cast<short>(ParseInt32(L"70000")), 4464);
    EXPECT_EQ(static_cast<unsigned short>(ParseInt32(L"-2")), 65534);
    EXPECT_EQ(static_cast<unsigned int>(ParseInt32(L"-1")), 4294967295u);
    EXPECT_EQ(static_cast<unsigned int>(ParseInt32(L"3000000000")), 2147483647u);
}

TEST(Numeric, UnsignedWithBasePrefix) {
    const struct {
        const wchar_t* text;
        std::uint32_t value;
    } cases[] = {
        {L"", 0},
        {L"abc", 0},
        {L"12abc", 12},
        {L" +12", 12},
        {L"0x10", 16},
        {L"0X1f", 31},
        {L"0xFFFFFFFF", 4294967295u},
        {L"0x", 0},    // no hex digit: the "0" alone is read
        {L"0xg", 0},
        {L"010", 8},
        {L"08", 0},    // octal stops at 8
        {L"0777", 511},
        {L"-1", 4294967295u},
        {L"-0x10", 4294967280u},
        {L"3000000000", 3000000000u},
        {L"4294967295", 4294967295u},
        {L"4294967296", 4294967295u},
        {L"0x100000000", 4294967295u},
        {L"-4294967296", 4294967295u},  // out of range whatever the sign
        {L"99999999999999999999999999", 4294967295u},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        EXPECT_EQ(ParseUInt32Auto(c.text), c.value);
    }
    EXPECT_EQ(ParseUInt32Auto(nullptr), 0u);
}

TEST(Numeric, Floating) {
    const struct {
        const wchar_t* text;
        double value;
    } cases[] = {
        {L"", 0.0},
        {L"abc", 0.0},
        {L"2.5", 2.5},
        {L"1e3", 1000.0},
        {L" -0.25x", -0.25},
        {L".5", 0.5},
        {L"1,5", 1.0},  // a comma is never the decimal point
        {L"7e", 7.0},
        {L"1.5\u00E9", 1.5},
        {L"\u00E91.5", 0.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        EXPECT_DOUBLE_EQ(ParseDouble(c.text), c.value);
    }
    EXPECT_EQ(static_cast<int>(ParseDouble(L"2.5")), 2);
    EXPECT_FLOAT_EQ(static_cast<float>(ParseDouble(L"0.1")), 0.1f);
}
