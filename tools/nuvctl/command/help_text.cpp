#include "command/help_text.h"

#include <algorithm>
#include <sstream>

namespace {

constexpr size_t kWidest = 80;
constexpr size_t kDescription = 30;  // where the parser begins them

// Of a line of a table, below the description; of any other, a little to the right.
size_t IndentOf(const std::string& line) {
  return line.rfind("  ", 0) == 0 ? kDescription : 2;
}

}  // namespace

std::string FittedHelp(const std::string& help) {
  std::istringstream lines(help);
  std::string fitted;
  for (std::string line; std::getline(lines, line);) {
    const size_t indent = IndentOf(line);
    while (line.size() > kWidest) {
      size_t cut = line.rfind(' ', kWidest);
      if (cut == std::string::npos || cut <= indent) cut = line.find(' ', kWidest);
      if (cut == std::string::npos) break;
      const size_t end = line.find_last_not_of(' ', cut);
      fitted += line.substr(0, end + 1) + "\n";
      line = std::string(indent, ' ') + line.substr(std::min(line.find_first_not_of(' ', cut), line.size()));
    }
    fitted += line + "\n";
  }
  return fitted;
}
