/*
 * The version of these headers. Valid C11 and C++17.
 *
 * The CMake package and the pkg-config file tell the compiler the version of the library that they belong to. Where the
 * compiler finds these headers from another version, as with two installations on one include path, it stops here and
 * says both versions. Without either of them (a bare -lnuv_launcher_api) nobody can tell when building. What is loaded
 * later, when the program runs, is held by the library's SONAME alone: within a major version any library serves.
 */
#ifndef NUV_VERSION_H
#define NUV_VERSION_H

#define NUV_LAUNCHER_API_VERSION_MAJOR 1 /**< rises with what breaks programs that are built already */
#define NUV_LAUNCHER_API_VERSION_MINOR 0 /**< rises with what is new */
#define NUV_LAUNCHER_API_VERSION_MICRO 0 /**< rises with what is mended */

/** A version as one number that rises with it: 10203 is 1.2.3. Minor and micro number are below 100. */
#define NUV_LAUNCHER_API_ENCODE_VERSION(major, minor, micro) ((major)*10000 + (minor)*100 + (micro))

/** The version of these headers as one number. */
#define NUV_LAUNCHER_API_VERSION                                                                  \
  NUV_LAUNCHER_API_ENCODE_VERSION(NUV_LAUNCHER_API_VERSION_MAJOR, NUV_LAUNCHER_API_VERSION_MINOR, \
                                  NUV_LAUNCHER_API_VERSION_MICRO)

#define NUV_VERSION_TEXT_OF_(number) #number
#define NUV_VERSION_TEXT_(number) NUV_VERSION_TEXT_OF_(number)

/** The version of these headers as a text, "1.2.3". */
#define NUV_LAUNCHER_API_VERSION_STRING             \
  NUV_VERSION_TEXT_(NUV_LAUNCHER_API_VERSION_MAJOR) \
  "." NUV_VERSION_TEXT_(NUV_LAUNCHER_API_VERSION_MINOR) "." NUV_VERSION_TEXT_(NUV_LAUNCHER_API_VERSION_MICRO)

/** Whether these headers are of the given version or a later one, for the preprocessor as well. */
#define NUV_LAUNCHER_API_CHECK_VERSION(major, minor, micro) \
  (NUV_LAUNCHER_API_VERSION >= NUV_LAUNCHER_API_ENCODE_VERSION(major, minor, micro))

/* Set by the CMake package and by pkg-config: the encoded version of the library that is built against. */
#ifdef NUV_LAUNCHER_API_LIBRARY_VERSION
#if NUV_LAUNCHER_API_LIBRARY_VERSION != NUV_LAUNCHER_API_VERSION
#define NUV_VERSIONS_DIFFER_ \
  "the headers of libnuv_launcher_api " NUV_LAUNCHER_API_VERSION_STRING                                   \
  " were found, but the library is of version " NUV_VERSION_TEXT_(NUV_LAUNCHER_API_LIBRARY_VERSION)       \
  " (major * 10000 + minor * 100 + micro): another installation comes first where the compiler looks for" \
  " headers"
#ifdef __cplusplus
static_assert(NUV_LAUNCHER_API_LIBRARY_VERSION == NUV_LAUNCHER_API_VERSION, NUV_VERSIONS_DIFFER_);
#else
_Static_assert(NUV_LAUNCHER_API_LIBRARY_VERSION == NUV_LAUNCHER_API_VERSION, NUV_VERSIONS_DIFFER_);
#endif
#endif
#endif

#endif /* NUV_VERSION_H */
