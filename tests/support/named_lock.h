// Who holds g_Mute.
#pragma once

#include <nuv_common/nuv_lock.h>

#include <thread>

// Whether another thread could take it now.
inline bool LockIsFree() {
  bool free = false;
  std::thread([&free] {
    free = pthread_mutex_trylock(&g_Mute) == 0;
    if (free) pthread_mutex_unlock(&g_Mute);
  }).join();
  return free;
}

// Whether the calling thread has taken it, and only once. Not to be asked under one of the library's other locks, as it
// is taken anew.
inline bool LockIsHeldOnce() {
  if (LockIsFree() || pthread_mutex_unlock(&g_Mute) != 0) return false;
  const bool once = LockIsFree();
  pthread_mutex_lock(&g_Mute);
  return once;
}
