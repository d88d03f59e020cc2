// Keeps a host's thread from being cancelled in the middle of a platform call.
#pragma once

#include <pthread.h>

namespace nuv::host {

// As long as one of these lives, the calling thread cannot be cancelled. Most system calls are places where it would
// end, with half a line written, a temporary file left, or a lock of the C library's or GLib's held for ever. A
// cancellation that comes meanwhile takes effect at the thread's next such place afterwards.
class CancellationOff {
 public:
  CancellationOff() { pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_); }
  ~CancellationOff() { pthread_setcancelstate(before_, nullptr); }
  CancellationOff(const CancellationOff&) = delete;
  CancellationOff& operator=(const CancellationOff&) = delete;

 private:
  int before_ = PTHREAD_CANCEL_ENABLE;
};

}  // namespace nuv::host
