// Where the lines of the log go.
#pragma once

#include <sys/types.h>

#include <memory>

#include "host_log_line.h"
#include "host_lost_lines.h"

namespace nuv::host {

constexpr char kJournalSocket[] = "/run/systemd/journal/socket";

// Written to by any thread at the same time, in a forked child too; takes no lock.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // Hands the message over as one line, in one piece. A line that is not taken at once is dropped, and the next one
  // that gets through counts it. Bytes written, or -1.
  int Write(const LogMessage& message);

 private:
  virtual void Compose(LogLine& line, const LogMessage& message, unsigned lines_dropped) const = 0;
  virtual ssize_t Deliver(const char* data, size_t size) = 0;

  LostLines lost_;
};

// The sink for a value of NUV_LOG (NULL or empty: not set); none where nothing is to be written, which includes values
// that make no sense and files that cannot be opened.
std::unique_ptr<LogSink> MakeLogSink(const char* wish, const char* journal_socket = kJournalSocket);

}  // namespace nuv::host
