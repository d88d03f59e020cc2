// Whether a call waits for a mutex that another thread holds.
#pragma once

#include <pthread.h>

#include <atomic>
#include <functional>
#include <thread>

#include "process.h"

// Runs the body on another thread while this one holds the mutex: whether it ended within the limit. It ends in any
// case before this returns.
inline bool EndsWhileHeld(pthread_mutex_t& mutex, const std::function<void()>& body,
                          Milliseconds limit = Milliseconds(10000)) {
  std::atomic<bool> ended{false};
  pthread_mutex_lock(&mutex);
  std::thread thread([&] {
    body();
    ended = true;
  });
  const bool result = WaitUntil([&] { return ended.load(); }, limit);
  pthread_mutex_unlock(&mutex);
  thread.join();
  return result;
}

// The same for a body that has to wait: long enough for one that does not.
inline bool WaitsWhileHeld(pthread_mutex_t& mutex, const std::function<void()>& body) {
  return !EndsWhileHeld(mutex, body, Milliseconds(300));
}
