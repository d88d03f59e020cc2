/* Path variables. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_PATH_H
#define NUV_PLATFORM_PATH_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Directory of the application database. */
enum { NUV_PATH_APP_DATABASE_DIR = 24 };

/* Value of a path variable, valid for the life of the process, or NULL when there is none. */
NUV_PLATFORM_API const char* nuv_platform_get_path(int variable);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_PATH_H */
