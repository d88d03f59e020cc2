// How much more memory a process may need for more of the same.
#pragma once

// A sanitizer keeps what was freed for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define KEEPS_WHAT_WAS_FREED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define KEEPS_WHAT_WAS_FREED 1
#endif
#endif
#ifdef KEEPS_WHAT_WAS_FREED
constexpr long kSpareKb = 512L << 10;
#else
constexpr long kSpareKb = 8L << 10;
#endif
