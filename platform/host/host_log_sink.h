// Where the lines of the log go.
#pragma once

#include <memory>

#include "host_log_line.h"

namespace nuv::host {

constexpr char kJournalSocket[] = "/run/systemd/journal/socket";

// Written to by any thread at the same time, in a forked child too; takes no lock.
class LogSink {
 public:
  virtual ~LogSink() = default;
  // Hands the message over as one line, with one system call. Bytes written, or -1.
  virtual int Write(const LogMessage& message) = 0;
};

// The sink for a value of NUV_LOG (NULL or empty: not set); none where nothing is to be written, which includes values
// that make no sense and files that cannot be opened.
std::unique_ptr<LogSink> MakeLogSink(const char* wish, const char* journal_socket = kJournalSocket);

}  // namespace nuv::host
