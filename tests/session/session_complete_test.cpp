// What nuv-session tells a shell that completes its command line.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <regex>
#include <sstream>

#include "session_fixture.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::UnorderedElementsAreArray;

class SessionComplete : public SessionTest {
 protected:
  using Texts = std::vector<std::string>;

  // The lines of the answer, without the meanings. It is given with success, and without a word on the error stream.
  Texts Answer(Arguments words) const {
    words.insert(words.begin(), {"--complete", "words"});
    const SessionRun run = Run(words);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    Texts lines;
    std::istringstream rest(run.output);
    for (std::string line; std::getline(rest, line);) lines.push_back(line.substr(0, line.find('\t')));
    return lines;
  }
};

TEST_F(SessionComplete, OffersTheOptionsOfTheHelp) {
  const std::string help = Run({"--help"}).output;
  const std::regex option("\n  (?:-[a-z],)?(--[a-z-]+)");
  Texts options = {"words"};
  for (std::sregex_iterator at(help.begin(), help.end(), option); at != std::sregex_iterator(); ++at) {
    options.push_back((*at)[1]);
  }
  EXPECT_THAT(options, AllOf(Contains("--attach"), Contains("--help"), Contains("--version")));
  EXPECT_THAT(Answer({"-"}), UnorderedElementsAreArray(options));
}

TEST_F(SessionComplete, OffersNoOptionThatContradictsAnother) {
  EXPECT_THAT(Answer({"--keep", "-"}), AllOf(Contains("--policy"), Not(Contains("--keep")), Not(Contains("--state"))));
  EXPECT_THAT(Answer({"--state", "there", "-"}), Not(Contains("--keep")));
  EXPECT_THAT(Answer({"--attach=a", "-"}), AllOf(Contains("--help"), Not(Contains("--seed"))));
}

TEST_F(SessionComplete, AsksForWhatAnOptionTakes) {
  EXPECT_THAT(Answer({"--seed", ""}), ElementsAre("files"));
  EXPECT_THAT(Answer({"--state=so"}), ElementsAre("directories"));
  EXPECT_THAT(Answer({"--name", ""}), ElementsAre("words"));
}

TEST_F(SessionComplete, OffersAnswersThatAreTaken) {
  Texts answers = Answer({"--pin-answer", ""});
  ASSERT_EQ(answers.size(), 5u);
  answers.erase(answers.begin());
  for (const std::string& answer : answers) EXPECT_EQ(Run({"--pin-answer", answer, "--", "true"}).status, 0) << answer;
}

TEST_F(SessionComplete, LeavesTheCommandToTheShell) {
  EXPECT_THAT(Answer({""}), ElementsAre("command 0"));
  EXPECT_THAT(Answer({"--keep", "make", "--dir"}), ElementsAre("command 1"));
  EXPECT_THAT(Answer({"--name=a", "--", ""}), ElementsAre("command 2"));
}

TEST_F(SessionComplete, OffersTheSessionsThatRun) {
  EXPECT_THAT(Answer({"--attach", ""}), ElementsAre("words"));
  EXPECT_TRUE(NothingIsLeft());
  const auto one = StartWaiting({"--name", "one"});
  const auto two = StartWaiting({"--name", "two"});
  EXPECT_THAT(Answer({"--attach", ""}), ElementsAre("words", "one", "two"));
  one->Signal(SIGTERM);
  EXPECT_TRUE(one->Wait());
  EXPECT_THAT(Answer({
                  "--attach=",
              }),
              ElementsAre("words", "--attach=two"));
  two->Signal(SIGTERM);
  EXPECT_TRUE(two->Wait());
}

TEST_F(SessionComplete, DoesNotWaitForSessionsThatAreLocked) {
  const auto session = StartWaiting({"--name", "one"});
  const int sessions = open(Sessions().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(flock(sessions, LOCK_EX), 0);
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_THAT(Answer({"--attach", ""}), ElementsAre("words"));
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(9));
  close(sessions);
  session->Signal(SIGTERM);
  EXPECT_TRUE(session->Wait());
}
