// ForEachElement: the walk over the children of a beans, properties or
// provides element, with its for and foreach loops expanded. The element
// readers hand it their callbacks; a loop's onLoop reads the loop element
// again as the parent kind, with the map extended by the loop variable.
#include "substitution/loops.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string_view>
#include <utility>

#include "foundation/string_convert.h"
#include "platform/numeric.h"
#include "platform/text.h"
#include "substitution/reading.h"
#include "zem/exception.h"

namespace ZEM {

namespace {

static_assert(sizeof(unsigned int) == 4, "loop bounds are read into a 32-bit word");

// A bound as "%u" reads it (blanks skipped, a sign accepted, trailing text
// ignored), then taken as a signed 32-bit number, so -3 is minus three.
bool ParseBound(const char* text, std::int32_t& bound) {
    std::uint32_t word = 0;
    if (!platform::ScanUInt32(text, word)) return false;
    bound = static_cast<std::int32_t>(word);
    return true;
}

std::int32_t ReadBound(const char* text) {
    std::int32_t bound = 0;
    if (!ParseBound(text, bound)) throw CException(L"Value of numeric parameter must be numeric");
    return bound;
}

// The counter's only way out is passing `last`. A step that is not positive,
// or one that would carry the counter past the 32-bit maximum from its last
// value in range, would wrap around instead of ending.
bool Wraps(std::int32_t first, std::int32_t last, std::int32_t inc) {
    const std::int64_t lastValue = first + (static_cast<std::int64_t>(last) - first) / inc * inc;
    return inc < 0 || lastValue + inc > INT32_MAX;
}

// The rounds of one `for` element; 0 for one that runs none or is refused.
std::uint64_t ForRounds(const XMLNode& loop) {
    std::int32_t first = 0, last = 0, inc = 1;
    if (!ParseBound(loop.AttributeValue("first"), first) || !ParseBound(loop.AttributeValue("last"), last))
        return 0;
    if (const char* incText = loop.AttributeValue("inc"); incText != nullptr && !ParseBound(incText, inc)) return 0;
    if (first > last || inc == 0 || Wraps(first, last, inc)) return 0;
    return static_cast<std::uint64_t>((static_cast<std::int64_t>(last) - first) / inc) + 1;
}

// The items of a `foreach` set: one per '|' and one more, unless the set
// ends with '|'; the empty set has one empty item.
std::uint64_t ForEachRounds(const XMLNode& loop) {
    const char* set = loop.AttributeValue("set");
    if (set == nullptr || *set == '\0') return 1;
    std::uint64_t rounds = 1;
    const char* p = set;
    for (; *p != '\0'; ++p) rounds += *p == '|';
    return p[-1] == '|' ? rounds - 1 : rounds;
}

// What reading an element once costs: its name, attributes and texts, and
// the record it may become.
std::uint64_t ElementBytes(const XMLNode& element) {
    std::uint64_t bytes = 64;
    if (const char* name = element.Name()) bytes += std::strlen(name);
    for (int i = 0; i < element.AttributeCount(); ++i) {
        const char* value = element.AttributeValueAt(i);
        bytes += std::strlen(element.AttributeNameAt(i)) + (value != nullptr ? std::strlen(value) : 0);
    }
    for (int i = 0; i < element.TextCount(); ++i) bytes += std::strlen(element.Text(i));
    return bytes;
}

bool IsFor(const char* name) { return name != nullptr && platform::EqualNoCase(name, "for"); }
bool IsForEach(const char* name) { return name != nullptr && platform::EqualNoCase(name, "foreach"); }

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

}  // namespace

// The rounds of one loop as the reading runs them: an outermost loop is
// weighed whole before its first round, nested rounds included, so that the
// loops inside it need no check of their own; every loop adds a level.
class CLoopWalk {
public:
    CLoopWalk(const XMLNode& loop, const KtWStr& variable, CReading& reading) : reading_(reading) {
        const SReadingLimits& limits = reading.Limits();
        if (reading.loopNesting >= limits.loopNesting)
            throw CException(L"Loops nested too deeply at loop over '" + variable.ToStd() + L"'" + reading.InFile());
        if (reading.loopNesting == 0) {
            const SLoopCost left{limits.loopRounds - std::min(reading.loopRounds, limits.loopRounds),
                                 limits.loopBytes - std::min(reading.loopBytes, limits.loopBytes)};
            const SLoopCost cost = CountLoopCost(loop, left);
            if (cost.rounds > left.rounds) Refuse(L" times", limits.loopRounds, variable);
            if (cost.bytes > left.bytes) Refuse(L" bytes", limits.loopBytes, variable);
            reading.loopRounds += cost.rounds;
            reading.loopBytes += cost.bytes;
        }
        ++reading.loopNesting;
    }
    ~CLoopWalk() { --reading_.loopNesting; }
    CLoopWalk(const CLoopWalk&) = delete;
    CLoopWalk& operator=(const CLoopWalk&) = delete;

private:
    [[noreturn]] void Refuse(const wchar_t* what, std::uint64_t limit, const KtWStr& variable) {
        throw CException(L"Loops" + reading_.InFile() + L" repeat more than " + std::to_wstring(limit) + what +
                         L" at loop over '" + variable.ToStd() + L"'");
    }

