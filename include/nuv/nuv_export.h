/* Marks what libnuv_launcher_api.so exports. Valid C11 and C++17. */
#ifndef NUV_EXPORT_H
#define NUV_EXPORT_H

#include <nuv/nuv_version.h>

/** Stands before each exported function. */
#define NUV_API __attribute__((visibility("default")))

#ifdef __cplusplus
/** Stands before what a header defines itself and the library does not export. */
#define NUV_INLINE inline
#else
/** Stands before what a header defines itself and the library does not export. */
#define NUV_INLINE static inline
#endif

#endif /* NUV_EXPORT_H */
