// Substitution of %name% patterns in configuration values by the variables of
// the loops in force, and the truth values that a loop variable may supply.
#pragma once

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
// kMaxSubstitutionGrowth characters, throws CException.
constexpr int kMaxReplacements = 10000;
constexpr int kMaxSubstitutionGrowth = 1 << 22;

// "true" or "false", exactly; anything else throws CException.
bool ParameterToBool(const wchar_t* text);

}  // namespace ZEM
