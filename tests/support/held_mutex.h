// What a call does while another thread holds one of the library's mutexes.
#pragma once

#include <nuv_common/nuv_lock.h>
#include <pthread.h>

#include <functional>
#include <future>

#include "process.h"

// Whether a thread waits for a mutex that another one holds. The C library notes that in the mutex.
inline bool IsWaitedFor(Mutex& mutex) {
  constexpr int kTakenAndWaitedFor = 2;
  return __atomic_load_n(&static_cast<pthread_mutex_t&>(mutex).__data.__lock, __ATOMIC_RELAXED) == kTakenAndWaitedFor;
}

enum class WhileHeld { kEnds, kWaits, kNeither };

// What the call does while another thread holds the mutex. It has ended afterwards in any case.
inline WhileHeld CallWhileHeld(Mutex& mutex, const std::function<void()>& call) {
  WhileHeld seen = WhileHeld::kNeither;
  std::future<void> ending;
  {
    const MutexLock lock(mutex);
    ending = std::async(std::launch::async, call);
    WaitUntil([&] {
      if (ending.wait_for(Milliseconds(0)) == std::future_status::ready) {
        seen = WhileHeld::kEnds;
      } else if (IsWaitedFor(mutex)) {
        seen = WhileHeld::kWaits;
      }
      return seen != WhileHeld::kNeither;
    });
  }
  ending.get();
  return seen;
}

inline bool TakesMutex(Mutex& mutex, const std::function<void()>& call) {
  return CallWhileHeld(mutex, call) == WhileHeld::kWaits;
}

inline bool LeavesMutexAlone(Mutex& mutex, const std::function<void()>& call) {
  return CallWhileHeld(mutex, call) == WhileHeld::kEnds;
}
