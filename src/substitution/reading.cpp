// The charges of one load against its limits, and their messages.
#include "substitution/reading.h"

#include "foundation/string_convert.h"
#include "zem/exception.h"

namespace ZEM {

std::uint32_t CReading::ChargeFile(const std::wstring& path, std::uint64_t size) {
    if (files_ >= limits_.files)
        throw CException(L"More than " + std::to_wstring(limits_.files) + L" files read at file '" + path + L"'");
    if (size > limits_.fileBytes)
        throw CException(L"File '" + path + L"' has " + std::to_wstring(size) + L" bytes, more than " +
                         std::to_wstring(limits_.fileBytes) + L" allowed");
    if (size > limits_.bytes - bytes_ || bytes_ > limits_.bytes)
        throw CException(L"More than " + std::to_wstring(limits_.bytes) + L" bytes read at file '" + path + L"'");
    bytes_ += size;
    return files_++;
}

void CReading::ChargeText(std::uint64_t size) {
    if (size > limits_.bytes)
        throw CException(L"Text of " + std::to_wstring(size) + L" bytes is longer than the " +
                         std::to_wstring(limits_.bytes) + L" allowed");
    bytes_ += size;
}

void CReading::ChargeSubstitution(std::uint64_t steps, const char* text) {
    substitutionSteps_ += steps;
    if (substitutionSteps_ > limits_.substitutionSteps)
        throw CException(Message(L"Substitution of '", text != nullptr ? text : "",
                                 (L"' passes the limit of " + std::to_wstring(limits_.substitutionSteps) +
                                  L" steps" + InFile())
                                     .c_str()));
}

}  // namespace ZEM
