// The library's named process-wide mutexes and the helpers of its private ones.
#pragma once

#include <pthread.h>

#include <new>
#include <utility>

// Held by a launch for its whole run, and by the read side of the application database. The thread that holds it may
// enter again: a failure callback runs while it is held and may launch.
extern pthread_mutex_t g_Mute;

// Held by the queries and changes of the inner side of the application database.
extern pthread_mutex_t g_inner_Mute;

// Locks a mutex for the life of the guard.
class CNUVClientAutoLock {
 public:
  explicit CNUVClientAutoLock(pthread_mutex_t& mutex) : m_mutex(mutex) { pthread_mutex_lock(&m_mutex); }
  ~CNUVClientAutoLock() { pthread_mutex_unlock(&m_mutex); }
  CNUVClientAutoLock(const CNUVClientAutoLock&) = delete;
  CNUVClientAutoLock& operator=(const CNUVClientAutoLock&) = delete;

 private:
  pthread_mutex_t& m_mutex;
};

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
