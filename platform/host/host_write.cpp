#include "host_write.h"

#include <sys/resource.h>
#include <time.h>

namespace nuv::host {

namespace {

constexpr int kRaised[] = {SIGPIPE, SIGXFSZ};  // a blocked SIGTTOU is never raised: the write succeeds

}  // namespace

WriteSignalsOff::WriteSignalsOff() {
  sigset_t off;
  sigemptyset(&off);
  sigaddset(&off, SIGTTOU);
  sigemptyset(&ours_);
  for (const int signal : kRaised) {
    sigaddset(&off, signal);
    sigaddset(&ours_, signal);
  }
  pthread_sigmask(SIG_BLOCK, &off, &before_);
  // Only a signal that was blocked can have been pending.
  for (const int signal : kRaised) {
    if (sigismember(&before_, signal) != 1) continue;
    sigset_t pending;
    sigemptyset(&pending);
    sigpending(&pending);
    if (sigismember(&pending, signal) == 1) sigdelset(&ours_, signal);
  }
}

WriteSignalsOff::~WriteSignalsOff() {
  pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

ssize_t WriteSignalsOff::Checked(ssize_t written, size_t size) const {
  if (written == static_cast<ssize_t>(size)) return written;
  const int error = errno;
  const timespec at_once = {0, 0};
  while (sigtimedwait(&ours_, nullptr, &at_once) > 0 || errno == EINTR) {
  }
  errno = error;
  return written;
}

ssize_t WriteWithoutSignal(int fd, const char* data, size_t size) {
  const WriteSignalsOff off;
  return off.Checked(WriteOnce(fd, data, size), size);
}

bool FileSizesAreLimited() {
  rlimit limit;
  return getrlimit(RLIMIT_FSIZE, &limit) != 0 || limit.rlim_cur != RLIM_INFINITY;
}

}  // namespace nuv::host
