// Wall time of two sides that take turns.
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

namespace bench {

// Nanoseconds of the clock that all processes of the machine share.
int64_t Now();

// Nanoseconds that the call takes.
int64_t TimeOf(const std::function<void()>& call);

// Measures both sides count times, each side first in every other pair, and prints "MEDIAN_PLAIN MEDIAN_LIBRARY" in
// nanoseconds. A side returns its own measurement.
void CompareInTurns(int count, const std::function<int64_t()>& plain, const std::function<int64_t()>& library);

}  // namespace bench
