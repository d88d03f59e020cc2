// Rows of text in columns, for a person's terminal.
#pragma once

#include <string>
#include <vector>

// Columns that the text takes on a terminal: a wide character takes two, a combining one none.
size_t WidthOf(const std::string& printable);

// The text, made printable and cut between characters where it is wider than the columns; an ellipsis then ends it.
std::string Shortened(const std::string& text, size_t columns);

// The cells, made printable, in columns of the width that they need: a line for each row, without a line end after the
// last. A row may have fewer cells than others.
std::string FormatTable(const std::vector<std::vector<std::string>>& rows);
