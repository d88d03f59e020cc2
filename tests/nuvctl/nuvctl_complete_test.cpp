// What nuvctl tells a shell that completes its command line. tests/nuvctl/nuvctl_shells_test.cpp has the shells.
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "nuvctl_catalogue.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;
using testing::UnorderedElementsAreArray;

namespace {

using Texts = std::vector<std::string>;

Texts LinesOf(const std::string& text) {
  Texts lines;
  std::istringstream rest(text);
  for (std::string line; std::getline(rest, line);) lines.push_back(line);
  return lines;
}

}  // namespace

class NuvctlComplete : public NuvctlCatalogueTest {
 protected:
  // The answer's lines. Whatever was asked, it is given with success, and without a word on the error stream.
  Texts Answer(const Texts& question) const {
    Arguments arguments = {"--complete"};
    arguments.insert(arguments.end(), question.begin(), question.end());
    const NuvctlRun run = Run(arguments, {{"NUV_HOST_DIR", database_.directory()}, {"NUV_LOG", "stderr"}});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    return LinesOf(run.output);
  }

  // The candidates behind these words, the last one of which is at the cursor, without their meanings.
  Texts Behind(Texts words) const {
    words.insert(words.begin(), "words");
    Texts candidates = Answer(words);
    EXPECT_FALSE(candidates.empty());
    if (candidates.empty()) return {};
    EXPECT_EQ(candidates.front(), "words");
    candidates.erase(candidates.begin());
    for (std::string& candidate : candidates) candidate.resize(candidate.find('\t'));
    return candidates;
  }

  // An application whose process is this one.
  void PutRunning(const std::string& platform_id) const {
    const std::string running = database_.directory() + "/running";
    std::filesystem::create_directories(running);
    WriteFile(running + "/" + platform_id, "pid " + std::to_string(getpid()) + "\nstatus 3\n");
  }

  // The first words of the lines of a help that match.
  Texts InHelp(Arguments arguments, const std::string& pattern) const {
    arguments.emplace_back("--help");
    Texts found;
    const std::regex line_pattern(pattern);
    std::smatch match;
    for (const std::string& line : LinesOf(Ask(arguments).output)) {
      if (std::regex_match(line, match, line_pattern)) found.push_back(match[1]);
    }
    return found;
  }
  Texts OptionsInHelp(const Arguments& arguments) const {
    return InHelp(arguments, "  (?:-[a-z],)?(--[a-z-]+)(?: .*)?");
  }
  Texts VerbsInHelp() const { return InHelp({}, "  ([a-z]+(?:-[a-z]+)*) .*"); }
};

TEST_F(NuvctlComplete, OffersTheVerbsOfTheHelpAndHelp) {
  Texts verbs = VerbsInHelp();
  EXPECT_THAT(verbs, AllOf(Contains("launch"), Contains("ping")));
  EXPECT_THAT(Behind({"help", ""}), UnorderedElementsAreArray(verbs));
  verbs.emplace_back("help");
  EXPECT_THAT(Behind({""}), UnorderedElementsAreArray(verbs));
}

TEST_F(NuvctlComplete, OffersTheOptionsOfEachVerbsHelp) {
  EXPECT_THAT(Behind({"--"}), UnorderedElementsAreArray(OptionsInHelp({})));
  for (const std::string& verb : VerbsInHelp()) {
    const Texts options = OptionsInHelp({verb});
    EXPECT_THAT(options, Contains("--json")) << verb;
    EXPECT_THAT(Behind({verb, "-"}), UnorderedElementsAreArray(options)) << verb;
  }
  EXPECT_THAT(Behind({"inner", "show", "-"}), Contains("--any-state"));
}

TEST_F(NuvctlComplete, TellsWhatEachCandidateMeans) {
  database_.Add("org.example.clock", {{"title", "The clock"}, {"run_title", "Clock"}});
  EXPECT_THAT(Answer({"words", ""}), Contains("launch\tLaunch an application"));
  EXPECT_THAT(Answer({"words", "ps", "-"}), Contains("--wide\tDo not fit the table to the terminal"));
  EXPECT_THAT(Answer({"words", "launch", ""}), ElementsAre("words", "org.example.clock\tThe clock"));
  EXPECT_THAT(Answer({"words", "show", "--title", ""}), ElementsAre("words", "Clock\torg.example.clock"));
}

