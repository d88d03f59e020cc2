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

  bool Copy(const char* text) { return text == nullptr ? Copy("(null)", 6) : Copy(text, strlen(text)); }

  template <typename Integer>
  bool Number(Integer number) {
    const auto [end, error] = std::to_chars(next_, limit_, number);
    if (error != std::errc()) return false;
    next_ = end;
    return true;
  }

 private:
  char* const start_;
  char* next_;
  char* const limit_;
};

}  // namespace

std::optional<size_t> FormatPlain(char* text, size_t size, const char* format, va_list arguments) {
  Filler filler(text, size);
  for (;;) {
    const char* const directive = strchrnul(format, '%');
    if (!filler.Copy(format, static_cast<size_t>(directive - format))) return std::nullopt;
    if (*directive == '\0') return filler.size();
    bool fitted = false;
    switch (directive[1]) {
      case 's':
        fitted = filler.Copy(va_arg(arguments, const char*));
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
    format = directive + 2;
  }
}

}  // namespace nuv::host
