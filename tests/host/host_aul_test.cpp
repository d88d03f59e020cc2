#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_aul.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "process.h"
#include "temp_dir.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct Seen {
  std::vector<std::string> ids;
  std::vector<int> pids;
  std::vector<int> statuses;
  int answer = 0;
  bool look_again = false;
};

int Note(const aul_app_info* info, void* data) {
  auto* const seen = static_cast<Seen*>(data);
  seen->ids.emplace_back(info->appid);
  seen->pids.push_back(info->pid);
  seen->statuses.push_back(info->status);
  if (seen->look_again && aul_app_is_running(info->appid) != 1) return -1;
  return seen->answer;
}

// Field 22 of the process's line; the program's name has no blanks here.
std::string StartTime(pid_t pid) {
  std::string stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
  for (int i = 0; i < 21; ++i) stat.erase(0, stat.find(' ') + 1);
  return stat.substr(0, stat.find(' '));
}

class HostAulTest : public testing::Test {
 protected:
  HostAulTest() { setenv("NUV_HOST_DIR", directory_.path().c_str(), 1); }

  void PutFile(const std::string& id, const std::string& content) const {
    std::filesystem::create_directories(directory_ / "running");
    WriteFile(directory_ / "running/" + id, content);
  }
  void PutApp(const std::string& id, pid_t pid, int status = NUV_AUL_STATUS_VISIBLE,
              const std::string& more = "") const {
    PutFile(id, "pid " + std::to_string(pid) + "\nstatus " + std::to_string(status) + "\nstarted 1700000000\n" + more);
  }
  Process Sleeper() const { return Process({"sleep", "1000"}, directory_.path()); }
  static bool Started(const Process& process) {  // the program itself, no longer a copy of the test
    const std::string comm = "/proc/" + std::to_string(process.pid()) + "/comm";
    return WaitUntil([&] { return ReadFile(comm) == "sleep\n"; });
  }

  TempDir directory_;
};

TEST_F(HostAulTest, AnApplicationWithALivingProcessRuns) {
  PutApp("org.kelvo.app", getpid());
  EXPECT_NE(aul_app_is_running("org.kelvo.app"), 0);
  EXPECT_EQ(aul_app_is_running("org.kelvo.other"), 0);
}

TEST_F(HostAulTest, NothingRunsWhereNothingIsNoted) {
  Seen seen;
  EXPECT_EQ(aul_app_is_running("org.kelvo.app"), 0);
  EXPECT_EQ(aul_app_get_running_app_info(Note, &seen), 0);
  EXPECT_THAT(seen.ids, IsEmpty());
}

TEST_F(HostAulTest, AnApplicationWhoseProcessIsGoneDoesNotRun) {
  Process process = Sleeper();
  PutApp("app", process.pid());
  EXPECT_EQ(aul_app_is_running("app"), 1);
  process.KillAndWait();
  EXPECT_EQ(aul_app_is_running("app"), 0);
}

TEST_F(HostAulTest, AnApplicationWhoseProcessIsAZombieDoesNotRun) {
  Process process = Sleeper();
  PutApp("app", process.pid());
  process.Signal(SIGKILL);  // and nobody waits for it
  EXPECT_TRUE(WaitUntil([] { return aul_app_is_running("app") == 0; }));
  EXPECT_TRUE(std::filesystem::exists("/proc/" + std::to_string(process.pid())));
}

TEST_F(HostAulTest, AProcessThatGotTheNumberLaterIsNotTheApplication) {
  Process process = Sleeper();
  ASSERT_TRUE(Started(process));
  const std::string start = StartTime(process.pid());
  PutApp("app", process.pid(), 3, "starttime " + start + "\n");
  EXPECT_EQ(aul_app_is_running("app"), 1);
  PutApp("app", process.pid(), 3, "starttime " + std::to_string(std::stoull(start) - 1) + "\n");
  EXPECT_EQ(aul_app_is_running("app"), 0);
}

