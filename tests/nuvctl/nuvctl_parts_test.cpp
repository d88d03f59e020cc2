// The parts of nuvctl that need no bus: its data tables, its text and its JSON.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>
#include <sstream>

#include "command/verb.h"
#include "launch/launch_functions.h"
#include "report/did_you_mean.h"
#include "report/report.h"
#include "report/text.h"
#include "service/meanings.h"
#include "service/round_trips.h"
#include "temp_dir.h"

namespace {

std::string FunctionFor(const LaunchChoice& choice, bool with_caller = false) {
  const LaunchFunction* function = FindLaunchFunction(choice, with_caller);
  return function != nullptr ? function->name : "none";
}

// The lines of the man page's synopsis that are about the verb.
std::vector<std::string> SynopsisOf(const std::string& verb) {
  const std::string begin = "*nuvctl " + verb + "*";
  std::vector<std::string> lines;
  std::istringstream page(ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd"));
  for (std::string line; std::getline(page, line);) {
    if (line.rfind(begin, 0) == 0) lines.push_back(line.substr(begin.size()));
  }
  return lines;
}

// "*--title* _RUNTITLE_" for an option, "*--force*" for a flag, "_ID_" for a position. A short name is left out.
std::string InSynopsis(const Argument& argument) {
  if (argument.kind == Argument::Kind::kPosition) return std::string("_") + argument.name + "_";
  const std::string value_name = argument.value_name;
  const std::string name = argument.name;
  return "*" + name.substr(name.find(',') + 1) + "*" + (value_name.empty() ? "" : " _" + value_name + "_");
}

// The arguments of the verb, and its own verbs with theirs.
std::set<std::string> ArgumentsOf(const Verb& verb) {
  std::set<std::string> arguments;
  for (const Argument& argument : verb.arguments) arguments.insert(InSynopsis(argument));
  for (const Verb& own : verb.verbs) {
    arguments.insert(std::string("*") + own.name + "*");
    arguments.merge(ArgumentsOf(own));
  }
  return arguments;
}

// The sources of nuvctl that include a header whose name begins so.
std::set<std::string> SourcesThatInclude(const std::string& header) {
  const std::filesystem::path root = NUV_SOURCE_DIR "/tools/nuvctl";
  std::set<std::string> sources;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (!entry.is_regular_file()) continue;
    const bool includes = ReadFile(entry.path()).find("#include <" + header) != std::string::npos;
    if (includes) sources.insert(entry.path().lexically_relative(root));
  }
  return sources;
}

constexpr CallbackShape kWeb = CallbackShape::kWebApp;
constexpr CallbackShape kPlain = CallbackShape::kPlain;

}  // namespace

TEST(LaunchFunctions, EachByIdIsReached) {
  EXPECT_EQ(FunctionFor({kPlain, false, false, false}), "nuv_launch_app");
  EXPECT_EQ(FunctionFor({kPlain, false, false, false}, true), "nuv_launch_app_with_param");
  EXPECT_EQ(FunctionFor({kPlain, true, false, false}), "nuv_force_launch_app");
  EXPECT_EQ(FunctionFor({kPlain, true, false, false}, true), "nuv_force_launch_app_with_param");
  for (const bool with_caller : {false, true}) {
    EXPECT_EQ(FunctionFor({kWeb, false, false, false}, with_caller), "nuv_launch_webapp");
    EXPECT_EQ(FunctionFor({kWeb, true, false, false}, with_caller), "nuv_force_launch_webapp");
    EXPECT_EQ(FunctionFor({kWeb, false, true, false}, with_caller), "nuv_background_launch_webapp");
    EXPECT_EQ(FunctionFor({kWeb, true, false, true}, with_caller), "nuv_launch_webapp_for_deeplink");
    EXPECT_EQ(FunctionFor({kWeb, true, true, true}, with_caller), "nuv_background_launch_webapp_for_deeplink");
  }
}

TEST(LaunchFunctions, EachByTitleIsReached) {
  EXPECT_EQ(FunctionFor({kPlain, false, false, false, true}), "nuv_launch_app_by_runtitle");
  EXPECT_EQ(FunctionFor({kPlain, false, false, false, true}, true), "nuv_launch_app_by_runtitle_with_param");
  for (const bool with_caller : {false, true}) {
    EXPECT_EQ(FunctionFor({kWeb, false, false, false, true}, with_caller), "nuv_launch_webapp_by_runtitle");
  }
}

