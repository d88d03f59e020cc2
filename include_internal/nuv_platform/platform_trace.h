/* Tracing. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_TRACE_H
#define NUV_PLATFORM_TRACE_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Option of prctl() that takes a marker text and its length. Kernels that do not know it refuse it, harmlessly. */
enum { NUV_PRCTL_TRACE_MARKER = 666 };

/* Opens and closes a named span on the calling thread. */
NUV_PLATFORM_API void trace_begin(const char* text);
NUV_PLATFORM_API void trace_end(void);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_TRACE_H */
