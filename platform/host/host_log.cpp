// The platform log: what is wanted (NUV_LOG, NUV_LOG_LEVEL), and the way of a line to its sink.
#include <errno.h>
#include <nuv_platform/platform_log.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "host_cancellation.h"
#include "host_guard.h"
#include "host_log_format.h"
#include "host_log_line.h"
#include "host_log_sink.h"

namespace {

using nuv::host::LogSink;

// Both are set on first use, without a lock, because a forked child may log, and never destroyed, because a process may
// log while it ends.
std::atomic<int> g_lowest_wanted{INT_MIN};
std::atomic<LogSink*> g_sink{nullptr};

int LowestPriority() {
  const char* const level = secure_getenv("NUV_LOG_LEVEL");
  if (level != nullptr && strcmp(level, "error") == 0) return NUV_LOG_PRIORITY_ERROR;
  if (level != nullptr && strcmp(level, "warning") == 0) return NUV_LOG_PRIORITY_WARNING;
  return NUV_LOG_PRIORITY_INFO;
}

// Threads that get here at the same time all read the environment; the first sink stays.
LogSink* SetUp() {
  auto sink =
      nuv::host::Guarded(std::unique_ptr<LogSink>(), [] { return nuv::host::MakeLogSink(secure_getenv("NUV_LOG")); });
  LogSink* first = nullptr;
  if (g_sink.compare_exchange_strong(first, sink.get(), std::memory_order_acq_rel)) first = sink.release();
  g_lowest_wanted.store(first == nullptr ? INT_MAX : LowestPriority(), std::memory_order_relaxed);
  return first;
}

// A message in a buffer on the stack, or on the heap where it is long.
class FormattedMessage {
 public:
  FormattedMessage(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const auto length = nuv::host::FormatPlain(buffer_, format, again);
    va_end(again);
    text_ = buffer_.text();
    if (length) {
      length_ = *length;
    } else {
      Format(format, arguments);
    }
  }
  FormattedMessage(const FormattedMessage&) = delete;
  FormattedMessage& operator=(const FormattedMessage&) = delete;

  const char* text() const { return text_; }
  size_t length() const { return length_; }
  size_t missing() const { return missing_; }

 private:
  void Format(const char* format, va_list arguments) {
    const int error = errno;  // %m
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(buffer_.text(), buffer_.size(), format, arguments);
    if (length < 0) {
      text_ = format;  // better than nothing
      length_ = strnlen(format, nuv::host::kMessageLimit);
    } else if (static_cast<size_t>(length) < buffer_.size()) {
      length_ = static_cast<size_t>(length);
    } else {
      errno = error;
      FormatLong(format, again, static_cast<size_t>(length));
    }
    va_end(again);
  }

  void FormatLong(const char* format, va_list arguments, size_t length) {
    constexpr size_t kCharacter = 4;  // longest UTF-8 character: the line sees where one is cut
    const size_t size = std::min(length, nuv::host::kMessageLimit + kCharacter) + 1;
    if (buffer_.Replace(size) && vsnprintf(buffer_.text(), size, format, arguments) < 0) buffer_.text()[0] = '\0';
    text_ = buffer_.text();
    length_ = strnlen(text_, buffer_.size());
    missing_ = length - length_;
  }

  // The stack may be a small one; the longest line about an application fits the longer size.
  char inline_[1024];
  nuv::host::FormatBuffer buffer_{inline_, sizeof inline_, 4096};
  const char* text_ = nullptr;
  size_t length_ = 0;
  size_t missing_ = 0;
};

// A function of its own, so that the buffers here and the stack of SetUp() are never needed at the same time.
__attribute__((noinline)) int Hand(LogSink& sink, int buffer, int priority, const char* tag, const char* format,
                                   va_list arguments) {
  const FormattedMessage message(format == nullptr ? "" : format, arguments);
  return sink.Write({buffer, priority, tag == nullptr ? "" : tag, message.text(), message.length(), message.missing()});
}

__attribute__((noinline)) int Print(int buffer, int priority, const char* tag, const char* format, va_list arguments) {
  const nuv::host::CancellationOff off;
  const int saved = errno;
  LogSink* sink = g_sink.load(std::memory_order_acquire);
  if (sink == nullptr) sink = SetUp();
  int written = 0;
  if (sink != nullptr && priority >= g_lowest_wanted.load(std::memory_order_relaxed)) {
    errno = saved;
    written = Hand(*sink, buffer, priority, tag, format, arguments);
  }
  errno = saved;
  return written;
}

}  // namespace

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  if (priority < g_lowest_wanted.load(std::memory_order_relaxed)) return 0;
  va_list arguments;
  va_start(arguments, format);
  const int written = Print(buffer, priority, tag, format, arguments);
  va_end(arguments);
  return written;
}
