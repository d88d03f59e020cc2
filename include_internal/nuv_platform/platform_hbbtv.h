/* HbbTV query. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_HBBTV_H
#define NUV_PLATFORM_HBBTV_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* 1 and a malloc'ed id when an HbbTV application runs; 0 when none does; negative on failure. */
NUV_PLATFORM_API int GetRunningHbbtvApp(char** app_id);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_HBBTV_H */
