// Annotations for clang's thread safety analysis: locks, and what they guard. Empty for other compilers.
#pragma once

#if defined(__clang__)
#define NUV_ANALYSED(attribute) __attribute__((attribute))
#else
#define NUV_ANALYSED(attribute)
#endif

#define NUV_CAPABILITY NUV_ANALYSED(capability("mutex"))
#define NUV_SCOPED_CAPABILITY NUV_ANALYSED(scoped_lockable)
#define NUV_GUARDED_BY(mutex) NUV_ANALYSED(guarded_by(mutex))
#define NUV_REQUIRES(mutex) NUV_ANALYSED(requires_capability(mutex))
#define NUV_EXCLUDES(mutex) NUV_ANALYSED(locks_excluded(mutex))
#define NUV_ACQUIRE(...) NUV_ANALYSED(acquire_capability(__VA_ARGS__))
#define NUV_TRY_ACQUIRE(...) NUV_ANALYSED(try_acquire_capability(__VA_ARGS__))
#define NUV_RELEASE(...) NUV_ANALYSED(release_capability(__VA_ARGS__))
// For functions that the analysis cannot follow: constructors and destructors of guards, and handlers of fork().
#define NUV_UNANALYSED NUV_ANALYSED(no_thread_safety_analysis)
