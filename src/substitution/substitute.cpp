// The substitution engine: every attribute value and element text that the
// element readers take from a configuration passes through here, with the
// parameter map of the loops around it. ParameterToBool serves the readers'
// flag attributes (singleton, lazy, autoname, exported).
#include "substitution/substitute.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <cwctype>
#include <string>
#include <string_view>

#include "foundation/string_convert.h"
#include "platform/utf8.h"
#include "substitution/reading.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

constexpr wchar_t kMark = L'%';

struct SFlags {
    bool dropBlanks = false;
    bool lower = false;
    bool upper = false;

    bool Any() const { return dropBlanks || lower || upper; }
};

// Notes `c` if it is a flag character; false if it begins the name.
bool TakeFlag(wchar_t c, SFlags& flags) {
    switch (c) {
        case L'.': flags.dropBlanks = true; return true;
        case L'_': flags.lower = true; return true;
        case L'^': flags.upper = true; return true;
        default: return false;
    }
}

// Appends the characters [begin, end) to `to` in reverse order.
void AppendReversed(std::wstring& to, const wchar_t* begin, const wchar_t* end) {
    std::size_t at = to.size();
    to.resize(at + static_cast<std::size_t>(end - begin));
    std::reverse_copy(begin, end, to.begin() + static_cast<std::ptrdiff_t>(at));
}

// Appends `value` with `flags` applied to the reversed text in `pending`, so
// that its first character ends up last.
void PushValue(std::wstring& pending, std::wstring_view value, SFlags flags) {
    if (!flags.Any()) {
        AppendReversed(pending, value.data(), value.data() + value.size());
        return;
    }
    for (auto it = value.rbegin(); it != value.rend(); ++it) {
        wchar_t c = *it;
        if (flags.dropBlanks && c == L' ') continue;
        // Lower case before upper case: with both flags the value ends up upper
        // case, whatever their order in the pattern.
        if (flags.lower) c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
        if (flags.upper) c = static_cast<wchar_t>(std::towupper(static_cast<std::wint_t>(c)));
        pending.push_back(c);
    }
}

// Replaces the patterns of `work`, whose first '%' stands at `p`.
KtWStr Expand(std::wstring& work, std::size_t p, const ParameterMap& parameters, const char* text,
              CReading* reading) {
    // From here on `work` holds the finished text left of p, which is never
    // looked at again, and `pending` the rest in reverse order. Deleting a
    // pattern at p and inserting its value there then touch only those
    // characters, however long the text behind them.
    std::wstring pending;
    AppendReversed(pending, work.data() + p, work.data() + work.size());
    work.resize(p);
    const std::size_t length = p + pending.size();
    std::size_t growth = kMaxSubstitutionGrowth;
    if (reading != nullptr && reading->SubstitutionLeft() < growth) growth = reading->SubstitutionLeft();
    const std::size_t maxLength = length + growth;
    std::wstring name;
    int replacements = 0;
    while (!pending.empty()) {
        // The '%' at p is pending.back(); find the closing one.
        std::size_t open = pending.size() - 1;
        std::size_t close = open;
        do {
            if (close == 0) throw CException(L"Invalid substitution pattern");
            --close;
        } while (pending[close] != kMark);

        SFlags flags;
        std::size_t nameEnd = open;  // the name is pending[close + 1, nameEnd), reversed
        while (nameEnd > close + 1 && TakeFlag(pending[nameEnd - 1], flags)) --nameEnd;
        name.assign(pending, close + 1, nameEnd - close - 1);
        std::reverse(name.begin(), name.end());
        const KtWStr* value = parameters.Find(std::wstring_view(name));
        if (value == nullptr) throw CException(L"Missing substitution");
        if (++replacements > kMaxReplacements)
            throw CException(Message(L"Substitution of '", text, L"' does not terminate"));

        pending.resize(close);
        PushValue(pending, value->View(), flags);
        if (work.size() + pending.size() > maxLength) {
            // Cut short by what the load had left: that limit is the one to name.
            if (growth < static_cast<std::size_t>(kMaxSubstitutionGrowth)) reading->ChargeSubstitution(growth + 1, text);
            throw CException(Message(L"Substitution of '", text, L"' grows too long"));
        }

        // On to the next '%' at or after p: the inserted value is scanned too.
        std::size_t next = pending.rfind(kMark);
        std::size_t keep = next == std::wstring::npos ? 0 : next + 1;
        AppendReversed(work, pending.data() + keep, pending.data() + pending.size());
        pending.resize(keep);
    }
    if (reading != nullptr)
        reading->ChargeSubstitution(kReplacementSteps * static_cast<std::uint64_t>(replacements) + work.size(), text);
    return KtWStr(work);
}

}  // namespace

KtWStr SubstituteParameters(const char* text, const ParameterMap& parameters, CReading* reading) {
    if (text == nullptr) return KtWStr();
    std::wstring work;
    platform::DecodeUtf8(text, std::strlen(text), work);
    // Outside every loop no character is special, and a '%' stays as it is.
    if (parameters.IsEmpty()) return KtWStr(work);
    std::size_t p = work.find(kMark);
    if (p == std::wstring::npos) return KtWStr(work);
    return Expand(work, p, parameters, text, reading);
}

bool ParameterToBool(const wchar_t* text) {
    // Made once, on first use; the language makes that thread-safe.
    static const KtWStr trueText = WidenStr("true");
    static const KtWStr falseText = WidenStr("false");
    if (text != nullptr) {
        if (std::wcscmp(text, trueText.c_str()) == 0) return true;
        if (std::wcscmp(text, falseText.c_str()) == 0) return false;
    }
    throw CException(L"Value of bool parameter must be 'true' or 'false'");
}

}  // namespace ZEM
