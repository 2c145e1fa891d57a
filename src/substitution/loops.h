// The walker over an element's children that expands for and foreach loops.
#pragma once

#include <functional>
#include <vector>

#include "substitution/substitute.h"
#include "xml/xml_node.h"

namespace ZEM {

using ElementCallback = std::function<void(const XMLNode&)>;
using LoopCallback = std::function<void(const XMLNode&, const ParameterMap&)>;

// Calls `onElement` for the children of `parent` named in `tags` (the tags in
// list order, each in document order), then runs every `for` child and then
// every `foreach` child, calling `onLoop` per iteration with the loop element
// and the map extended by the loop variable. Throws CException.
void ForEachElement(const XMLNode& parent, const std::vector<const char*>& tags,
                    const ParameterMap& parameters, const ElementCallback& onElement,
                    const LoopCallback& onLoop);

}  // namespace ZEM
