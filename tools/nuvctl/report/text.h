// Text that came from elsewhere, made fit for a terminal: printable, in columns.
#pragma once

#include <functional>
#include <string>
#include <vector>

// Valid UTF-8 in which every character can be printed: invalid bytes become U+FFFD, control and format characters
// an escape such as \u001b.
std::string Printable(const std::string& text);

// The same between double quotes, which nothing in the text can end.
std::string Quoted(const std::string& text);

// Columns that the text takes on a terminal: a wide character takes two, a combining one none.
size_t WidthOf(const std::string& printable);

// The text, made printable and cut between characters where it is wider than the columns; an ellipsis then ends it.
std::string Shortened(const std::string& text, size_t columns);

// The cells, made printable, in columns of the width that they need: a line for each row, without a line end after the
// last. A row may have fewer cells than others.
using Paint = std::function<std::string(size_t column, const std::string& cell)>;  // may add colour, and nothing else
std::string FormatTable(const std::vector<std::vector<std::string>>& rows, const Paint& paint = nullptr);

constexpr size_t kColumnGap = 2;

// The texts with commas between them, for a person.
std::string Joined(const std::vector<std::string>& texts);

// "A or B", "A, B or C"
std::string EitherOf(const std::vector<std::string>& texts);

// The texts as a list for a statement: each in single quotes, with a single quote inside doubled.
std::string SqlList(const std::vector<std::string>& texts);

// Writes one line, whole, at once.
void PrintLine(const std::string& text);
void PrintError(const std::string& message);  // "nuvctl: MESSAGE" on the standard error stream
