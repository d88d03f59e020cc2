// A stream of the host's, such as its standard error.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <cstddef>

namespace nuv::host {

// The descriptor and its file description are the host's: no flag of theirs is changed. A write never waits for a
// stream that takes nothing at the moment, such as a full pipe or a stopped terminal, and raises no signal. Where the
// host puts something else in the stream's place, which may be a file of its own, nothing is written until the stream
// is back.
class SharedStream {
 public:
  explicit SharedStream(int fd);
  SharedStream(const SharedStream&) = delete;
  SharedStream& operator=(const SharedStream&) = delete;

  bool IsOpen() const { return open_; }
  bool IsTerminal() const;

  // Bytes written, or -1. A part is only written where the stream has room for no more.
  ssize_t Write(const char* data, size_t size) const;

 private:
  bool Is(int fd) const;
  ssize_t WriteWithoutWaiting(const char* data, size_t size) const;
  ssize_t WriteWhilePolling(const char* data, size_t size) const;

  const int fd_;
  struct stat status_;
  bool open_;
};

}  // namespace nuv::host
