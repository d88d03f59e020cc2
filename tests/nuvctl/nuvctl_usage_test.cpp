// The command line of nuvctl: what it refuses, how it says so, and what needs no service.
#include <gmock/gmock.h>

#include <regex>
#include <sstream>

#include "nuvctl_run.h"

using testing::HasSubstr;
using testing::StartsWith;

namespace {

struct WrongLine {
  std::vector<std::string> arguments;
  std::string says;
};

const WrongLine kWrongLines[] = {
    {{}, "a verb is needed: launch, preload"},
    {{"frobnicate"}, "no such verb: frobnicate"},
    {{"--nosuch"}, "no such option: --nosuch"},
    {{"launch"}, "ID or --title is required"},
    {{"launch", "app", "extra"}, "extra"},
    {{"launch", "app", "--nosuch"}, "--nosuch"},
    {{"launch", "app", "--plain", "--webapp"}, "excludes"},
    {{"launch", "app", "--plain", "--background"}, "--webapp --background"},
    {{"launch", "app", "--plain", "--deep-link"}, "--webapp [--force] --deep-link"},
    {{"launch", "app", "--background", "--force"}, "--webapp [--force] --background --deep-link"},
    {{"launch", "app", "--wait"}, "--wait"},
    {{"launch", "app", "--wait", "0"}, "above 0"},
    {{"launch", "app", "--wait=-1"}, "above 0"},
    {{"launch", "app", "--wait", "nan"}, "above 0"},
    {{"launch", "app", "--wait", "inf"}, "above 0"},
    {{"launch", "app", "--wait", "1e99"}, "above 0"},
    {{"launch", "app", "--wait", "soon"}, "soon"},
    {{"launch", "app\xff"}, "not valid UTF-8: app\xef\xbf\xbd"},
    {{"kpi", "--type", "1"}, "--app is required"},
    {{"kpi", "--app", "a"}, "--type is required"},
    {{"kpi", "--type", "one", "--app", "a"}, "one"},
    {{"kpi", "--type", "4294967296", "--app", "a"}, "4294967296"},
    {{"popup"}, "KIND is required"},
    {{"popup", "no-such-kind"}, "no-app-id"},
    {{"popup", "4294967296"}, "no-app-id"},
    {{"popup", "4x"}, "no-app-id"},
    {{"android-status"}, "ID is required"},
    {{"terminate-all", "now"}, "now"},
    {{"extra-app", "--set"}, "--set"},
};

}  // namespace

class NuvctlUsage : public NuvctlTest {
 protected:
  // The first words of the lines that stand below the headings of the groups.
  std::vector<std::string> VerbsOfTheHelp() const {
    std::vector<std::string> verbs;
    std::string all = Run({"--help"}).output;
    std::istringstream lines(all.substr(all.find("\nApplications:\n")));
    const std::regex verb("  ([a-z-]+) .*");
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
      if (std::regex_match(line, match, verb)) verbs.push_back(match[1]);
    }
    return verbs;
  }
};

TEST_F(NuvctlUsage, AWrongCommandLineEndsInStatus2AndSaysWhatIsWrong) {
  for (const WrongLine& line : kWrongLines) {
    const NuvctlRun run = Run(line.arguments);
    EXPECT_EQ(run.status, 2) << run.errors;
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("nuvctl: "));
    EXPECT_THAT(run.errors, HasSubstr(line.says));
    EXPECT_EQ(run.errors.find('\n'), run.errors.size() - 1) << run.errors;
  }
}

