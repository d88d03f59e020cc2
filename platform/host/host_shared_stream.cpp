#include "host_shared_stream.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>

#include "host_file.h"
#include "host_write.h"

namespace nuv::host {

namespace {

ssize_t SendOnce(int fd, const char* data, size_t size) {
  ssize_t sent;
  do {
    sent = send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  } while (sent < 0 && errno == EINTR);
  return sent;
}

ssize_t WriteNow(int fd, const char* data, size_t size) {
  const iovec whole = {const_cast<char*>(data), size};
  return pwritev2(fd, &whole, 1, -1, RWF_NOWAIT);
}

// Opens the same file again, with a description that does not block, for one write. It is not kept: the reader of a
// pipe would see no end of file after the host has closed its own.
int OpenAnew(int fd) {
  char path[32] = "/proc/self/fd/";
  *std::to_chars(path + strlen(path), path + sizeof path - 1, fd).ptr = '\0';
  return open(path, O_WRONLY | O_NONBLOCK | O_APPEND | O_NOCTTY | O_CLOEXEC);
}

}  // namespace

SharedStream::SharedStream(int fd) : fd_(fd), open_(fstat(fd, &status_) == 0) {}

bool SharedStream::IsTerminal() const {
  return open_ && isatty(fd_) == 1;
}

bool SharedStream::Is(int fd) const {
  struct stat now;
  return open_ && fstat(fd, &now) == 0 && now.st_dev == status_.st_dev && now.st_ino == status_.st_ino;
}

ssize_t SharedStream::Write(const char* data, size_t size) const {
  if (!Is(fd_)) {
    errno = EBADF;
    return -1;
  }
  if (S_ISSOCK(status_.st_mode)) return SendOnce(fd_, data, size);
  if (S_ISREG(status_.st_mode)) return WriteWithoutSignal(fd_, data, size);
  return WriteWithoutWaiting(data, size);
}

// Writes to pipes, terminals and other devices. A newer kernel writes to an anonymous pipe without waiting in one call.
// Everything else needs a description of our own, which cannot always be opened: the pipe may be another user's, or no
// descriptor free.
ssize_t SharedStream::WriteWithoutWaiting(const char* data, size_t size) const {
  const WriteSignalsOff off;
  const ssize_t written = off.Checked(WriteNow(fd_, data, size), size);
  if (written >= 0 || errno == EAGAIN || errno == EPIPE) return written;
  const UniqueFd own(OpenAnew(fd_));
  if (own.valid() && Is(own.get())) return off.Checked(WriteOnce(own.get(), data, size), size);
  return WriteWhilePolling(data, size);
}

// A pipe that polls writable takes PIPE_BUF bytes at once. Only where two writers meet at its last free page can one of
// them be made to wait.
ssize_t SharedStream::WriteWhilePolling(const char* data, size_t size) const {
  size_t done = 0;
  while (done < size) {
    pollfd writable = {fd_, POLLOUT, 0};
    if (poll(&writable, 1, 0) != 1) {
      errno = EAGAIN;
      break;
    }
    const size_t piece = std::min<size_t>(size - done, PIPE_BUF);
    const ssize_t written = WriteWithoutSignal(fd_, data + done, piece);
    if (written <= 0) break;
    done += static_cast<size_t>(written);
  }
  return done == 0 ? -1 : static_cast<ssize_t>(done);
}

}  // namespace nuv::host
