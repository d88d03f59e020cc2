// Text that came from elsewhere, made fit for a terminal.
#pragma once

#include <string>

namespace simulator {

// A single line that only shows: control characters, those that direct or hide the text around them, and what ends a
// line become an escape such as \u001b, a byte that is no UTF-8 one such as \xff.
std::string Printable(const std::string& text);

}  // namespace simulator
