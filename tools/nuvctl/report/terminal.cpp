#include "report/terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

namespace {

struct StateColour {
  const char* word;
  const char* colour;
};

constexpr char kGreen[] = "\x1b[32m";
constexpr char kYellow[] = "\x1b[33m";
constexpr char kRed[] = "\x1b[31m";
constexpr char kPlain[] = "\x1b[0m";

constexpr StateColour kColours[] = {{"running", kGreen},     {"front", kGreen}, {"visible", kGreen},
                                    {"background", kYellow}, {"ok", kGreen},    {"warn", kYellow},
                                    {"fail", kRed}};

bool g_colour = false;

bool TerminalTakesColour() {
  const char* no_color = getenv("NO_COLOR");
  const char* terminal = getenv("TERM");
  const bool dumb = terminal == nullptr || std::string(terminal) == "dumb";
  return isatty(STDOUT_FILENO) != 0 && !dumb && (no_color == nullptr || *no_color == '\0');
}

}  // namespace

std::optional<size_t> TerminalColumns() {
  winsize size = {};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return std::nullopt;
  return size.ws_col;
}

void ChooseColour(const std::string& when) {
  g_colour = when == "always" || (when == "auto" && TerminalTakesColour());
}

std::string PaintedState(const std::string& state) {
  for (const StateColour& row : kColours) {
    if (g_colour && state.rfind(row.word, 0) == 0) return row.colour + state + kPlain;
  }
  return state;
}
