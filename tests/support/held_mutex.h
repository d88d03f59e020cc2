// What a call does while another thread holds one of the library's mutexes.
#pragma once

#include <nuv_common/nuv_lock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>

#include "process.h"

// Whether the call ends within the limit although another thread holds the mutex. It has ended afterwards in any case.
inline bool EndsWhileHeld(Mutex& mutex, const std::function<void()>& call, Milliseconds limit) {
  std::atomic<bool> started{false};
  std::future<void> ending;
  bool ended = false;
  {
    const MutexLock lock(mutex);
    ending = std::async(std::launch::async, [&] {
      started = true;
      call();
    });
    WaitUntil([&] { return started.load(); });
    ended = ending.wait_for(limit) == std::future_status::ready;
  }
  ending.get();
  return ended;
}

inline bool TakesMutex(Mutex& mutex, const std::function<void()>& call) {
  return !EndsWhileHeld(mutex, call, Milliseconds(100));
}

inline bool LeavesMutexAlone(Mutex& mutex, const std::function<void()>& call) {
  return EndsWhileHeld(mutex, call, Milliseconds(10000));
}