TEST(LaunchFunctions, ADeepLinkForcesWithoutBeingAskedTo) {
  EXPECT_EQ(FunctionFor({kWeb, false, false, true}), "nuv_launch_webapp_for_deeplink");
  EXPECT_EQ(FunctionFor({kWeb, false, true, true}), "nuv_background_launch_webapp_for_deeplink");
}

TEST(LaunchFunctions, WhatTheLibraryDoesNotHaveIsNotReplacedBySomethingElse) {
  EXPECT_EQ(FunctionFor({kWeb, true, true, false}), "none");
  EXPECT_EQ(FunctionFor({kPlain, false, true, false}), "none");
  EXPECT_EQ(FunctionFor({kPlain, false, false, true}), "none");
  EXPECT_EQ(FunctionFor({kPlain, true, true, true}, true), "none");
  EXPECT_EQ(FunctionFor({kPlain, true, false, false, true}), "none");
  EXPECT_EQ(FunctionFor({kWeb, false, true, false, true}), "none");
  EXPECT_EQ(FunctionFor({kWeb, false, false, true, true}), "none");
}

TEST(LaunchFunctions, TheListOfCombinationsNamesEachOnce) {
  EXPECT_EQ(LaunchCombinations(),
            "--plain, --plain --force, --webapp, --webapp --force, --webapp --background, "
            "--webapp [--force] --deep-link, --webapp [--force] --background --deep-link, "
            "--plain --title, --webapp --title");
}

TEST(Meanings, EveryNumberOfTheServiceHasItsNameAndMeaning) {
  for (const auto& [first, last] :
       {std::pair(400, 406), std::pair(412, 412), std::pair(600, 612), std::pair(900, 907)}) {
    for (int number = first; number <= last; ++number) {
      const Meaning* meaning = FindMeaning(number);
      ASSERT_NE(meaning, nullptr) << number;
      EXPECT_EQ(std::string(meaning->name).rfind("NUV_", 0), 0u) << number;
      EXPECT_NE(std::string(meaning->text), "") << number;
    }
  }
  for (const int number : {0, 407, 411, 413, 599, 613, 899, 908}) EXPECT_EQ(FindMeaning(number), nullptr) << number;
}

TEST(Meanings, SuccessEventsAndCodesMeanLaunchedWhateverTheStatus) {
  for (const int event : {900, 901, 902, 904, 906}) {
    const auto verdict = Judge({kWeb, "a", event, 402});
    ASSERT_TRUE(verdict) << event;
    EXPECT_EQ(verdict->outcome, Outcome::kLaunched) << event;
    EXPECT_EQ(verdict->code, event);
  }
  for (const int code : {600, 601, 602, 603, 612}) {
    const auto verdict = Judge({kPlain, "a", 0, code});
    ASSERT_TRUE(verdict) << code;
    EXPECT_EQ(verdict->outcome, Outcome::kLaunched) << code;
    EXPECT_EQ(verdict->code, code);
  }
}

TEST(Meanings, FailureEventsAndCodesMeanFailed) {
  for (const int event : {903, 905, 907}) {
    for (const int status : {400, 401, 403, 404, 405, 406, 499, -1}) {
      const auto verdict = Judge({kWeb, "a", event, status});
      ASSERT_TRUE(verdict) << event;
      EXPECT_EQ(verdict->outcome, Outcome::kFailed) << event;
      EXPECT_EQ(verdict->code, status);
    }
  }
  for (int code = 604; code <= 611; ++code) {
    const auto verdict = Judge({kPlain, "a", 0, code});
    ASSERT_TRUE(verdict) << code;
    EXPECT_EQ(verdict->outcome, Outcome::kFailed) << code;
  }
}

TEST(Meanings, AFailureWithoutAStatusIsExplainedByItsEvent) {
  const auto verdict = Judge({kWeb, "a", 907, 0});
  ASSERT_TRUE(verdict);
  EXPECT_EQ(verdict->code, 907);
}

TEST(Meanings, Status412IsATimeout) {
  const auto verdict = Judge({kWeb, "a", 903, 412});
  ASSERT_TRUE(verdict);
  EXPECT_EQ(verdict->outcome, Outcome::kTimedOut);
}

TEST(Meanings, NumbersOfTheOtherShapeAndUnknownOnesDecideNothing) {
  for (const int event : {600, 604, 404, 899, 908, 0, -1}) EXPECT_FALSE(Judge({kWeb, "a", event, 0})) << event;
  for (const int code : {404, 412, 599, 613, 0, -1}) EXPECT_FALSE(Judge({kPlain, "a", 0, code})) << code;
}

