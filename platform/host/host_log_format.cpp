#include "host_log_format.h"

#include <charconv>
#include <cstdlib>
#include <cstring>

namespace nuv::host {

namespace {

// Fills a buffer; each function returns whether its text fitted.
class Filler {
 public:
  explicit Filler(FormatBuffer& buffer) : buffer_(buffer), next_(buffer.text()), limit_(next_ + buffer.size()) {}

  size_t size() const { return static_cast<size_t>(next_ - buffer_.text()); }

  bool Copy(const char* text, size_t length) {
    if (length > static_cast<size_t>(limit_ - next_) && !MakeRoom(length)) return false;
    memcpy(next_, text, length);
    next_ += length;
    return true;
  }

  bool Copy(const char* text) { return text == nullptr ? Copy(kNull, kNullLength) : Copy(text, strlen(text)); }

  // Copies at most `limit` characters of a text, which need not be terminated behind them. For a null text, "(null)" is
  // copied whole or not at all.
  bool CopyAtMost(const char* text, size_t limit) {
    if (text == nullptr) return Copy(kNull, limit < kNullLength ? 0 : kNullLength);
    return Copy(text, strnlen(text, limit));
  }

  template <typename Integer>
  bool Number(Integer number) {
    do {
      const auto [end, error] = std::to_chars(next_, limit_, number);
      if (error == std::errc()) {
        next_ = end;
        return true;
      }
    } while (MakeRoom(0));
    return false;
  }

 private:
  static constexpr char kNull[] = "(null)";
  static constexpr size_t kNullLength = sizeof kNull - 1;

  bool MakeRoom(size_t length) {
    char* const next = buffer_.Grow(next_);
    if (next == nullptr) return false;
    next_ = next;
    limit_ = buffer_.text() + buffer_.size();
    return length <= static_cast<size_t>(limit_ - next_);
  }

  FormatBuffer& buffer_;
  char* next_;
  char* limit_;
};

// The number between the dot and the "s" of "%.127s"; `precision` is moved behind the "s". Nothing where there is no
// number of up to four digits.
std::optional<size_t> TakePrecision(const char*& precision) {
  size_t number = 0;
  const char* next = precision;
  while (next - precision < 4 && *next >= '0' && *next <= '9')
    number = number * 10 + static_cast<size_t>(*next++ - '0');
  if (next == precision || *next != 's') return std::nullopt;
  precision = next + 1;
  return number;
}

}  // namespace

char* FormatBuffer::Grow(const char* next) {
  const char* const before = text_;
  const auto filled = static_cast<size_t>(next - before);
  if (heap_ != nullptr || longer_size_ <= size_ || !Replace(longer_size_)) return nullptr;
  memcpy(text_, before, filled);
  return text_ + filled;
}

bool FormatBuffer::Replace(size_t size) {
  auto* const block = static_cast<char*>(malloc(size));
  if (block == nullptr) return false;
  free(heap_);
  text_ = heap_ = block;
  size_ = size;
  return true;
}

std::optional<size_t> FormatPlain(FormatBuffer& buffer, const char* format, va_list arguments) {
  Filler filler(buffer);
  for (;;) {
    const char* const directive = strchrnul(format, '%');
    if (!filler.Copy(format, static_cast<size_t>(directive - format))) return std::nullopt;
    if (*directive == '\0') return filler.size();
    format = directive + 2;
    bool fitted = false;
    switch (directive[1]) {
      case 's':
        fitted = filler.Copy(va_arg(arguments, const char*));
        break;
      case '.':
        if (const auto precision = TakePrecision(format)) {
          fitted = filler.CopyAtMost(va_arg(arguments, const char*), *precision);
        }
        break;
      case 'd':
        fitted = filler.Number(va_arg(arguments, int));
        break;
      case 'u':
        fitted = filler.Number(va_arg(arguments, unsigned));
        break;
      case '%':
        fitted = filler.Copy("%", 1);
        break;
      default:
        break;
    }
    if (!fitted) return std::nullopt;
  }
}

}  // namespace nuv::host
