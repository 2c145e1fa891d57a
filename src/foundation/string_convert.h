// Conversions between the narrow and wide string families. Narrow text is
// UTF-8 throughout, so every one of these conversions goes through the
// platform's UTF-8 codec, whatever the process locale.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/kt_string.h"

namespace ZEM {

std::wstring Widen(std::string_view text);
std::string Narrow(std::wstring_view text);
KtWStr WidenStr(std::string_view text);
KtStr NarrowStr(std::wstring_view text);

// Short text on the stack: the narrow form of a wide text of ASCII only, for
// the hot paths that convert names and values on every object creation.
// `Fits` is false for longer or other text, which then takes Narrow.
class CShortNarrow {
public:
    explicit CShortNarrow(const wchar_t* text) noexcept {
        for (; length_ < sizeof chars_ - 1; ++length_) {
            const wchar_t c = text[length_];
            if (c == 0) {
                chars_[length_] = '\0';
                fits_ = true;
                return;
            }
            if (static_cast<std::uint32_t>(c) >= 0x80) return;
            chars_[length_] = static_cast<char>(c);
        }
    }
    bool Fits() const noexcept { return fits_; }
    const char* c_str() const noexcept { return chars_; }
    std::size_t size() const noexcept { return length_; }

private:
    char chars_[64];
    std::size_t length_ = 0;
    bool fits_ = false;
};

// A message in the library's style: prefix + name + suffix.
std::wstring Message(const wchar_t* prefix, std::string_view name, const wchar_t* suffix);

}  // namespace ZEM