TEST(RoundTripFigures, AreThoseOfTheNearestRank) {
  RoundTrips times;
  EXPECT_EQ(ToJson(times.ToFields()), R"({"min_us":null,"median_us":null,"p99_us":null,"max_us":null})");
  EXPECT_EQ(times.InWords(), "");
  times.Add(1500);
  EXPECT_EQ(times.InWords(), "round trip min/median/p99/max = 1.500/1.500/1.500/1.500 ms");
  for (int i = 200; i >= 2; --i) times.Add(i);  // and 1500: 200 times
  EXPECT_EQ(ToJson(times.ToFields()), R"({"min_us":2,"median_us":101,"p99_us":199,"max_us":1500})");
}

TEST(PrintableText, KeepsWhatCanBePrinted) {
  EXPECT_EQ(Printable("org.example/äpp ☃"), "org.example/äpp ☃");
}

TEST(PrintableText, ShowsControlAndFormatCharactersAsEscapes) {
  EXPECT_EQ(Printable("\x1b[31mred\n\x7f"), "\\u001b[31mred\\u000a\\u007f");
  EXPECT_EQ(Printable("\xc2\x9b"), "\\u009b");          // a terminal control of eight bits
  EXPECT_EQ(Printable("a\xe2\x80\xaex"), "a\\u202ex");  // turns the direction of writing
}

TEST(PrintableText, ReplacesBytesThatAreNoCharacters) {
  EXPECT_EQ(Printable("a\xff"
                      "b\xe2\x98"),
            "a\xef\xbf\xbd"
            "b\xef\xbf\xbd\xef\xbf\xbd");
  EXPECT_EQ(Printable(std::string("a\0b", 3)),
            "a\xef\xbf\xbd"
            "b");
}

TEST(ReportAsJson, IsOneLineOfAsciiWhateverTheTexts) {
  Report report;
  report.verb = "extra-app";
  report.details["app"] = "\xff\x1b\n\xc2\x9b☃";
  const std::string json = ToJson(report);
  for (const char c : json) EXPECT_TRUE(c >= ' ' && c <= '~') << json;
  EXPECT_EQ(nlohmann::json::parse(json)["app"], "\xef\xbf\xbd\x1b\n\xc2\x9b☃");
}

TEST(ReportAsJson, HasAnErrorExactlyWhereTheStatusIsNotZero) {
  Report report;
  report.verb = "kpi";
  EXPECT_EQ(ToJson(report), R"({"verb":"kpi","outcome":"done","status":0})");
  report.outcome = Outcome::kBusGone;
  report.error = "why";
  EXPECT_EQ(ToJson(report), R"({"verb":"kpi","outcome":"bus gone","status":6,"error":{"message":"why"}})");
}

TEST(ExitStatuses, AreThoseThatScriptsRelyOn) {
  EXPECT_EQ(ExitStatusOf(Outcome::kDone), 0);
  EXPECT_EQ(ExitStatusOf(Outcome::kAccepted), 0);
  EXPECT_EQ(ExitStatusOf(Outcome::kLaunched), 0);
  EXPECT_EQ(ExitStatusOf(Outcome::kFailed), 1);
  EXPECT_EQ(ExitStatusOf(Outcome::kUsage), 2);
  EXPECT_EQ(ExitStatusOf(Outcome::kNotFound), 3);
  EXPECT_EQ(ExitStatusOf(Outcome::kTimedOut), 4);
  EXPECT_EQ(ExitStatusOf(Outcome::kServiceGone), 5);
  EXPECT_EQ(ExitStatusOf(Outcome::kBusGone), 6);
  EXPECT_EQ(ExitStatusOf(Outcome::kInterrupted), 130);
}

TEST(ExitStatuses, OfTheManPageAreThoseOfTheHelp) {
  const std::string page = ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd");
  const size_t begin = page.find("# EXIT STATUS\n");
  ASSERT_NE(begin, std::string::npos);
  const std::string section = page.substr(begin, page.find("\n# ", begin) - begin);
  std::string expected = "# EXIT STATUS\n";
  std::istringstream help(ExitStatusHelp());
  std::string line;
  std::getline(help, line);
  while (std::getline(help, line)) {
    std::istringstream row(line);
    std::string status;
    row >> status;
    std::getline(row >> std::ws, line);
    expected += "\n*" + status + "*\n\t" + line + "\n";
  }
  EXPECT_EQ(section, expected);
}

