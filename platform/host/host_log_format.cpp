#include "host_log_format.h"

#include <charconv>
#include <cstring>

namespace nuv::host {

namespace {

// A piece of a buffer that is being filled; everything answers whether it fitted.
class Filler {
 public:
  Filler(char* text, size_t size) : start_(text), next_(text), limit_(text + size) {}

  size_t size() const { return static_cast<size_t>(next_ - start_); }

  bool Copy(const char* text, size_t length) {
    if (length > static_cast<size_t>(limit_ - next_)) return false;
    memcpy(next_, text, length);
    next_ += length;
    return true;
  }

  bool Copy(const char* text) { return text == nullptr ? Copy(kNull, kNullLength) : Copy(text, strlen(text)); }

  // At most that many characters of a text that need not be terminated behind them. A missing text is not cut.
  bool CopyAtMost(const char* text, size_t limit) {
    if (text == nullptr) return Copy(kNull, limit < kNullLength ? 0 : kNullLength);
    return Copy(text, strnlen(text, limit));
  }

  template <typename Integer>
  bool Number(Integer number) {
    const auto [end, error] = std::to_chars(next_, limit_, number);
    if (error != std::errc()) return false;
    next_ = end;
    return true;
  }

 private:
  static constexpr char kNull[] = "(null)";
  static constexpr size_t kNullLength = sizeof kNull - 1;

  char* const start_;
  char* next_;
  char* const limit_;
};

// What stands between the dot of "%.127s" and its "s", which `precision` is set behind; nothing where it is not a
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

std::optional<size_t> FormatPlain(char* text, size_t size, const char* format, va_list arguments) {
  Filler filler(text, size);
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
