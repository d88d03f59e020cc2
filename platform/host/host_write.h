// Writes in a process that does not know of them: no signal of a write reaches the host.
#pragma once

#include <errno.h>
#include <signal.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstddef>

namespace nuv::host {

// write(), tried again where a signal interrupts it.
inline ssize_t WriteOnce(int fd, const char* data, size_t size) {
  ssize_t written;
  do {
    written = write(fd, data, size);
  } while (written < 0 && errno == EINTR);
  return written;
}

// As long as one of these lives, what the calling thread writes raises no signal: neither SIGPIPE, where a reader is
// gone, nor SIGXFSZ at the limit of file sizes, both of which end a host that does not expect them, nor SIGTTOU, which
// stops a host in the background of its terminal. The signals are only blocked, for the thread; what the host does with
// them stays as it is.
class WriteSignalsOff {
 public:
  WriteSignalsOff();
  ~WriteSignalsOff();
  WriteSignalsOff(const WriteSignalsOff&) = delete;
  WriteSignalsOff& operator=(const WriteSignalsOff&) = delete;

  // To be called with the result of each write. Takes back the signal that the write raised, unless that signal was
  // pending before; returns the result and keeps errno.
  ssize_t Checked(ssize_t written, size_t size) const;

 private:
  sigset_t before_;
  sigset_t ours_;  // those that were not pending before
};

ssize_t WriteWithoutSignal(int fd, const char* data, size_t size);

// Whether a file of this process can reach the limit of its size. Most processes have none; asking costs less than
// blocking signals.
bool FileSizesAreLimited();

}  // namespace nuv::host
