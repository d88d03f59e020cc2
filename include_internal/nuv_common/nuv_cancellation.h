// Keeps a host's thread from being cancelled in the middle of a call of GLib or SQLite.
#pragma once

#include <pthread.h>

// As long as one of these lives, the calling thread cannot be cancelled. GLib and SQLite are full of cancellation
// points and know nothing of cancellation: a thread that ended inside of them would keep their locks, and ours, for
// ever. A cancellation that comes meanwhile takes effect at the thread's next cancellation point afterwards.
class CancellationOff {
 public:
  CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_before); }
  ~CancellationOff() { pthread_setcancelstate(m_before, nullptr); }
  CancellationOff(const CancellationOff&) = delete;
  CancellationOff& operator=(const CancellationOff&) = delete;

 private:
  int m_before = PTHREAD_CANCEL_ENABLE;
};
