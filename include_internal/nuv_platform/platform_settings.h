/* Settings store. A key is a relative path of names: empty names, "." and ".." are refused. Valid C11 and C++17. */
#ifndef NUV_PLATFORM_SETTINGS_H
#define NUV_PLATFORM_SETTINGS_H

#include <nuv_platform/platform_export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Reads an integer setting; 0, or negative when the key does not exist or is no integer (*value is then unchanged). */
NUV_PLATFORM_API int vconf_get_int(const char* key, int* value);

/* Writes a text setting; 0, or negative when the store refuses. */
NUV_PLATFORM_API int vconf_set_str(const char* key, const char* value);

#ifdef __cplusplus
}
#endif

#endif /* NUV_PLATFORM_SETTINGS_H */
