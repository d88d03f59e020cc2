// Who holds g_Mute.
#pragma once

#include <nuv_common/nuv_lock.h>

#include <thread>

// Whether another thread could take it now.
inline bool LockIsFree() {
  bool free = false;
  std::thread([&free] {
    free = g_Mute.try_lock();
    if (free) g_Mute.unlock();
  }).join();
  return free;
}

// Whether the calling thread has taken it, and only once. Not to be asked under one of the library's other locks, as it
// is taken anew.
inline bool LockIsHeldOnce() {
  pthread_mutex_t& mutex = g_Mute;
  if (LockIsFree() || pthread_mutex_unlock(&mutex) != 0) return false;
  const bool once = LockIsFree();
  pthread_mutex_lock(&mutex);
  return once;
}
