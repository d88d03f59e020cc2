// The tables of nuvctl on a terminal and elsewhere, and the colour of states.
#include <glib.h>
#include <gmock/gmock.h>

#include <sstream>

#include "nuvctl_host_test.h"
#include "terminal_session.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr char kPlayer[] = "org.kelvo.app.clock";

std::vector<std::string> LinesOf(std::string text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(line);
  }
  return lines;
}

// That the line takes on a terminal.
int ColumnsOf(const std::string& line) {
  int columns = 0;
  for (const char* at = line.c_str(); *at != '\0'; at = g_utf8_next_char(at)) {
    const gunichar character = g_utf8_get_char(at);
    if (g_unichar_iszerowidth(character) == FALSE) columns += g_unichar_iswide(character) != FALSE ? 2 : 1;
  }
  return columns;
}

}  // namespace

// The sample catalogue, with nothing in it that does not stand there for people.
class NuvctlTable : public NuvctlHostTest {
 protected:
  void SetUp() override { StartHost(ReadFile(NUV_SOURCE_DIR "/data/catalogue.json")); }

  // What the command shows on a terminal so wide.
  std::string OnTerminal(int columns, const std::string& command, const std::string& variables = "") const {
    TerminalSession terminal({"env", "NUV_HOST_DIR=" + state(), "TERM=xterm", "sh", "-c",
                              "stty -opost cols " + std::to_string(columns) + "; " + variables +
                                  " " NUV_BIN_DIR "/nuvctl " + command + "; echo all-shown"});
    EXPECT_TRUE(terminal.Shows("all-shown\n")) << terminal.screen();
    return terminal.screen().substr(0, terminal.screen().find("all-shown"));
  }
};

TEST_F(NuvctlTable, FitsTheTerminal) {
  for (const char* command : {"list", "list --service --hidden", "inner list", "ps", "list --hybrid"}) {
    for (const int width : {20, 40, 80, 120, 200}) {
      const std::string screen = OnTerminal(width, command);
      EXPECT_THAT(screen, StartsWith("ID ")) << command;
      for (const std::string& line : LinesOf(screen)) {
        EXPECT_LE(ColumnsOf(line), width) << command << ": " << line;
      }
    }
  }
}

TEST_F(NuvctlTable, OfReasonsFitsTheTerminalToo) {
  const std::string all = Run({"explain", "no.such.application"}).output;
  for (const int width : {40, 60}) {
    const std::string screen = OnTerminal(width, "explain no.such.application");
    const std::string table = screen.substr(0, screen.find("\n\n"));
    EXPECT_THAT(table, StartsWith("STOPS "));
    EXPECT_THAT(table, HasSubstr("…"));
    for (const std::string& line : LinesOf(table)) EXPECT_LE(ColumnsOf(line), width) << line;
  }
  EXPECT_EQ(OnTerminal(300, "explain no.such.application"), all);
  EXPECT_EQ(OnTerminal(40, "explain no.such.application --wide"), all);
}

TEST_F(NuvctlTable, LeavesOutColumnsOnlyWhereTheTerminalIsTooNarrow) {
  EXPECT_THAT(OnTerminal(80, "list"), Not(HasSubstr("FEATURED")));
  EXPECT_THAT(OnTerminal(80, "list"), HasSubstr("LOCKED"));
  const std::string all = Run({"list"}).output;
  EXPECT_THAT(all, HasSubstr("FEATURED"));
  EXPECT_EQ(OnTerminal(300, "list"), all);
  EXPECT_EQ(OnTerminal(40, "list --wide"), all);
}

TEST_F(NuvctlTable, IsNotFittedInAPipe) {
  const std::string all = Run({"list"}).output;
  EXPECT_EQ(OnTerminal(40, "list | cat"), all);
}

