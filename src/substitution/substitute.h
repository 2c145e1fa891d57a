// Substitution of %name% patterns in configuration values by the variables of
// the loops in force, and the truth values that a loop variable may supply.
#pragma once

#include <cstddef>
#include <cstdint>

#include "foundation/kt_map.h"
#include "foundation/kt_string.h"

namespace ZEM {

// Variable name to value; empty outside every loop.
using ParameterMap = KtMap<KtWStr, KtWStr>;

class CReading;

// Decodes `text` from UTF-8 and, if `parameters` isn't empty, replaces each
// pattern %[flags]name% by the variable's value. Flags: '.' drops blanks,
// '_' lower case, '^' upper case. Null gives "". The work is charged to
// `reading` when given. Throws CException.
KtWStr SubstituteParameters(const char* text, const ParameterMap& parameters, CReading* reading = nullptr);

// A value can lead back to its own pattern, so one substitution is cut off:
// more replacements than this, or a text that grows by more than
// kMaxSubstitutionGrowth characters (or than its load has steps left),
// throws CException.
constexpr int kMaxReplacements = 10000;
constexpr int kMaxSubstitutionGrowth = 1 << 22;

// What one replacement costs in the steps of a load's substitution budget,
// beside one for each character produced: the look-up of the name and the
// edit take about as long as producing 32 characters.
constexpr std::uint64_t kReplacementSteps = 32;

// "true" or "false", exactly; anything else throws CException.
bool ParameterToBool(const wchar_t* text);

}  // namespace ZEM
