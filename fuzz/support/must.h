// What has to hold whatever the input is. A fuzzer has no test framework: a violation ends it, and the input is kept.
#pragma once

#include <cstdio>
#include <cstdlib>

#define MUST(condition) ((condition) ? (void)0 : fuzz::Violated(#condition, __FILE__, __LINE__))

namespace fuzz {

[[noreturn]] inline void Violated(const char* condition, const char* file, int line) {
  fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
  abort();
}

}  // namespace fuzz
