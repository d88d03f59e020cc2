#include "text.h"

#include <glib.h>

#include <cstdio>
#include <memory>

namespace {

struct Free {
  void operator()(char* text) const { g_free(text); }
};

// What GLib calls printable, but for the characters that end a line or that direct the text around them.
bool MayBePrinted(gunichar character) {
  switch (g_unichar_type(character)) {
    case G_UNICODE_FORMAT:
    case G_UNICODE_LINE_SEPARATOR:
    case G_UNICODE_PARAGRAPH_SEPARATOR:
      return false;
    default:
      return g_unichar_isprint(character) != FALSE;
  }
}

void WriteLine(std::FILE* stream, const std::string& line) {
  std::fwrite((line + "\n").data(), 1, line.size() + 1, stream);
  std::fflush(stream);
}

}  // namespace

std::string Printable(const std::string& text) {
  const std::unique_ptr<char, Free> valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  std::string printable;
  const char* next = nullptr;
  for (const char* at = valid.get(); *at != '\0'; at = next) {
    next = g_utf8_next_char(at);
    const gunichar character = g_utf8_get_char(at);
    if (MayBePrinted(character)) {
      printable.append(at, next);
    } else {
      char escape[16];
      std::snprintf(escape, sizeof escape, "\\u%04x", character);
      printable += escape;
    }
  }
  return printable;
}

void PrintLine(const std::string& text) {
  WriteLine(stdout, text);
}

void PrintError(const std::string& message) {
  WriteLine(stderr, "nuvctl: " + message);
}
