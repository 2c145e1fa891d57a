// ForEachElement: the walk over the children of a beans, properties or
// provides element, with its for and foreach loops expanded. The element
// readers hand it their callbacks; a loop's onLoop reads the loop element
// again as the parent kind, with the map extended by the loop variable.
#include "substitution/loops.h"

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "foundation/string_convert.h"
#include "platform/text.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

static_assert(sizeof(unsigned int) == 4, "loop bounds are read into a 32-bit word");

// A bound as "%u" reads it (blanks skipped, a sign accepted, trailing text
// ignored), then taken as a signed 32-bit number, so -3 is minus three.
std::int32_t ReadBound(const char* text) {
    unsigned int word = 0;
    if (text == nullptr || std::sscanf(text, "%u", &word) != 1)
        throw CException(L"Value of numeric parameter must be numeric");
    return static_cast<std::int32_t>(word);
}

// The loop variable's name; an absent or empty one is refused.
KtWStr ReadVariable(const XMLNode& loop, const wchar_t* message) {
    const char* name = loop.AttributeValue("substitute");
    if (name == nullptr || *name == 0) throw CException(message);
    return WidenStr(name);
}

// The counter as "%i" writes it, stored wide: the text is ASCII only.
KtWStr CounterText(std::int32_t counter) {
    char digits[16];
    int length = std::snprintf(digits, sizeof digits, "%i", static_cast<int>(counter));
    wchar_t wide[16];
    for (int i = 0; i < length; ++i) wide[i] = static_cast<wchar_t>(digits[i]);
    return KtWStr(wide, static_cast<std::size_t>(length));
}

void RunFor(const XMLNode& loop, const ParameterMap& parameters, const LoopCallback& onLoop) {
    std::int32_t first = ReadBound(loop.AttributeValue("first"));
    std::int32_t last = ReadBound(loop.AttributeValue("last"));
    const char* incText = loop.AttributeValue("inc");
    std::int32_t inc = incText != nullptr ? ReadBound(incText) : 1;
    KtWStr variable = ReadVariable(loop, L"Empty attribute 'substitute' in bean for loop");

    // The counter's only way out is passing `last`. A step that is not
    // positive, or one that would carry the counter past the 32-bit maximum
    // from its last value in range, would wrap around instead of ending.
    if (first <= last) {
        if (inc == 0) throw CException(L"Loop over '" + variable.ToStd() + L"' has a step of 0");
        std::int64_t lastValue = first + (static_cast<std::int64_t>(last) - first) / inc * inc;
        if (inc < 0 || lastValue + inc > INT32_MAX)
            throw CException(L"Loop over '" + variable.ToStd() + L"' wraps around before passing its last value");
    }

    // One copy of the map serves the whole loop; each iteration overwrites
    // the variable's entry, which hides an outer variable of the same name.
    ParameterMap scope(parameters);
    KtWStr& value = scope.FindOrInsert(variable);
    for (std::int32_t counter = first; counter <= last; counter += inc) {
        value = CounterText(counter);
        onLoop(loop, scope);
    }
}

void RunForEach(const XMLNode& loop, const ParameterMap& parameters, const LoopCallback& onLoop) {
    const char* set = loop.AttributeValue("set");
    if (set == nullptr) set = "";
    KtWStr variable = ReadVariable(loop, L"Empty attribute 'substitute' in bean foreach loop");

    ParameterMap scope(parameters);
    KtWStr& value = scope.FindOrInsert(variable);
    const char* rest = set;
    // The test stands at the end, and looks at the rest before any trimming:
    // an empty set gives one empty item, a trailing '|' none, "| " one.
    do {
        // No byte of a UTF-8 multi-byte character is '|', so a byte search is safe.
        const char* bar = std::strchr(rest, '|');
        const char* end = bar != nullptr ? bar : rest + std::strlen(rest);
        const char* begin = rest;
        rest = bar != nullptr ? bar + 1 : end;
        while (end > begin && platform::IsAsciiSpace(static_cast<unsigned char>(end[-1]))) --end;
        while (begin < end && platform::IsAsciiSpace(static_cast<unsigned char>(*begin))) ++begin;
        value = WidenStr(std::string_view(begin, static_cast<std::size_t>(end - begin)));
        onLoop(loop, scope);
    } while (*rest != 0);
}

// Calls `run` for each child called `name`, in document order.
template <class Run>
void VisitChildren(const XMLNode& parent, const char* name, const Run& run) {
    int count = parent.ChildCount(name);
    std::int32_t position = 0;
    for (int i = 0; i < count; ++i) run(parent.NextChild(name, &position));
}

}  // namespace

void ForEachElement(const XMLNode& parent, const std::vector<const char*>& tags,
                    const ParameterMap& parameters, const ElementCallback& onElement,
                    const LoopCallback& onLoop) {
    for (const char* tag : tags) VisitChildren(parent, tag, onElement);
    VisitChildren(parent, "for", [&](const XMLNode& loop) { RunFor(loop, parameters, onLoop); });
    VisitChildren(parent, "foreach", [&](const XMLNode& loop) { RunForEach(loop, parameters, onLoop); });
}

}  // namespace ZEM