TEST_F(NuvctlUsage, AWrongCommandLineIsAnsweredInJsonWhereThatIsAskedFor) {
  for (const WrongLine& line : kWrongLines) {
    Arguments arguments = line.arguments;
    arguments.insert(arguments.begin(), "--json");
    const NuvctlRun run = Run(arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_EQ(run.errors, "");
    const nlohmann::json json = run.Json();
    ASSERT_TRUE(json.contains("error")) << run.output;
    EXPECT_EQ(json["outcome"], "usage error");
    EXPECT_TRUE(json.contains("verb"));
    EXPECT_THAT(json["error"]["message"].get<std::string>(), HasSubstr(line.says));
  }
}

TEST_F(NuvctlUsage, JsonMayBeAskedForAfterTheVerbToo) {
  const NuvctlRun run = Run({"kpi", "--type", "x", "--json"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.Json()["verb"], "kpi");
}

TEST_F(NuvctlUsage, ControlCharactersOfAnArgumentDoNotReachTheTerminal) {
  const NuvctlRun run = Run({"popup", "\x1b[31mred\n\xc2\x9b"});
  EXPECT_EQ(run.status, 2);
  EXPECT_THAT(run.errors, HasSubstr("\\u001b[31mred\\u000a\\u009b"));
}

TEST_F(NuvctlUsage, TheHelpListsTheVerbsAndTheExitStatuses) {
  const NuvctlRun run = Run({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  for (const char* text : {"launch", "kpi", "popup", "android-status", "terminate", "terminate-all", "extra-app",
                           "list", "show", "locked", "uninstallable", "group", "explain",
                           "Exit status:", "    5  the service is gone or not reachable", "  130  interrupted"}) {
    EXPECT_THAT(run.output, HasSubstr(text));
  }
}

TEST_F(NuvctlUsage, EachVerbHasItsHelp) {
  for (const char* verb : {"launch", "kpi", "popup", "android-status", "terminate", "terminate-all", "extra-app",
                           "list", "show", "locked", "uninstallable", "group", "explain"}) {
    const NuvctlRun run = Run({verb, "--help"});
    EXPECT_EQ(run.status, 0) << verb;
    EXPECT_THAT(run.output, HasSubstr(verb));
    EXPECT_THAT(run.output, HasSubstr("--json"));
    EXPECT_THAT(run.output, HasSubstr("Exit status:"));
  }
}

TEST_F(NuvctlUsage, TheVersionIsShown) {
  const NuvctlRun run = Run({"--version"});
  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, testing::MatchesRegex("nuvctl [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST_F(NuvctlUsage, AnAnswerThatCannotBeWrittenIsAFailure) {
  Process shell({"sh", "-c", NUV_BIN_DIR "/nuvctl --help > /dev/full"}, directory_.path());
  EXPECT_EQ(shell.Wait(), 1);
  EXPECT_THAT(shell.Errors(), HasSubstr("cannot write"));
}

TEST_F(NuvctlUsage, NoLineOfTheHelpIsWiderThan80Columns) {
  std::vector<Arguments> helps = {{"--help"}, {"inner", "show", "--help"}};
  for (const std::string& verb : VerbsOfTheHelp()) helps.push_back({verb, "--help"});
  EXPECT_GE(helps.size(), 26u);
  for (const Arguments& help : helps) {
    std::istringstream lines(Run(help).output);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80u) << line;
  }
}

TEST_F(NuvctlUsage, TheHelpHasTheVerbsInGroups) {
  EXPECT_THAT(Run({"--help"}).output,
              testing::ContainsRegex("\nApplications:\n  launch .*\nRunning:\n  ps .*\nCatalogue:\n  list "
                                     ".*\nService:\n  kpi .*\nDiagnosis:\n  explain "));
}

TEST_F(NuvctlUsage, HelpOfAVerbIsThatOfItsOption) {
  EXPECT_EQ(Run({"help"}).output, Run({"--help"}).output);
  EXPECT_EQ(Run({"help", "launch"}).output, Run({"launch", "--help"}).output);
  EXPECT_EQ(Run({"help", "inner", "show"}).output, Run({"inner", "show", "--help"}).output);
  const NuvctlRun unknown = Run({"help", "lanuch"});
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.errors, HasSubstr("no such verb: lanuch; did you mean launch?"));
}

TEST_F(NuvctlUsage, WhatIsNearlyRightIsAnsweredWithASuggestion) {
  const WrongLine lines[] = {
      {{"lanuch"}, "no such verb: lanuch; did you mean launch?"},
      {{"--jsno"}, "no such option: --jsno; did you mean --json?"},
      {{"launch", "a", "--paylaod", "x"}, "; did you mean --payload?"},
      {{"list", "--veiw=title"}, "; did you mean --view?"},
      {{"inner", "show", "--any-sate", "a"}, "; did you mean --any-state?"},
      {{"set", "a", "is_lokc", "1"}, "no such field: is_lokc; did you mean is_lock?"},
  };
  for (const WrongLine& line : lines) {
    const NuvctlRun run = Run(line.arguments);
    EXPECT_EQ(run.status, 2);
    EXPECT_THAT(run.errors, HasSubstr(line.says));
  }
}
