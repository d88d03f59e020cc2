#include "host_log_line.h"

#include <endian.h>
#include <nuv_platform/platform_log.h>
#include <time.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace nuv::host {

namespace {

constexpr size_t kAroundMessage = 256;  // time, tag, field names of the journal, the note of dropped lines
constexpr size_t kAfterMessage = 64;    // the note of what is missing, the line's end
constexpr size_t kTagLimit = 64;
constexpr size_t kLongestEscape = 4;  // \x07

bool IsControl(char c) {
  return static_cast<unsigned char>(c) < 0x20 && c != '\t';
}

// First control character, or end. Eight bytes at a time.
const char* FindControl(const char* text, const char* end) {
  constexpr uint64_t kOnes = 0x0101010101010101u;
  const char* const last_word = end - text >= 8 ? end - 8 : nullptr;
  while (text <= last_word) {
    uint64_t word;
    memcpy(&word, text, sizeof word);
    word = le64toh(word);
    const uint64_t below_space =
        (word - kOnes * 0x20) & ~word & (kOnes * 0x80);  // a borrow may set a wrong mark, but never the lowest
    if (below_space == 0) {
      text += 8;
      continue;
    }
    text += __builtin_ctzll(below_space) / 8;
    if (IsControl(*text)) return text;
    ++text;  // a tab
  }
  while (text != end && !IsControl(*text)) ++text;
  return text;
}

void PutTwoDigits(char* place, unsigned number) {
  place[0] = static_cast<char>('0' + number / 10);
  place[1] = static_cast<char>('0' + number % 10);
}

// Length of the colour sequence (ESC [ digits and semicolons m) that the text starts with; 0 when there is none.
size_t ColourLength(const char* text, const char* end) {
  if (end - text < 3 || text[0] != '\033' || text[1] != '[') return 0;
  const char* p = text + 2;
  while (p != end && ((*p >= '0' && *p <= '9') || *p == ';')) ++p;
  return p != end && *p == 'm' ? static_cast<size_t>(p + 1 - text) : 0;
}

// The most of the text that fits, not ending inside a UTF-8 character.
size_t FittingPrefix(const char* text, size_t length, size_t room) {
  if (length <= room) return length;
  size_t fitting = room;
  while (fitting > 0 && room - fitting < 3 && (text[fitting] & 0xc0) == 0x80) --fitting;
  return fitting;
}

}  // namespace

const char* BufferName(int buffer) {
  return buffer == NUV_LOG_BUFFER_SYSTEM ? "system" : "main";
}

LogLine::LogLine(const LogMessage& message) {
  if (kAroundMessage + message.length + kAfterMessage > kInlineSize) Grow(message);
}

bool LogLine::Grow(const LogMessage& message) {
  if (data_ != inline_) return false;
  const size_t wanted = kAroundMessage + std::min(message.length * kLongestEscape, kMessageLimit) + kAfterMessage;
  auto* const block = wanted <= kInlineSize ? nullptr : static_cast<char*>(malloc(wanted));
  if (block == nullptr) return false;
  memcpy(block, inline_, size());
  end_ = block + size();
  data_ = block;
  limit_ = block + wanted;
  return true;
}

LogLine::~LogLine() {
  if (data_ != inline_) free(data_);
}

void LogLine::AppendFitting(const char* text) {
  const size_t room = Room();
  memcpy(end_, text, room);
  end_ += room;
}

void LogLine::AppendNumber(int number) {
  const auto [end, error] = std::to_chars(end_, limit_, number);
  if (error == std::errc()) end_ = end;
}

void LogLine::AppendTag(const char* tag) {
  const char* const end = tag + strnlen(tag, kTagLimit);
  for (;;) {
    const char* const control = FindControl(tag, end);
    Append(tag, static_cast<size_t>(control - tag));
    if (control == end) return;
    Append('?');
    tag = control + 1;
  }
}

void LogLine::AppendTime() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  const auto second = static_cast<unsigned>(now.tv_sec % 86400);
  const auto millisecond = static_cast<unsigned>(now.tv_nsec / 1000000);
  char time[] = "00:00:00.000";
  PutTwoDigits(time, second / 3600);
  PutTwoDigits(time + 3, second / 60 % 60);
  PutTwoDigits(time + 6, second % 60);
  time[9] = static_cast<char>('0' + millisecond / 100);
  PutTwoDigits(time + 10, millisecond % 100);
  Append(time, sizeof time - 1);
}

void LogLine::AppendNote(unsigned lines) {
  char number[16];
  Append('[');
  Append(number, static_cast<size_t>(std::to_chars(number, number + sizeof number, lines).ptr - number));
  Append(lines == 1 ? " line dropped] " : " lines dropped] ");
}

void LogLine::AppendMessage(const LogMessage& message, bool keep_colours) {
  const size_t start = size();
  const char* text = message.text;
  const char* const end = text + message.length;
  do {
    const char* const stop = std::min(limit_ - kAfterMessage, data_ + start + kMessageLimit);
    text = AppendUpTo(stop, text, end, keep_colours);
  } while (text != end && Grow(message));
  AppendMissing(static_cast<size_t>(end - text) + message.missing);
}

const char* LogLine::AppendUpTo(const char* stop, const char* text, const char* end, bool keep_colours) {
  while (text != end) {
    const auto room = static_cast<size_t>(stop - end_);
    const auto run = static_cast<size_t>(FindControl(text, end) - text);
    const size_t fitting = FittingPrefix(text, run, room);
    Append(text, fitting);
    text += fitting;
    if (fitting < run || text == end) break;
    if (const size_t colour = ColourLength(text, end); colour != 0) {
      if (keep_colours && colour > room - fitting) break;
      if (keep_colours) Append(text, colour);
      text += colour;
    } else {
      if (!AppendControl(*text, room - fitting)) break;
      ++text;
    }
  }
  return text;
}

bool LogLine::AppendControl(char c, size_t room) {
  constexpr char kHex[] = "0123456789abcdef";
  if (room < kLongestEscape) return false;
  if (c == '\n' || c == '\r') {
    Append(c == '\n' ? "\\n" : "\\r", 2);
    return true;
  }
  const char escape[kLongestEscape] = {'\\', 'x', kHex[(c >> 4) & 0xf], kHex[c & 0xf]};
  Append(escape, sizeof escape);
  return true;
}

void LogLine::AppendMissing(size_t count) {
  if (count == 0) return;
  char number[24];
  Append(" [... ");
  Append(number, static_cast<size_t>(std::to_chars(number, number + sizeof number, count).ptr - number));
  Append(" more bytes]");
}

}  // namespace nuv::host