TEST_F(NuvctlComplete, OffersNoOptionThatIsThereOrThatAnotherOneExcludes) {
  EXPECT_THAT(Behind({"launch", "--"}), AllOf(Contains("--plain"), Contains("--title"), Contains("--force")));
  EXPECT_THAT(Behind({"launch", "--webapp", "--"}), AllOf(Not(Contains("--plain")), Not(Contains("--webapp"))));
  EXPECT_THAT(Behind({"launch", "app", "--"}), Not(Contains("--title")));
  EXPECT_THAT(Behind({"ping", "-c5", "--"}), Not(Contains("--count")));
  EXPECT_THAT(Behind({"ping", "-c", "5", "--"}), Not(Contains("--count")));
  EXPECT_THAT(Behind({"ping", "--count=5", "--"}), Not(Contains("--count")));
  EXPECT_THAT(Behind({"--json", "ps", "--"}), Not(Contains("--json")));
}

TEST_F(NuvctlComplete, OffersOptionsWhereNoMoreWordsAreExpected) {
  database_.Add("app", {{"run_title", "App"}});
  EXPECT_THAT(Behind({"launch", "app", ""}), Contains("--wait"));
  EXPECT_THAT(Behind({"launch", "--title", "App", ""}), Contains("--wait"));
  EXPECT_THAT(Behind({"status", "app", ""}), ElementsAre("app"));
}

TEST_F(NuvctlComplete, BehindTwoDashesOffersNoOption) {
  database_.Add("app");
  EXPECT_THAT(Behind({"launch", "--", "-"}), ElementsAre("app"));
  EXPECT_THAT(Behind({"launch", "--", "--title", ""}), IsEmpty());
}

TEST_F(NuvctlComplete, OffersNothingThatTheParserWouldRefuse) {
  const std::pair<Arguments, std::string> kOptions[] = {
      {{"list"}, "--featured"},         {{"list"}, "--type"},  {{"list"}, "--view"},
      {{"list"}, "--columns"},          {{"ps"}, "--columns"}, {{"list", "--ms"}, "--columns"},
      {{"inner", "list"}, "--columns"}, {{"ps"}, "--color"},   {{"list", "--service"}, "--columns"}};
  for (auto [line, option] : kOptions) {
    line.push_back(option);
    line.emplace_back("");
    const Texts values = Behind(line);
    EXPECT_GE(values.size(), 3u) << option;
    for (const std::string& value : values) {
      line.back() = value;
      EXPECT_EQ(Ask(line).status, 0) << option << " " << value;
    }
  }
}

TEST_F(NuvctlComplete, GoesOnBehindTheCommasOfAList) {
  EXPECT_THAT(Behind({"list", "--featured", "1,8,"}), UnorderedElementsAre("1,8,2", "1,8,3", "1,8,4", "1,8,any"));
  EXPECT_THAT(Behind({"list", "--featured=1,8,"}), Contains("--featured=1,8,2"));
  EXPECT_THAT(Behind({"list", "--ms", "--columns", "id,"}),
              UnorderedElementsAre("id,multi-screen", "id,app_id", "id,is_multi_screen2"));
}

TEST_F(NuvctlComplete, OffersTheFieldsOfSetAndTheValuesOfAField) {
  EXPECT_THAT(Behind({"set", "app", ""}), AllOf(Contains("is_lock"), Contains("run_title")));
  EXPECT_THAT(Behind({"set", "app", "is_lock", ""}), ElementsAre("true", "false"));
  EXPECT_THAT(Behind({"set", "app", "is_updated", ""}), ElementsAre("0"));
  EXPECT_THAT(Behind({"set", "app", "version", ""}), IsEmpty());
  EXPECT_THAT(Behind({"set", "app", "nonsense", ""}), IsEmpty());
}

TEST_F(NuvctlComplete, AsksForFilesWhereAFileIsExpected) {
  EXPECT_THAT(Answer({"words", "launch", "--request", ""}), ElementsAre("files"));
  EXPECT_THAT(Answer({"words", "launch", "--request=req"}), ElementsAre("files"));
  EXPECT_THAT(Answer({"words", "command", "1", "app", "req"}), ElementsAre("files"));
}

TEST_F(NuvctlComplete, OffersNothingBehindAVerbThatIsNotThere) {
  EXPECT_THAT(Behind({"frobnicate", ""}), IsEmpty());
  EXPECT_THAT(Behind({"frobnicate", "--"}), IsEmpty());
  EXPECT_THAT(Behind({"inner", "frobnicate", ""}), IsEmpty());
  EXPECT_THAT(Behind({"list", "--frobnicate="}), IsEmpty());
}

