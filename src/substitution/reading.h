// CReading: one load of a configuration document with its includes, as it
// goes. It holds the host's limits and what has been used of them, the file
// being read, the nesting of loops and inner beans, and who wants to know
// when a parse starts. The document reader makes one per load and hands it
// by reference to the element readers, the loop walker and substitution;
// no part of a load keeps state anywhere else.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "xml/xml_node.h"
#include "zem/limits.h"

namespace ZEM {

class CReading {
public:
    explicit CReading(const SReadingLimits& limits = SReadingLimits()) : limits_(limits) {}
    CReading(const CReading&) = delete;
    CReading& operator=(const CReading&) = delete;

    const SReadingLimits& Limits() const noexcept { return limits_; }

    // The file whose elements are read from now on, and its number among
    // the files of the load; empty and 0 for a text.
    void SetFile(const std::wstring& path, std::uint32_t number) {
        file_ = path;
        fileNumber_ = number;
    }
    const std::wstring& File() const noexcept { return file_; }
    std::uint32_t FileNumber() const noexcept { return fileNumber_; }
    // " in file '...'" for messages, or nothing for a text.
    std::wstring InFile() const { return file_.empty() ? std::wstring() : L" in file '" + file_ + L"'"; }

    // Counts a file of `size` bytes about to be read, and gives its number,
    // from 0 in the order of opening. Throws CException if the load would read
    // too many files or bytes, or the file alone is too large.
    std::uint32_t ChargeFile(const std::wstring& path, std::uint64_t size);
    // Counts a text of `size` bytes given to be read.
    void ChargeText(std::uint64_t size);
    // Counts `steps` of substitution work on `text`; throws CException once
    // the load has done more than its limit.
    void ChargeSubstitution(std::uint64_t steps, const char* text);
    // The substitution steps still left to this load.
    std::uint64_t SubstitutionLeft() const noexcept {
        return substitutionSteps_ < limits_.substitutionSteps ? limits_.substitutionSteps - substitutionSteps_ : 0;
    }

    // The loops' use of their budget: rounds and bytes so far, and the
    // nesting of the loop being walked (loops.cpp).
    std::uint64_t loopRounds = 0;
    std::uint64_t loopBytes = 0;
    std::uint32_t loopNesting = 0;

    // Inner beans being read, and the name of the bean outside them all
    // (argument_reader.cpp).
    std::uint32_t innerBeanNesting = 0;
    std::string outermostBean;

    // Told when the parse of each document starts (true) and ends (false);
    // empty for none. What it throws on a start ends the load.
    std::function<void(bool started)> parseWatch;

    // Told of each document parsed, for tools that show where records came
    // from: its number and path (empty for a text), the UTF-8 text that the
    // offsets of records refer to, and its root. Empty for none; the text is
    // copied only for it, and the listener may keep it.
    std::function<void(std::uint32_t number, const std::wstring& path, std::string&& text, const XMLNode& root)>
        onDocument;

private:
    SReadingLimits limits_;
    std::wstring file_;
    std::uint32_t fileNumber_ = 0;
    std::uint32_t files_ = 0;
    std::uint64_t bytes_ = 0;
    std::uint64_t substitutionSteps_ = 0;
};

}  // namespace ZEM
