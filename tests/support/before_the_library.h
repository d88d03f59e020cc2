// What a test has to do before the library's own handlers of fork() are registered, because those that are registered
// first are called last: fork() then takes the library's locks before a test's, as a thread does that the library
// calls.
#pragma once

// A shared library is set up before its program, but for what stands in this section.
#ifdef NUV_SHARED_LIBRARY_UNDER_TEST
#define NUV_BEFORE_THE_LIBRARY(function) \
  __attribute__((section(".preinit_array"), used)) void (*const function##Early)() = function
#else
#define NUV_BEFORE_THE_LIBRARY(function)                     \
  __attribute__((constructor(101))) void function##Early() { \
    function();                                              \
  }                                                          \
  static_assert(true)
#endif
