// The walker over an element's children that expands for and foreach loops.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "substitution/substitute.h"
#include "xml/xml_node.h"

namespace ZEM {

using ElementCallback = std::function<void(const XMLNode&)>;
using LoopCallback = std::function<void(const XMLNode&, const ParameterMap&)>;

// The loops of one reading may run this many rounds in all, nested rounds
// counted, and nest this deep. A loop that would pass either is refused
// before its first round, so that no document can make the readers run for
// hours or fill the memory.
constexpr std::uint64_t kMaxLoopRounds = 1000000;
constexpr int kMaxLoopNesting = 16;
// The text that the rounds of one reading read, each round its loop's body:
// the names, attributes and texts of its elements, and at least 64 bytes an
// element. It bounds the records a reading can make however large the body
// of a loop is.
constexpr std::uint64_t kMaxLoopBytes = std::uint64_t{128} << 20;

// One reading of a document with its includes: the rounds its loops have
// used so far and the file whose loops run now, for messages. Readings nest
// (a class library loaded while a document is read may read one of its own),
// each with its own budget. Loops walked outside any reading get a budget
// of their own per outermost walk.
class CLoopReading {
public:
    CLoopReading();
    ~CLoopReading();
    CLoopReading(const CLoopReading&) = delete;
    CLoopReading& operator=(const CLoopReading&) = delete;

    // The file whose elements are read from now on; empty for a text.
    void SetFile(const std::wstring& path) { file_ = path; }

private:
    friend struct SLoopWalk;
    CLoopReading* outer_;
    CSubstitutionAllowance growth_;
    std::wstring file_;
    std::uint64_t rounds_ = 0;
    std::uint64_t bytes_ = 0;
    int nesting_ = 0;
};

// What `loop` (a `for` or `foreach` element) and every loop inside it would
// cost: their rounds, nested rounds counted, and the bytes those rounds
// read. A loop that runs no round, or would be refused, costs nothing more.
// Counting stops once either passes its limit.
struct SLoopCost {
    std::uint64_t rounds = 0;
    std::uint64_t bytes = 0;
};
SLoopCost CountLoopCost(const XMLNode& loop, const SLoopCost& limit);

// Calls `onElement` for the children of `parent` named in `tags` (the tags in
// list order, each in document order), then runs every `for` child and then
// every `foreach` child, calling `onLoop` per iteration with the loop element
// and the map extended by the loop variable. Throws CException, also when a
// loop would pass the limits above.
void ForEachElement(const XMLNode& parent, const std::vector<const char*>& tags,
                    const ParameterMap& parameters, const ElementCallback& onElement,
                    const LoopCallback& onLoop);

}  // namespace ZEM