    CReading& reading_;
};

namespace {

void RunFor(const XMLNode& loop, const ParameterMap& parameters, CReading& reading, const LoopCallback& onLoop) {
    std::int32_t first = ReadBound(loop.AttributeValue("first"));
    std::int32_t last = ReadBound(loop.AttributeValue("last"));
    const char* incText = loop.AttributeValue("inc");
    std::int32_t inc = incText != nullptr ? ReadBound(incText) : 1;
    KtWStr variable = ReadVariable(loop, L"Empty attribute 'substitute' in bean for loop");

    if (first <= last) {
        if (inc == 0) throw CException(L"Loop over '" + variable.ToStd() + L"' has a step of 0");
        if (Wraps(first, last, inc))
            throw CException(L"Loop over '" + variable.ToStd() + L"' wraps around before passing its last value");
    }

    CLoopWalk walk(loop, variable, reading);
    // One copy of the map serves the whole loop; each iteration overwrites
    // the variable's entry, which hides an outer variable of the same name.
    ParameterMap scope(parameters);
    KtWStr& value = scope.FindOrInsert(variable);
    for (std::int32_t counter = first; counter <= last; counter += inc) {
        value = CounterText(counter);
        onLoop(loop, scope);
    }
}

void RunForEach(const XMLNode& loop, const ParameterMap& parameters, CReading& reading,
                const LoopCallback& onLoop) {
    const char* set = loop.AttributeValue("set");
    if (set == nullptr) set = "";
    KtWStr variable = ReadVariable(loop, L"Empty attribute 'substitute' in bean foreach loop");

    CLoopWalk walk(loop, variable, reading);
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

// The kind of a child among the tags, then "for", then "foreach"; `kinds`
// (the count of kinds) for any other child.
std::uint32_t KindOf(const char* name, const std::vector<const char*>& tags) {
    const auto count = static_cast<std::uint32_t>(tags.size());
    if (name == nullptr) return count + 2;
    for (std::uint32_t kind = 0; kind < count; ++kind)
        if (platform::EqualNoCase(name, tags[kind])) return kind;
    if (platform::EqualNoCase(name, "for")) return count;
    if (platform::EqualNoCase(name, "foreach")) return count + 1;
    return count + 2;
}

// A child that waits for its turn: one of a later tag, or a loop.
struct SKindAt {
    std::uint32_t kind;
    std::int32_t index;  // of the child
};

// Children that wait, most often none or a few; a beans element of a large
// document spills onto the heap.
class CWaiting {
public:
    void Add(SKindAt entry) {
        if (count_ < kInline) {
            inline_[count_++] = entry;
            return;
        }
        if (count_ == kInline) spilled_.assign(inline_, inline_ + kInline);
        spilled_.push_back(entry);
        ++count_;
    }
    // By kind, each kind in document order.
    SKindAt* Sorted() {
        SKindAt* first = count_ <= kInline ? inline_ : spilled_.data();
        std::stable_sort(first, first + count_, [](const SKindAt& a, const SKindAt& b) { return a.kind < b.kind; });
        return first;
    }
    std::size_t Size() const noexcept { return count_; }

private:
    static constexpr std::size_t kInline = 16;
    SKindAt inline_[kInline];
    std::vector<SKindAt> spilled_;
    std::size_t count_ = 0;
};

}  // namespace

SLoopCost CountLoopCost(const XMLNode& loop, const SLoopCost& limit) {
    // Depth first with a stack of its own, since a tree may nest as deep as
    // the parser allows. Each entry carries the rounds of the loops around it.
    SLoopCost cost;
    std::vector<std::pair<XMLNode, std::uint64_t>> pending;
    pending.emplace_back(loop, 1);
    while (!pending.empty() && cost.rounds <= limit.rounds && cost.bytes <= limit.bytes) {
        auto [node, around] = std::move(pending.back());
        pending.pop_back();
        cost.bytes += around * ElementBytes(node);
        const char* name = node.Name();
        if (IsFor(name) || IsForEach(name)) {
            const std::uint64_t rounds = IsFor(name) ? ForRounds(node) : ForEachRounds(node);
            // Capped above the limit, so that no product overflows.
            around = std::min(around * rounds, limit.rounds + 1);
            if (around == 0) continue;
            cost.rounds += around;
        }
        for (int i = node.ChildCount() - 1; i >= 0; --i) pending.emplace_back(node.ChildAtIndex(i), around);
    }
    return cost;
}

void ForEachElement(const XMLNode& parent, const std::vector<const char*>& tags,
                    const ParameterMap& parameters, CReading& reading, const ElementCallback& onElement,
                    const LoopCallback& onLoop) {
    // One pass: the children of the first tag are read as they come, the
    // others wait and follow by kind (the tags in their order, then the
    // loops), each kind in document order.
    const auto forKind = static_cast<std::uint32_t>(tags.size());
    CWaiting waiting;
    const int count = parent.ChildCount();
    for (int i = 0; i < count; ++i) {
        const XMLNode child = parent.ChildAtIndex(i);
        const std::uint32_t kind = KindOf(child.Name(), tags);
        if (kind == 0 && forKind != 0) onElement(child);
        else if (kind <= forKind + 1) waiting.Add(SKindAt{kind, i});
    }
    if (waiting.Size() == 0) return;
    const SKindAt* sorted = waiting.Sorted();
    for (std::size_t i = 0; i < waiting.Size(); ++i) {
        const XMLNode child = parent.ChildAtIndex(sorted[i].index);
        if (sorted[i].kind < forKind) {
            onElement(child);
        } else if (sorted[i].kind == forKind) {
            RunFor(child, parameters, reading, onLoop);
        } else {
            RunForEach(child, parameters, reading, onLoop);
        }
    }
}

}  // namespace ZEM
