// What one load of a configuration document may cost. A host that reads
// documents it does not fully trust can tighten these, or loosen them for
// very large configurations, and give them to a container before it loads
// (CContainer::SetReadingLimits). Every limit covers one load: the main
// document with all of its includes. Passing one is a CException that names
// the file where it happened.
#pragma once

#include <cstdint>

namespace ZEM {

struct SReadingLimits {
    // Files read, the main file and every include, an include read twice
    // counted twice.
    std::uint32_t files = 1000;
    // The size of one file, checked before it is read.
    std::uint64_t fileBytes = std::uint64_t{256} << 20;
    // The bytes of all files read (or of the text given).
    std::uint64_t bytes = std::uint64_t{256} << 20;
    // Includes within includes.
    std::uint32_t includeDepth = 64;
    // Substitution work: every replacement of a %name% pattern counts 32,
    // and every character of a text that had patterns counts one.
    std::uint64_t substitutionSteps = 100000000;
    // Rounds of all for and foreach loops, nested rounds counted, and the
    // text those rounds read again (each element at least 64 bytes).
    std::uint64_t loopRounds = 1000000;
    std::uint64_t loopBytes = std::uint64_t{128} << 20;
    // Loops within loops.
    std::uint32_t loopNesting = 16;
    // Inner beans within inner beans of one bean.
    std::uint32_t innerBeanNesting = 8;
};

}  // namespace ZEM
