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

class CReading;

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
// loop would pass the limits of `reading` on rounds, bytes or nesting.
void ForEachElement(const XMLNode& parent, const std::vector<const char*>& tags,
                    const ParameterMap& parameters, CReading& reading, const ElementCallback& onElement,
                    const LoopCallback& onLoop);

}  // namespace ZEM
