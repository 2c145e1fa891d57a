// Substitution of %name% patterns in configuration values by the variables of
// the loops in force, and the truth values that a loop variable may supply.
#pragma once

#include <cstddef>

#include "foundation/kt_map.h"
#include "foundation/kt_string.h"

namespace ZEM {

// Variable name to value; empty outside every loop.
using ParameterMap = KtMap<KtWStr, KtWStr>;

// Decodes `text` from UTF-8 and, if `parameters` isn't empty, replaces each
// pattern %[flags]name% by the variable's value. Flags: '.' drops blanks,
// '_' lower case, '^' upper case. Null gives "". Throws CException.
KtWStr SubstituteParameters(const char* text, const ParameterMap& parameters);

// A value can lead back to its own pattern, so substitution is cut off: more
// replacements than this in one call, or a text that grows by more than
// kMaxSubstitutionGrowth characters (or than its reading has left), throws
// CException.
constexpr int kMaxReplacements = 10000;
constexpr int kMaxSubstitutionGrowth = 1 << 22;

// All substitutions of one reading together may make their texts grow by at
// most this many characters: loops repeat a value up to their budget of
// rounds, and each time it could grow by the limit above.
constexpr std::size_t kMaxReadingGrowth = std::size_t{1} << 24;

// The growth left to the substitutions of the reading under way on this
// thread. A reading holds one for its length; readings nest, each with its
// own. Substitution outside any reading has only the limit per call.
class CSubstitutionAllowance {
public:
    CSubstitutionAllowance();
    ~CSubstitutionAllowance();
    CSubstitutionAllowance(const CSubstitutionAllowance&) = delete;
    CSubstitutionAllowance& operator=(const CSubstitutionAllowance&) = delete;

private:
    friend struct SGrowth;
    CSubstitutionAllowance* outer_;
    std::size_t left_ = kMaxReadingGrowth;
};

// "true" or "false", exactly; anything else throws CException.
bool ParameterToBool(const wchar_t* text);

}  // namespace ZEM
