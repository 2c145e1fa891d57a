// The lenient number readers; the decimal point is '.' whatever the locale.
#include "platform/numeric.h"

#include <gtest/gtest.h>

#include <string>

using ZEM::platform::ParseDouble;
using ZEM::platform::ParseInt32;
using ZEM::platform::ParseUInt32Auto;

// Each text read as signed decimal and as unsigned with a base prefix;
// out-of-range values stick at the limit instead of wrapping. The last column
// is what sscanf's "%u" gives with the GNU C library, as the loop bounds read
// it on every system (-1: no number at all; it wraps, and 2^32 gives 0).
TEST(Numeric, IntegersInBothReaders) {
    const struct { const char* text; std::int32_t decimal; std::uint32_t prefixed; std::int64_t scanned; } cases[] = {
        {"", 0, 0, -1},
        {" -7", -7, 4294967289u, 4294967289},
        {"\t\r\n +42", 42, 42, 42},
        {"12abc", 12, 12, 12},
        {"abc", 0, 0, -1},
        {"0x10", 0, 16, 0},
        {"010", 10, 8, 10},
        {"08", 8, 0, 8},  // octal stops at 8
        {"0x", 0, 0, 0},  // no hex digit: the "0" alone is read
        {"2.5", 2, 2, 2},
        {"--5", 0, 0, -1},
        {"2147483648", 2147483647, 2147483648u, 2147483648},
        {"-2147483649", INT32_MIN, 2147483647u, 2147483647},
        {"-4294967296", INT32_MIN, 4294967295u, 0},  // out of range whatever the sign
        {"4294967296", 2147483647, 4294967295u, 0},  // 2^32 is no wrap to 0 but for "%u"
        {"-0x10", 0, 4294967280u, 0},
        {"99999999999999999999999999", 2147483647, 4294967295u, 4294967295},
        {"00000000000000000000000012", 12, 10, 12},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.text)));
        EXPECT_EQ(ParseInt32(c.text), c.decimal);
        EXPECT_EQ(ParseUInt32Auto(c.text), c.prefixed);
        std::uint32_t scanned = 12345;
        EXPECT_EQ(ZEM::platform::ScanUInt32(c.text, scanned), c.scanned >= 0);
        EXPECT_EQ(scanned, c.scanned >= 0 ? c.scanned : 12345);
    }
    EXPECT_EQ(ParseInt32(nullptr), 0);
    EXPECT_EQ(ParseUInt32Auto(nullptr), 0u);
}

TEST(Numeric, Floating) {
    const struct { const char* text; double value; } cases[] = {
        {"", 0.0}, {"abc", 0.0}, {"2.5", 2.5}, {"1e3", 1000.0}, {" -0.25x", -0.25}, {".5", 0.5},
        {"7e", 7.0}, {"1.5\u00E9", 1.5}, {"\u00E91.5", 0.0},
        {"1,5", 1.0},  // a comma is never the decimal point
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(std::string(c.text)));
        EXPECT_DOUBLE_EQ(ParseDouble(c.text), c.value);
    }
}