TEST_F(NuvctlComplete, OffersEachValueOnceAndNoneThatCannotBeTyped) {
  database_.Add("a", {{"run_title", "Twice"}});
  database_.Add("b", {{"run_title", "Twice"}});
  database_.Add("c", {{"run_title", "red\x1b[31m"}});
  database_.Add("d", {{"run_title", "two\nlines"}});
  database_.Add("e", {{"run_title", "\xff"}});
  database_.Add("f", {{"run_title", ""}});
  EXPECT_THAT(Behind({"show", "--title", ""}), ElementsAre("Twice"));
}

TEST_F(NuvctlComplete, OffersWhatRunsWhereAnApplicationIsToEnd) {
  database_.Add("running", {{"kelvo_id", "kelvo.running"}});
  database_.Add("resting", {{"kelvo_id", "kelvo.resting"}});
  EXPECT_THAT(Behind({"terminate", ""}), IsEmpty());
  PutRunning("kelvo.running");
  PutRunning("in no catalogue");
  EXPECT_THAT(Behind({"terminate", ""}), ElementsAre("running", "in no catalogue"));
  MakeDatabaseGarbage();
  EXPECT_THAT(Behind({"terminate", ""}), ElementsAre("in no catalogue", "kelvo.running"));
}

TEST_F(NuvctlComplete, SaysNothingWhereTheCatalogueCannotBeRead) {
  MakeDatabaseGarbage();
  EXPECT_THAT(Behind({"launch", ""}), IsEmpty());
  MakeDatabaseADirectory();
  EXPECT_THAT(Behind({"launch", ""}), IsEmpty());
  std::filesystem::remove(database_.path());
  EXPECT_THAT(Behind({"launch", ""}), IsEmpty());
  EXPECT_THAT(Behind({"launch", "--"}), Contains("--title"));
  EXPECT_FALSE(std::filesystem::exists(database_.path()));
}

TEST_F(NuvctlComplete, AsksNothingOfTheBus) {
  sockaddr_un address = {AF_UNIX, {}};
  const std::string path = directory_ / "bus";
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  const int listening = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  ASSERT_EQ(bind(listening, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(listen(listening, 8), 0);
  database_.Add("app", {{"kelvo_id", "kelvo.app"}});
  PutRunning("kelvo.app");
  const Process::Environment environment = {{"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=" + path},
                                            {"NUV_HOST_DIR", database_.directory()}};
  EXPECT_EQ(Run({"--complete", "words", "terminate", ""}, environment).output, "words\napp\t\n");
  EXPECT_EQ(accept(listening, nullptr, nullptr), -1);
  EXPECT_EQ(errno, EAGAIN);
  close(listening);
}

TEST_F(NuvctlComplete, AnswersNoQuestionThatItDoesNotKnow) {
  EXPECT_THAT(Answer({}), IsEmpty());
  EXPECT_THAT(Answer({"words"}), IsEmpty());
  EXPECT_THAT(Answer({"bash", "nuvctl "}), IsEmpty());
  EXPECT_THAT(Answer({"tcsh", "nuvctl ", ""}), IsEmpty());
}

TEST_F(NuvctlComplete, GivesBashWhatIsToStandBehindItsCut) {
  database_.Add("a:b c", {{"run_title", "It's"}});
  EXPECT_THAT(Answer({"bash", "nuvctl terminate-", "terminate-"}), ElementsAre("words", "terminate-all"));
  EXPECT_THAT(Answer({"bash", "nuvctl list --view=ti", "ti"}), ElementsAre("words", "title", "title-desc"));
  EXPECT_THAT(Answer({"bash", "nuvctl show a:", ""}), ElementsAre("words", "b\\ c"));
  EXPECT_THAT(Answer({"bash", "nuvctl show a:", "a:"}), ElementsAre("words", "a:b\\ c"));
  EXPECT_THAT(Answer({"bash", "nuvctl show 'a:b", "a:b"}), ElementsAre("words", "a:b c"));
  EXPECT_THAT(Answer({"bash", "nuvctl show --title 'I", "I"}), ElementsAre("words", "It'\\''s"));
  EXPECT_THAT(Answer({"bash", "nuvctl", "nuvctl"}), ElementsAre("words"));
}
