// Where the calls of a library that is linked with --wrap go in a program that wraps none of them
// (cmake/NuvCoverage.cmake).
#include <stdlib.h>
#include <time.h>

void* __wrap_malloc(size_t bytes);
void* __wrap_calloc(size_t count, size_t bytes);
void __wrap_free(void* block);
time_t __wrap_time(time_t* result);

void* __wrap_malloc(size_t bytes) {
  return malloc(bytes);
}

void* __wrap_calloc(size_t count, size_t bytes) {
  return calloc(count, bytes);
}

void __wrap_free(void* block) {
  free(block);
}

time_t __wrap_time(time_t* result) {
  return time(result);
}
