#include "host_log_sink.h"

#include <errno.h>
#include <fcntl.h>
#include <nuv_platform/platform_log.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <filesystem>

#include "host_guest_file.h"

namespace nuv::host {

namespace {

struct PriorityForm {
  char letter;
  char journal;  // the level of syslog
};

PriorityForm FormOf(int priority) {
  if (priority >= NUV_LOG_PRIORITY_ERROR) return {'E', '3'};
  if (priority == NUV_LOG_PRIORITY_WARNING) return {'W', '4'};
  return {'I', '6'};
}

// HH:MM:SS.mmmZ pid I tag(main): message
void AppendTextLine(LogLine& line, const LogMessage& message, bool keep_colours) {
  line.AppendTime();
  line.Append("Z ", 2);
  line.AppendNumber(getpid());
  const char letter[] = {' ', FormOf(message.priority).letter, ' '};
  line.Append(letter, sizeof letter);
  line.AppendTag(message.tag);
  line.Append('(');
  line.Append(BufferName(message.buffer));
  line.Append("): ", 3);
  line.AppendMessage(message, keep_colours);
  line.Append('\n');
}

class FileSink : public LogSink {
 public:
  explicit FileSink(const std::string& path) : file_(std::filesystem::absolute(path), O_APPEND | O_CREAT) {}

  bool Open() {
    if (!file_.Open()) return false;
    terminal_ = file_.IsTerminal();
    return true;
  }

  int Write(const LogMessage& message) override {
    LogLine line(message);
    AppendTextLine(line, message, terminal_);
    return static_cast<int>(file_.Write(line.data(), line.size()));
  }

 private:
  GuestFile file_;
  bool terminal_ = false;
};

// The host's own stream. A service's stderr is often a socket, whose other end may go.
class StderrSink : public LogSink {
 public:
  StderrSink() : terminal_(isatty(STDERR_FILENO) == 1) {
    struct stat status;
    socket_ = fstat(STDERR_FILENO, &status) == 0 && S_ISSOCK(status.st_mode);
  }

  int Write(const LogMessage& message) override {
    LogLine line(message);
    AppendTextLine(line, message, terminal_);
    if (socket_) {
      const ssize_t sent = send(STDERR_FILENO, line.data(), line.size(), MSG_NOSIGNAL);
      if (sent >= 0 || errno != ENOTSOCK) return static_cast<int>(sent);
    }
    return static_cast<int>(WriteOnce(STDERR_FILENO, line.data(), line.size()));
  }

 private:
  bool terminal_;
  bool socket_;
};

// The journal's native protocol: one datagram of fields. A line is dropped rather than waited for where the journal
// does not read.
class JournalSink : public LogSink {
 public:
  explicit JournalSink(const char* path) : socket_(NewSocket()) {
    strncpy(address_.sun_path, path, sizeof address_.sun_path - 1);
  }
  ~JournalSink() override {
    if (socket_ >= 0) close(socket_);
  }

  int Write(const LogMessage& message) override {
    LogLine line(message);
    line.Append("PRIORITY=");
    line.Append(FormOf(message.priority).journal);
    line.Append("\nSYSLOG_IDENTIFIER=");
    line.AppendTag(message.tag);
    line.Append("\nNUV_LOG_BUFFER=");
    line.Append(BufferName(message.buffer));
    line.Append("\nMESSAGE=");
    line.AppendMessage(message, false);
    line.Append('\n');
    int fd = socket_.load(std::memory_order_relaxed);
    ssize_t sent = Send(fd, line);
    if (sent < 0 && Foreign(errno) && Renew(fd)) sent = Send(socket_.load(std::memory_order_relaxed), line);
    return static_cast<int>(sent);
  }

 private:
  static int NewSocket() { return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); }

  // The socket stays without a peer, so that a datagram finds a journal that was started anew, and none goes astray
  // where the host closed the descriptor and got its number again.
  ssize_t Send(int fd, const LogLine& line) const {
    return sendto(fd, line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                  reinterpret_cast<const sockaddr*>(&address_), sizeof address_);
  }

  static bool Foreign(int error) {
    return error == EBADF || error == ENOTSOCK || error == EISCONN || error == EOPNOTSUPP || error == EAFNOSUPPORT ||
           error == EINVAL;
  }

  bool Renew(int stale) {
    const int fresh = NewSocket();
    if (fresh < 0) return false;
    if (!socket_.compare_exchange_strong(stale, fresh)) close(fresh);
    return true;
  }

  sockaddr_un address_{AF_UNIX, {}};
  std::atomic<int> socket_;
};

bool IsSocket(const char* path) {
  struct stat status;
  return stat(path, &status) == 0 && S_ISSOCK(status.st_mode);
}

std::unique_ptr<LogSink> MakeFileSink(const std::string& path) {
  if (path.empty()) return nullptr;
  auto sink = std::make_unique<FileSink>(path);
  if (!sink->Open()) return nullptr;
  return sink;
}

}  // namespace

std::unique_ptr<LogSink> MakeLogSink(const char* wish, const char* journal_socket) {
  const std::string value = wish == nullptr ? "" : wish;
  if (value.empty()) return IsSocket(journal_socket) ? std::make_unique<JournalSink>(journal_socket) : nullptr;
  if (value == "journal") return std::make_unique<JournalSink>(journal_socket);
  if (value == "stderr") return std::make_unique<StderrSink>();
  if (value.compare(0, 5, "file:") == 0) return MakeFileSink(value.substr(5));
  return nullptr;
}

}  // namespace nuv::host
