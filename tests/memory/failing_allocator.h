// A test-only allocator: every allocation of the test program (operator new
// in all its forms, and malloc, realloc and calloc called from the library)
// is counted while armed, and the one chosen fails as memory that has run
// out fails: operator new throws std::bad_alloc, the nothrow forms and
// malloc give null.
#pragma once

#include <cstdint>

namespace zem_test {

// From now on, count allocations and fail the `nth` (from 1); 0 counts only.
void ArmAllocationFailure(std::uint64_t nth);
// Stops counting; the number of allocations seen since arming.
std::uint64_t DisarmAllocationFailure();
// Whether the chosen allocation was reached since arming.
bool AllocationFailed();

}  // namespace zem_test
