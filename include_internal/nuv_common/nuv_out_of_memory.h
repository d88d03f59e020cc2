// What a function does that has run out of memory.
#pragma once

#include <nuv_common/nuv_log.h>

#include <new>

// The failure result. Callers in C cannot catch an exception.
inline int OutOfMemory(const LogOrigin& origin = Here()) {
  NUV_ERROR_FROM(origin, NUV_RED "out of memory" NUV_PLAIN);
  return -1;
}
