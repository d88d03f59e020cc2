// The library's log lines.
#pragma once

#include <nuv_platform/platform_log.h>

#define NUV_LOG_TAG "NuvClient"

#ifndef __FILE_NAME__  // compilers of before 2022
#define __FILE_NAME__ (__builtin_strrchr(__FILE__, '/') ? __builtin_strrchr(__FILE__, '/') + 1 : __FILE__)
#endif

// Colours are part of the message texts.
#define NUV_RED "\033[0;31m"
#define NUV_GREEN "\033[0;32m"
#define NUV_YELLOW "\033[0;33m"
#define NUV_PLAIN "\033[0;m"

// The platform formats a line only when somebody wants it.
#define NUV_LOG_LINE(buffer, priority, format, ...)                                                          \
  __dlog_print((buffer), (priority), NUV_LOG_TAG, "%s: %s(%d) > " format, __FILE_NAME__, __func__, __LINE__, \
               ##__VA_ARGS__)

#define NUV_INFO(...) NUV_LOG_LINE(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, __VA_ARGS__)
#define NUV_WARNING(...) NUV_LOG_LINE(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_WARNING, __VA_ARGS__)
#define NUV_ERROR(...) NUV_LOG_LINE(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_ERROR, __VA_ARGS__)
// A milestone goes to the platform's system log buffer.
#define NUV_MILESTONE(...) NUV_LOG_LINE(NUV_LOG_BUFFER_SYSTEM, NUV_LOG_PRIORITY_INFO, __VA_ARGS__)

// Where a line comes from, for helpers that log on behalf of the function that called them.
struct LogOrigin {
  const char* file;
  const char* function;
  int line;
};

// FileNameOf() and Here() are always inlined, so that the compiler computes them: each query has many such places.
[[gnu::always_inline]] inline const char* FileNameOf(const char* path) {
  const char* slash = __builtin_strrchr(path, '/');
  return slash == nullptr ? path : slash + 1;
}

// The place of the call; as a default argument, the place where the function with that argument is called. A helper
// passes its origin on to the helpers that it calls: their lines would otherwise name the helper, and a template even
// with its arguments, as gcc has it.
[[gnu::always_inline]] inline LogOrigin Here(const char* function = __builtin_FUNCTION(), int line = __builtin_LINE(),
                                             const char* path = __builtin_FILE()) {
  return {FileNameOf(path), function, line};
}

#define NUV_LOG_FROM(origin, priority, format, ...)                                                                    \
  __dlog_print(NUV_LOG_BUFFER_MAIN, (priority), NUV_LOG_TAG, "%s: %s(%d) > " format, (origin).file, (origin).function, \
               (origin).line, ##__VA_ARGS__)
#define NUV_INFO_FROM(origin, ...) NUV_LOG_FROM(origin, NUV_LOG_PRIORITY_INFO, __VA_ARGS__)
#define NUV_ERROR_FROM(origin, ...) NUV_LOG_FROM(origin, NUV_LOG_PRIORITY_ERROR, __VA_ARGS__)
