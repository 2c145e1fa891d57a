// The string conversions; all of them go through the platform's UTF-8 codec.
#include "foundation/string_convert.h"

#include "platform/utf8.h"

namespace ZEM {

std::wstring Widen(std::string_view text) {
    std::wstring out;
    platform::DecodeUtf8(text.data(), text.size(), out);
    return out;
}

std::string Narrow(std::wstring_view text) {
    std::string out;
    platform::EncodeUtf8(text.data(), text.size(), out);
    return out;
}

KtWStr WidenStr(std::string_view text) { return KtWStr(Widen(text)); }

KtStr NarrowStr(std::wstring_view text) { return KtStr(Narrow(text)); }

std::wstring Message(const wchar_t* prefix, std::string_view name, const wchar_t* suffix) {
    std::wstring text(prefix != nullptr ? prefix : L"");
    platform::DecodeUtf8(name.data(), name.size(), text);
    if (suffix != nullptr) text += suffix;
    return text;
}

}  // namespace ZEM