TEST_F(HostAulTest, TheNameOfAProgramCannotPassForItsState) {
  const std::string program = directory_ / "a) Z 1 (b";
  std::filesystem::copy_file("/bin/sleep", program);
  Process process({program, "1000"}, directory_.path());
  const std::string comm = "/proc/" + std::to_string(process.pid()) + "/comm";
  ASSERT_TRUE(WaitUntil([&] { return ReadFile(comm) == "a) Z 1 (b\n"; }));
  PutApp("app", process.pid());
  EXPECT_EQ(aul_app_is_running("app"), 1);
}

TEST_F(HostAulTest, LinesComeInAnyOrderAndUnknownOnesArePassedOver) {
  PutFile("app", "colour blue\nstatus 4\n\nstarted x\npid " + std::to_string(getpid()));
  Seen seen;
  EXPECT_EQ(aul_app_get_running_app_info(Note, &seen), 0);
  EXPECT_THAT(seen.statuses, ElementsAre(4));
  EXPECT_THAT(seen.pids, ElementsAre(getpid()));
}

TEST_F(HostAulTest, FilesThatSayNothingUsefulDoNotRun) {
  for (const char* content :
       {"", "pid\n", "pid \n", "pid x\n", "pid 0\n", "pid -1\n", "pid 99999999999\n", "status 3\n"}) {
    PutFile("app", content);
    EXPECT_EQ(aul_app_is_running("app"), 0) << content;
  }
}

TEST_F(HostAulTest, StrangeIdsAreSafe) {
  PutApp("app", getpid());
  WriteFile(directory_ / "secret", "pid " + std::to_string(getpid()) + "\n");
  EXPECT_EQ(aul_app_is_running(nullptr), 0);
  for (const char* id : {"", ".", "..", "/", "../secret", "app/", "./app", "a/../app", ".app"}) {
    EXPECT_EQ(aul_app_is_running(id), 0) << id;
  }
  EXPECT_EQ(aul_app_is_running(std::string(100000, 'x').c_str()), 0);
  PutApp("an app\n%s \xff", getpid());
  EXPECT_EQ(aul_app_is_running("an app\n%s \xff"), 1);
}

TEST_F(HostAulTest, TheWalkGoesByNameAndLeavesOutTheDead) {
  Process dead = Sleeper();
  dead.KillAndWait();
  PutApp("c", getpid(), 5);
  PutApp("a", getpid(), 3);
  PutApp("b", dead.pid());
  PutApp(".being-written", getpid());
  std::filesystem::create_directories(directory_ / "running/directory");
  Seen seen;
  seen.look_again = true;
  EXPECT_EQ(aul_app_get_running_app_info(Note, &seen), 0);
  EXPECT_THAT(seen.ids, ElementsAre("a", "c"));
  EXPECT_THAT(seen.statuses, ElementsAre(3, 5));
}

TEST_F(HostAulTest, ANegativeAnswerStopsTheWalk) {
  PutApp("a", getpid());
  PutApp("b", getpid());
  Seen seen;
  seen.answer = 1;
  EXPECT_EQ(aul_app_get_running_app_info(Note, &seen), 0);
  EXPECT_THAT(seen.ids, ElementsAre("a", "b"));
  seen = {};
  seen.answer = -1;
  EXPECT_EQ(aul_app_get_running_app_info(Note, &seen), 0);
  EXPECT_THAT(seen.ids, ElementsAre("a"));
}

TEST_F(HostAulTest, AWalkThatCannotBeDoneFails) {
  EXPECT_LT(aul_app_get_running_app_info(nullptr, nullptr), 0);
  WriteFile(directory_ / "running", "a file in the place of the directory");
  Seen seen;
  EXPECT_LT(aul_app_get_running_app_info(Note, &seen), 0);
}

TEST_F(HostAulTest, AnExceptionOfTheIteratorDoesNotPass) {
  PutApp("a", getpid());
  const auto thrower = [](const aul_app_info*, void*) -> int { throw std::runtime_error("x"); };
  EXPECT_LT(aul_app_get_running_app_info(thrower, nullptr), 0);
}

}  // namespace
