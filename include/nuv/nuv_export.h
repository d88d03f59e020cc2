/* Marks what libnuv_launcher_api.so exports. */
#ifndef NUV_EXPORT_H
#define NUV_EXPORT_H

#define NUV_API __attribute__((visibility("default")))

#endif /* NUV_EXPORT_H */
