// Text that came from elsewhere, made fit for a terminal.
#pragma once

#include <string>

// Valid UTF-8 in which every character can be printed: invalid bytes become U+FFFD, control and format characters
// an escape such as \u001b.
std::string Printable(const std::string& text);

// Writes one line, whole, at once.
void PrintLine(const std::string& text);
void PrintError(const std::string& message);  // "nuvctl: MESSAGE" on the standard error stream
