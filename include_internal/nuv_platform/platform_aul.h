/* Application utility: which applications run. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_AUL_H
#define NUV_PLATFORM_AUL_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Status of a visible application in aul_app_info. */
enum { NUV_AUL_STATUS_VISIBLE = 3 };

typedef struct {
  int pid;
  int status;
  const char* appid;
} aul_app_info;

/* Called once per running application; a negative answer stops the iteration. It may call these functions again. */
typedef int (*aul_app_info_iter_fn)(const aul_app_info* info, void* data);

/* Non-zero when the application runs. */
NUV_PLATFORM_API int aul_app_is_running(const char* app_id);

/* Walks the running applications on the calling thread; 0, or negative on failure. */
NUV_PLATFORM_API int aul_app_get_running_app_info(aul_app_info_iter_fn iter, void* data);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_AUL_H */