TEST(ManPage, DescribesEachVerb) {
  const std::string page = ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd");
  for (const Verb& verb : Verbs()) {
    EXPECT_NE(page.find(std::string("\n*nuvctl ") + verb.name + "*"), std::string::npos) << verb.name;
    EXPECT_TRUE(page.find(std::string("\n## ") + verb.name + "\n") != std::string::npos ||
                page.find(std::string("\n## ") + verb.name + ", ") != std::string::npos ||
                page.find(std::string(", ") + verb.name + "\n") != std::string::npos)
        << verb.name;
  }
}

TEST(ManPage, HasTheArgumentsOfEachVerbInItsSynopsis) {
  const std::regex argument(R"(\*--[a-z-]+\*( _[A-Z]+_)?|\*[a-z]+\*|_[A-Z]+_)");
  for (const Verb& verb : Verbs()) {
    std::set<std::string> described;
    for (const std::string& line : SynopsisOf(verb.name)) {
      for (auto at = std::sregex_iterator(line.begin(), line.end(), argument); at != std::sregex_iterator(); ++at) {
        described.insert(at->str());
      }
    }
    EXPECT_EQ(described, ArgumentsOf(verb)) << verb.name;
  }
}

TEST(ManPage, NamesTheWordsThatAnArgumentMayBe) {
  const std::string page = ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd");
  for (const Verb& verb : Verbs()) {
    for (const Argument& argument : verb.arguments) {
      for (const std::string& word : argument.words) {
        const bool number = word.find_first_not_of("0123456789") == std::string::npos;
        EXPECT_NE(page.find(number ? word : "*" + word + "*"), std::string::npos) << verb.name << " " << word;
      }
    }
  }
}

TEST(ManPage, KeepsTheVerbsOfAGroupTogether) {
  const std::string page = ReadFile(NUV_SOURCE_DIR "/doc/nuvctl.1.scd");
  std::map<size_t, Group> group_at;
  for (const Verb& verb : Verbs()) group_at[page.find(std::string("\n*nuvctl ") + verb.name + "*")] = verb.group;
  std::vector<Group> groups;
  for (const auto& [place, group] : group_at) {
    if (groups.empty() || groups.back() != group) groups.push_back(group);
  }
  EXPECT_THAT(groups, testing::ElementsAre(Group::kApplications, Group::kRunning, Group::kCatalogue, Group::kService,
                                           Group::kDiagnosis));
}

TEST(Verbs, StandInTheOrderThatPeopleKnow) {
  const std::vector<std::string> known = {
      "launch",  "preload",        "pin",       "terminate", "terminate-all", "ps",          "status",
      "showing", "android-status", "extra-app", "list",      "show",          "locked",      "uninstallable",
      "group",   "inner",          "used",      "set",       "count",         "set-version", "kpi",
      "popup",   "command",        "explain",   "watch",     "ping"};
  std::vector<std::string> names;
  for (const Verb& verb : Verbs()) names.emplace_back(verb.name);
  ASSERT_GE(names.size(), known.size());
  EXPECT_EQ(std::vector<std::string>(names.begin(), names.begin() + static_cast<long>(known.size())), known);
  EXPECT_TRUE(std::is_sorted(names.begin() + static_cast<long>(known.size()), names.end()));
}

TEST(Suggestions, AreTheNearestAndNoneWhereNothingIsNear) {
  const std::vector<std::string> known = {"launch", "list", "show", "org.kelvo.app.clock"};
  EXPECT_EQ(DidYouMean("lanuch", known), "; did you mean launch?");
  EXPECT_EQ(DidYouMean("LIST", known), "; did you mean list?");
  EXPECT_EQ(DidYouMean("shwo", known), "; did you mean show?");
  EXPECT_EQ(DidYouMean("org.kelvo.app.clokc", known), "; did you mean org.kelvo.app.clock?");
  for (const char* far : {"", "terminate", "xy", "org.kelvo.other"}) EXPECT_EQ(DidYouMean(far, known), "") << far;
  EXPECT_EQ(DidYouMean("shwo", {"show", "shxx"}), "; did you mean show?");
  EXPECT_EQ(DidYouMean("a1", {"a2", "a3", "b2"}), "; did you mean a2 or a3?");
  EXPECT_EQ(DidYouMean("ab", {"a\x1b"}), "; did you mean a\\u001b?");
}

TEST(SlowHeaders, AreSeenByTheSourcesThatNeedThemOnly) {
  EXPECT_THAT(SourcesThatInclude("CLI/"), testing::ElementsAre("command/command_line.cpp"));
  EXPECT_THAT(SourcesThatInclude("nlohmann/"), testing::ElementsAre("launch/request_file.cpp", "report/report.cpp"));
}
