// The library's named process-wide mutexes and the helpers of its private ones.
#pragma once

#include <nuv_common/nuv_thread_safety.h>
#include <pthread.h>

#include <ctime>
#include <new>
#include <utility>

inline constexpr pthread_mutex_t kPlainMutex = PTHREAD_MUTEX_INITIALIZER;
inline constexpr pthread_mutex_t kRecursiveMutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

#ifdef __SANITIZE_THREAD__
// ThreadSanitizer does not see that pthread_mutex_clocklock() locks.
inline bool LockUntil(pthread_mutex_t& mutex, const timespec& deadline) {
  constexpr timespec kPause = {0, 200000};
  timespec now = {};
  while (pthread_mutex_trylock(&mutex) != 0) {
    clock_gettime(CLOCK_MONOTONIC, &now);
    if (now.tv_sec > deadline.tv_sec || (now.tv_sec == deadline.tv_sec && now.tv_nsec >= deadline.tv_nsec))
      return false;
    nanosleep(&kPause, nullptr);
  }
  return true;
}
#else
inline bool LockUntil(pthread_mutex_t& mutex, const timespec& deadline) {
  return pthread_mutex_clocklock(&mutex, CLOCK_MONOTONIC, &deadline) == 0;
}
#endif

// A POSIX mutex that the analysis of locks knows.
class NUV_CAPABILITY Mutex {
 public:
  constexpr explicit Mutex(pthread_mutex_t initial = kPlainMutex) : m_mutex(initial) {}
  Mutex(const Mutex&) = delete;
  Mutex& operator=(const Mutex&) = delete;

  void lock() NUV_ACQUIRE() { pthread_mutex_lock(&m_mutex); }
  bool try_lock() NUV_TRY_ACQUIRE(true) { return pthread_mutex_trylock(&m_mutex) == 0; }
  // The deadline is on the monotonic clock: setting the time of day makes no wait longer or shorter.
  bool try_lock_until(const timespec& deadline) NUV_TRY_ACQUIRE(true) { return LockUntil(m_mutex, deadline); }
  void unlock() NUV_RELEASE() { pthread_mutex_unlock(&m_mutex); }

  // Puts the mutex into its initial state, whoever held it: in a forked child the thread that held it does not exist.
  void Renew(const pthread_mutex_t& initial) { m_mutex = initial; }

  // For the waits of pthread_cond_t.
  operator pthread_mutex_t&() { return m_mutex; }  // NOLINT(google-explicit-constructor): it is one

 private:
  pthread_mutex_t m_mutex;
};

// One of the two mutexes of which the contract says which functions take them.
class NUV_CAPABILITY NamedMutex : public Mutex {
 public:
  using Mutex::Mutex;
};

// A private mutex under which no other lock is taken, and neither GLib nor a callback is called.
class NUV_CAPABILITY LeafMutex : public Mutex {
 public:
  using Mutex::Mutex;
};

// Held by a launch for its whole run, and by the read side of the application database. The thread that holds it may
// enter again: a failure callback runs while it is held and may launch.
extern NamedMutex g_Mute;

// Held by the queries and changes of the inner side of the application database.
extern NamedMutex g_inner_Mute;

// Locks a mutex for the life of the guard.
template <typename Kind>
class NUV_SCOPED_CAPABILITY MutexLock {
 public:
  explicit MutexLock(Kind& mutex) NUV_ACQUIRE(mutex) : m_mutex(mutex) { m_mutex.lock(); }
  ~MutexLock() NUV_RELEASE() { m_mutex.unlock(); }
  MutexLock(const MutexLock&) = delete;
  MutexLock& operator=(const MutexLock&) = delete;

 private:
  Kind& m_mutex;
};

// A line names the kind of mutex that it locks, and does not compile for the other kind.
using CNUVClientAutoLock = MutexLock<NamedMutex>;
using LeafLock = MutexLock<LeafMutex>;

// An object that lives as long as the process: its destructor never runs, so a thread that outlives static
// destruction still finds it whole.
template <typename T>
class NeverDestroyed {
 public:
  template <typename... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments) {
    new (m_storage) T(std::forward<Arguments>(arguments)...);
  }
  T& operator*() { return *std::launder(reinterpret_cast<T*>(m_storage)); }
  T* operator->() { return &**this; }

 private:
  alignas(T) unsigned char m_storage[sizeof(T)];
};
