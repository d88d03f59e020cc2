// Pauses that a handled signal does not shorten.
#pragma once

#include <cerrno>
#include <ctime>

// Calls sleep, which is one of the libc functions, for a pause of that length. Where a signal interrupts it, sleeps for
// the rest.
template <typename Sleep>
void Pause(const timespec& length, const Sleep& sleep) {
  timespec end = {};
  clock_gettime(CLOCK_MONOTONIC, &end);
  end.tv_sec += length.tv_sec;
  end.tv_nsec += length.tv_nsec;
  if (end.tv_nsec >= 1000000000) {
    end.tv_nsec -= 1000000000;
    ++end.tv_sec;
  }
  errno = 0;
  // sleep() returns whole seconds: it may have been interrupted although it returns 0.
  const bool whole = sleep() == 0 && errno != EINTR;
  while (!whole && clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR) {
  }
}
