/* CPU-priority inheritance: a thread lends its priority to another process. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_RESOURCE_H
#define NUV_PLATFORM_RESOURCE_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 0, or negative on failure. tid is a kernel thread id. */
NUV_PLATFORM_API int resource_set_cpu_inheritance(int tid, const char* destination, int priority);
NUV_PLATFORM_API int resource_clear_cpu_inheritance(int tid, const char* destination);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_RESOURCE_H */
