#include "log_tail.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <cctype>
#include <sstream>
#include <vector>

#include "sessions.h"

namespace session {
namespace {

constexpr std::size_t kLines = 12;
constexpr std::size_t kLongestLine = 400;

// What it says is not for the terminal to act upon.
std::string Printable(std::string line) {
  line.resize(std::min(line.size(), kLongestLine));
  std::replace_if(
      line.begin(), line.end(), [](unsigned char c) { return std::iscntrl(c) != 0 && c != '\t'; }, '?');
  return line;
}

bool IsFull(const std::string& path) {
  struct statvfs system {};
  return statvfs(path.c_str(), &system) == 0 && system.f_bavail == 0 && system.f_blocks != 0;
}

}  // namespace

std::string TailOf(const std::string& path) {
  std::istringstream text(ReadFile(path));
  std::vector<std::string> lines;
  for (std::string line; std::getline(text, line);) lines.push_back(Printable(line));
  std::string tail = lines.empty() ? "; its log is empty" : "; its log ends with:";
  for (std::size_t i = lines.size() - std::min(lines.size(), kLines); i < lines.size(); ++i) {
    tail += "\n  " + lines[i];
  }
  return tail + (IsFull(path) ? "\nno space is left for " + path : "");
}

}  // namespace session
