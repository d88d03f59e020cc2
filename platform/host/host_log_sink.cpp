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
#include "host_shared_stream.h"

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
void AppendTextLine(LogLine& line, const LogMessage& message, unsigned lines_dropped, bool keep_colours) {
  line.AppendTime();
  line.Append("Z ", 2);
  line.AppendNumber(getpid());
  const char letter[] = {' ', FormOf(message.priority).letter, ' '};
  line.Append(letter, sizeof letter);
  line.AppendTag(message.tag);
  line.Append('(');
  line.Append(BufferName(message.buffer));
  line.Append("): ", 3);
  line.AppendDropped(lines_dropped);
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

 private:
  void Compose(LogLine& line, const LogMessage& message, unsigned lines_dropped) const override {
    AppendTextLine(line, message, lines_dropped, terminal_);
  }
  ssize_t Deliver(const char* data, size_t size) override { return file_.Write(data, size); }

  GuestFile file_;
  bool terminal_ = false;
};

// The host's standard error, as it is at the first line.
class StderrSink : public LogSink {
 public:
  bool IsOpen() const { return stream_.IsOpen(); }

 private:
  void Compose(LogLine& line, const LogMessage& message, unsigned lines_dropped) const override {
    AppendTextLine(line, message, lines_dropped, terminal_);
  }
  ssize_t Deliver(const char* data, size_t size) override { return stream_.Write(data, size); }

  const SharedStream stream_{STDERR_FILENO};
  const bool terminal_ = stream_.IsTerminal();
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

 private:
  void Compose(LogLine& line, const LogMessage& message, unsigned lines_dropped) const override {
    line.Append("PRIORITY=");
    line.Append(FormOf(message.priority).journal);
    line.Append("\nSYSLOG_IDENTIFIER=");
    line.AppendTag(message.tag);
    line.Append("\nNUV_LOG_BUFFER=");
    line.Append(BufferName(message.buffer));
    line.Append("\nMESSAGE=");
    line.AppendDropped(lines_dropped);
    line.AppendMessage(message, false);
    line.Append('\n');
  }

  ssize_t Deliver(const char* data, size_t size) override {
    int fd = socket_.load(std::memory_order_relaxed);
    ssize_t sent = Send(fd, data, size);
    if (sent < 0 && Foreign(errno) && Renew(fd)) sent = Send(socket_.load(std::memory_order_relaxed), data, size);
    return sent;
  }

  static int NewSocket() { return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0); }

  // The socket is not connected, so each datagram names the journal: it reaches a journal that was started anew, and
  // goes nowhere else where the host has closed the descriptor and got its number again.
  ssize_t Send(int fd, const char* data, size_t size) const {
    return sendto(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT, reinterpret_cast<const sockaddr*>(&address_),
                  sizeof address_);
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

std::unique_ptr<LogSink> MakeStderrSink() {
  auto sink = std::make_unique<StderrSink>();
  if (!sink->IsOpen()) return nullptr;
  return sink;
}

}  // namespace

int LogSink::Write(const LogMessage& message) {
  const LostLines::Count lost = lost_.Take();
  LogLine line(message);
  if (lost.cut) line.Append('\n');
  Compose(line, message, lost.lines);
  const ssize_t written = Deliver(line.data(), line.size());
  if (written != static_cast<ssize_t>(line.size())) lost_.Add(lost, written > 0);
  return static_cast<int>(written);
}

std::unique_ptr<LogSink> MakeLogSink(const char* wish, const char* journal_socket) {
  const std::string value = wish == nullptr ? "" : wish;
  if (value.empty()) return IsSocket(journal_socket) ? std::make_unique<JournalSink>(journal_socket) : nullptr;
  if (value == "journal") return std::make_unique<JournalSink>(journal_socket);
  if (value == "stderr") return MakeStderrSink();
  if (value.compare(0, 5, "file:") == 0) return MakeFileSink(value.substr(5));
  return nullptr;
}

}  // namespace nuv::host