TEST_F(NuvctlTable, HasTheColumnsThatAreAskedFor) {
  EXPECT_THAT(Run({"list", "--columns", "run-title,install_type,id", "--count", "1"}).output,
              testing::MatchesRegex("RUN TITLE +install_type +ID\nClock +downloaded +org\\.kelvo\\.app\\.clock\n"));
  EXPECT_THAT(Run({"inner", "list", "--columns", "id"}).output, StartsWith("ID\norg."));
  EXPECT_EQ(Run({"ps", "--columns", "id,state"}).output, "ID  STATE\n");
  for (const Arguments& line :
       {Arguments{"list", "--columns", "run-titel"}, {"inner", "list", "--columns", "run_titel"}}) {
    const NuvctlRun run = Run(line);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.errors, HasSubstr("; did you mean run"));
  }
}

TEST_F(NuvctlTable, StatesHaveColourOnATerminalUnlessTheUserWantsNone) {
  ExpectLaunched(kPlayer);
  const std::string status = std::string("status ") + kPlayer;
  EXPECT_THAT(OnTerminal(80, status), StartsWith("\x1b[32mrunning (stand-in)\x1b[0m"));
  EXPECT_THAT(OnTerminal(80, "ps"), HasSubstr("\x1b[32mfront\x1b[0m"));
  EXPECT_THAT(OnTerminal(80, status + " org.kelvo.app.notes"), HasSubstr("\x1b[32mrunning"));
  for (const auto& [command, variables] : {std::pair(status, "NO_COLOR=1"),
                                           {status, "TERM=dumb"},
                                           {status + " --color never", ""},
                                           {status + " --json", ""}}) {
    EXPECT_THAT(OnTerminal(80, command, variables), Not(HasSubstr("\x1b"))) << command << variables;
  }
  EXPECT_THAT(OnTerminal(80, status, "NO_COLOR="), HasSubstr("\x1b[32m"));
  EXPECT_EQ(Run({"status", kPlayer}).output, "running (stand-in)\n");
  EXPECT_THAT(Run({"status", kPlayer, "--color", "always"}, {{"NO_COLOR", "1"}}).output, StartsWith("\x1b[32m"));
  EXPECT_EQ(Run({"status", kPlayer, "--color", "sometimes"}).status, 2);
}

// Titles are UTF-8, and so is what is said, whatever the user's locale has for letters.
class NuvctlTitleInUtf8 : public NuvctlTable {
 protected:
  static constexpr char kTitle[] = "V\u00eddeo \u2013 \u65e5\u672c\u8a9e";

  void SetUp() override {
    std::string catalogue = ReadFile(NUV_SOURCE_DIR "/data/catalogue.json");
    const std::string title = "\"Kelvo Video\"";
    const std::size_t at = catalogue.find(title);
    ASSERT_NE(at, std::string::npos);
    StartHost(catalogue.replace(at, title.size(), "\"" + std::string(kTitle) + "\""));
  }
};

TEST_F(NuvctlTitleInUtf8, IsTheSameInEachLocale) {
  const char* app = "org.kelvo.app.video";
  for (const Arguments& verb : {Arguments{"list"}, {"show", app}, {"explain", app}, {"list", "--json"}}) {
    const NuvctlRun utf8 = Run(verb, {{"LC_ALL", "C.UTF-8"}});
    EXPECT_EQ(utf8.status, 0) << utf8.errors;
    for (const char* locale : {"C", "POSIX", "no_SUCH.ISO-8859-1"}) {
      const NuvctlRun run = Run(verb, {{"LC_ALL", locale}});
      EXPECT_EQ(run.status, 0) << locale << run.errors;
      EXPECT_EQ(run.output, utf8.output) << locale;
      EXPECT_EQ(run.errors, utf8.errors) << locale;
    }
  }
  EXPECT_THAT(Run({"show", app}, {{"LC_ALL", "C"}}).output, HasSubstr(std::string(kTitle) + "\n"));
}

TEST_F(NuvctlTitleInUtf8, IsFittedByItsColumnsWithoutUtf8Too) {
  for (const int width : {20, 80, 200}) {
    const std::string screen = OnTerminal(width, "list --view most-used", "LC_ALL=C");
    EXPECT_EQ(screen, OnTerminal(width, "list --view most-used", "LC_ALL=C.UTF-8"));
    for (const std::string& line : LinesOf(screen)) EXPECT_LE(ColumnsOf(line), width) << line;
  }
}
