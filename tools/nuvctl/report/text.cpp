#include "report/text.h"

#include <algorithm>
#include <cstdio>

#include "glib_handles.h"

namespace {

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

constexpr char kEllipsis[] = "…";
constexpr size_t kEllipsisWidth = 1;

using Row = std::vector<std::string>;

size_t WidthOf(gunichar character) {
  if (g_unichar_iszerowidth(character)) return 0;
  return g_unichar_iswide(character) ? 2 : 1;
}

std::vector<Row> PrintableRows(std::vector<Row> rows) {
  for (Row& row : rows) {
    for (std::string& cell : row) cell = Printable(cell);
  }
  return rows;
}

std::vector<size_t> ColumnWidths(const std::vector<Row>& rows) {
  std::vector<size_t> widths;
  for (const Row& row : rows) {
    if (widths.size() < row.size()) widths.resize(row.size());
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], ::WidthOf(row[i]));
  }
  return widths;
}

std::string FormatRow(const Row& row, const std::vector<size_t>& widths, const Paint& paint) {
  std::string line;
  size_t owed = 0;  // blanks before the next cell that has a text
  for (size_t i = 0; i < row.size(); ++i) {
    if (!row[i].empty()) line.append(owed, ' ');
    if (!row[i].empty()) owed = 0;
    line += paint != nullptr ? paint(i, row[i]) : row[i];
    owed += widths[i] - ::WidthOf(row[i]) + kColumnGap;
  }
  return line;
}

}  // namespace

std::string Printable(const std::string& text) {
  const TextOwner valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
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

std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return Printable(quoted + "\"");
}

size_t WidthOf(const std::string& printable) {
  size_t width = 0;
  for (const char* at = printable.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    width += WidthOf(g_utf8_get_char(at));
  }
  return width;
}

std::string Shortened(const std::string& text, size_t columns) {
  std::string whole = Printable(text);
  if (WidthOf(whole) <= columns) return whole;
  const TextOwner valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  std::string shortened;
  size_t used = kEllipsisWidth;
  const char* next = nullptr;
  for (const char* at = valid.get(); *at != '\0'; at = next) {
    next = g_utf8_next_char(at);
    const std::string character = Printable(std::string(at, next));
    used += WidthOf(character);
    if (used > columns) break;
    shortened += character;
  }
  return shortened + kEllipsis;
}

std::string FormatTable(const std::vector<std::vector<std::string>>& rows, const Paint& paint) {
  const std::vector<Row> printable = PrintableRows(rows);
  const std::vector<size_t> widths = ColumnWidths(printable);
  std::string table;
  for (const Row& row : printable) {
    if (&row != &printable.front()) table += '\n';
    table += FormatRow(row, widths, paint);
  }
  return table;
}

std::string Joined(const std::vector<std::string>& texts) {
  std::string joined;
  for (const std::string& text : texts) joined += (&text == &texts.front() ? "" : ", ") + text;
  return joined;
}

std::string EitherOf(const std::vector<std::string>& texts) {
  std::string text;
  for (const std::string& one : texts) {
    if (!text.empty()) text += &one == &texts.back() ? " or " : ", ";
    text += one;
  }
  return text;
}

std::string SqlList(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) {
    list += list.empty() ? "'" : ",'";
    for (const char c : text) list.append(c == '\'' ? 2 : 1, c);
    list += '\'';
  }
  return list;
}

void PrintLine(const std::string& text) {
  WriteLine(stdout, text);
}

void PrintError(const std::string& message) {
  WriteLine(stderr, "nuvctl: " + message);
}
