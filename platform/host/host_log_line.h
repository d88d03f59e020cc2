// One line of the log: put together in one buffer, so that it can be handed over in one piece.
#pragma once

#include <cstddef>
#include <cstring>

namespace nuv::host {

// Message text that a line holds at most; the rest is counted at its end.
constexpr size_t kMessageLimit = size_t{64} * 1024;

// A message as it was formatted.
struct LogMessage {
  int buffer;
  int priority;
  const char* tag;
  const char* text;
  size_t length;
  size_t missing;  // characters of the message that are not in text
};

class LogLine {
 public:
  // Has room for the message and what stands around it. Short lines stay off the heap, long ones off the stack, which
  // may be a small one; where there is no heap left, a long line is cut.
  explicit LogLine(const LogMessage& message);
  ~LogLine();
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;

  const char* data() const { return data_; }
  size_t size() const { return static_cast<size_t>(end_ - data_); }

  // What does not fit is left out.
  void Append(const char* text, size_t length) {
    if (length > Room()) return AppendFitting(text);
    memcpy(end_, text, length);  // inlined where the length is a constant
    end_ += length;
  }
  void Append(const char* text) { Append(text, strlen(text)); }
  void Append(char c) { Append(&c, 1); }
  void AppendNumber(int number);
  void AppendTag(const char* tag);
  // HH:MM:SS.mmm in UTC. Formatted by hand, because the C library's functions take the time zone's lock.
  void AppendTime();
  // The note about lines that were dropped before this one; nothing where there were none.
  void AppendDropped(unsigned lines) {
    if (lines != 0) AppendNote(lines);
  }
  // The message in one line: line ends and other control characters as \n, \x07 ..., colours kept or taken out, and a
  // note at the end where something is missing.
  void AppendMessage(const LogMessage& message, bool keep_colours);

 private:
  // Appends what fits of a text that does not fit as a whole.
  void AppendFitting(const char* text);
  void AppendNote(unsigned lines_dropped);
  // Moves the line to a heap block in which the message fits even if every character needs an escape. False where the
  // line has moved before, or there is no memory.
  bool Grow(const LogMessage& message);
  // Appends the text until the line has reached `stop`; returns what is left of the text.
  const char* AppendUpTo(const char* stop, const char* text, const char* end, bool keep_colours);
  bool AppendControl(char c, size_t room);
  void AppendMissing(size_t count);
  size_t Room() const { return static_cast<size_t>(limit_ - end_); }

  static constexpr size_t kInlineSize = 2048;

  char inline_[kInlineSize];
  char* data_ = inline_;
  char* end_ = inline_;
  char* limit_ = inline_ + kInlineSize;
};

// "main" or "system".
const char* BufferName(int buffer);

}  // namespace nuv::host
