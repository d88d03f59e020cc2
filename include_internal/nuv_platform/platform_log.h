/* Platform log. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_LOG_H
#define NUV_PLATFORM_LOG_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Log buffers. */
enum { NUV_LOG_BUFFER_MAIN = 0, NUV_LOG_BUFFER_SYSTEM = 2 };

/* Priorities, rising. */
enum { NUV_LOG_PRIORITY_INFO = 4, NUV_LOG_PRIORITY_WARNING = 5, NUV_LOG_PRIORITY_ERROR = 6 };

/*
 * Writes one line. Any thread may call; it waits for nobody, raises no signal and drops the line where it cannot be
 * written at once. The result is the number of bytes written, 0 when the line is not wanted, negative on failure;
 * callers ignore it.
 */
NUV_PLATFORM_API int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_LOG_H */
