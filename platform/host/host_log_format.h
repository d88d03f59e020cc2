// The short way to format what nearly all lines of a log are made of.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdlib>
#include <optional>

namespace nuv::host {

// Where a text is formatted to. A short one stays in the buffer that is given; a longer one moves to a block of the
// heap once, while it is formatted.
class FormatBuffer {
 public:
  FormatBuffer(char* text, size_t size, size_t longer_size) : text_(text), size_(size), longer_size_(longer_size) {}
  ~FormatBuffer() {
    if (heap_ != nullptr) free(heap_);
  }
  FormatBuffer(const FormatBuffer&) = delete;
  FormatBuffer& operator=(const FormatBuffer&) = delete;

  char* text() const { return text_; }
  size_t size() const { return size_; }
  // Moves what is in front of `next` to the heap and returns the place behind it. Null where the buffer has moved
  // before, or there is no memory.
  char* Grow(const char* next);
  // Moves to an empty block of that size.
  bool Replace(size_t size);

 private:
  char* text_;
  size_t size_;
  const size_t longer_size_;
  char* heap_ = nullptr;
};

// Formats as vsnprintf() would, at about a third of its cost, where the format has only %s, %.127s (any such number),
// %d, %u and %% and the text fits; otherwise nothing, and the arguments are for vsnprintf(). The text is not
// terminated.
std::optional<size_t> FormatPlain(FormatBuffer& buffer, const char* format, va_list arguments);

}  // namespace nuv::host
