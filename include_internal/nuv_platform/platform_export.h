/*
 * The platform calls are reached through the dynamic symbol table, so that a program can put its own in front.
 * Valid C11 and C++17.
 */
#ifndef NUV_PLATFORM_EXPORT_H
#define NUV_PLATFORM_EXPORT_H

#define NUV_PLATFORM_API __attribute__((visibility("default")))

#endif /* NUV_PLATFORM_EXPORT_H */
