// Conversions between the narrow and wide string families. Narrow text is
// UTF-8 throughout, so every one of these conversions goes through the
// platform's UTF-8 codec, whatever the process locale.
#pragma once

#include <string>
#include <string_view>

#include "foundation/kt_string.h"

namespace ZEM {

std::wstring Widen(std::string_view text);
std::string Narrow(std::wstring_view text);
KtWStr WidenStr(std::string_view text);
KtStr NarrowStr(std::wstring_view text);

// A message in the library's style: prefix + name + suffix.
std::wstring Message(const wchar_t* prefix, std::string_view name, const wchar_t* suffix);

}  // namespace ZEM
