#include "printable.h"

#include <glib.h>

#include <cstdio>

namespace simulator {
namespace {

bool OnlyShows(gunichar character) {
  const GUnicodeType type = g_unichar_type(character);
  const bool directs =
      type == G_UNICODE_FORMAT || type == G_UNICODE_LINE_SEPARATOR || type == G_UNICODE_PARAGRAPH_SEPARATOR;
  return !directs && g_unichar_isprint(character) != FALSE;
}

std::string Escape(const char* form, unsigned number) {
  char text[16];
  std::snprintf(text, sizeof text, form, number);
  return text;
}

}  // namespace

std::string Printable(const std::string& text) {
  constexpr gunichar kIncomplete = 0x80000000;  // this and above: no character
  std::string printable;
  const char* const end = text.data() + text.size();
  for (const char* at = text.data(); at < end;) {
    const gunichar character = *at == '\0' ? 0 : g_utf8_get_char_validated(at, end - at);
    if (character >= kIncomplete) {
      printable += Escape("\\x%02x", static_cast<unsigned char>(*at++));
      continue;
    }
    const char* const next = g_utf8_next_char(at);
    if (OnlyShows(character)) {
      printable.append(at, next);
    } else {
      printable += Escape("\\u%04x", character);
    }
    at = next;
  }
  return printable;
}

}  // namespace simulator
