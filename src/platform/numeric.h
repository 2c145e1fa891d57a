// Lenient number reading for configuration values: leading white space is
// skipped, a sign may follow, reading stops at the first character that can't
// continue the number, and no digits give 0. `.` is always the decimal point.
#pragma once

#include <cstdint>

namespace ZEM::platform {

// Signed decimal; beyond 32 bits the nearest limit of int32.
std::int32_t ParseInt32(const char* text);

// Unsigned 32-bit with base prefixes: "0x"/"0X" hexadecimal, a leading "0"
// octal, else decimal. A minus sign negates modulo 2^32; beyond 32 bits the
// result is 4294967295.
std::uint32_t ParseUInt32Auto(const char* text);

// An unsigned decimal as sscanf's "%u" reads it with the GNU C library, on
// every system: white space and a sign may lead, at least one digit must
// follow (else false); a value beyond 64 bits is 2^64 - 1, a minus sign
// negates modulo 2^64, and the result is cut to its low 32 bits.
bool ScanUInt32(const char* text, std::uint32_t& value);

// A double, as strtod reads it in the "C" locale.
double ParseDouble(const char* text);

// strtod of `text` in the "C" locale, whatever the process's locale is.
double StrToDoubleC(const char* text);

}  // namespace ZEM::platform
