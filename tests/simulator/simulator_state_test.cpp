// The state directory: whose it has to be, and what in it is left alone.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "simulator_fixture.h"

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;
using Outcome = std::pair<int, int>;

constexpr uid_t kOtherUser = 65534;
constexpr const char* kRunning = "pid 1\nstatus 3\nstarttime 1\n";
const Outcome kLaunched(NUV_NOTIFY_LAUNCHED, 0);

class SimulatorStateTest : public SimulatorTest {
 protected:
  SimulatorStateTest() { mkdir((directory_ / "running").c_str(), 0755); }

  void StartApps() {
    Start({}, R"({"apps": [{"id": "a.app"}, {"id": "b.app"}, {"id": "hbbtv.app", "app_type": 16}]})");
  }
  void Terminate(const char* id) const { Call("terminate_app", g_variant_new("(siss)", id, 0, "", "")); }
  void StartIn(const std::string& directory, const std::string& before = "") {
    WriteFile(files_ / "catalogue.json", R"({"apps": [{"id": "a.app"}]})");
    const std::string command = before + "exec " NUV_BIN_DIR "/nuv-simulator -v --print-ready --dir '" + directory +
                                "' --seed " + (files_ / "catalogue.json");
    simulator_ = std::make_unique<Process>(std::vector<std::string>{"sh", "-c", command}, files_.path());
  }
  // What it says when it does not take the directory.
  std::string Refusal(const std::string& directory) {
    StartIn(directory);
    EXPECT_FALSE(WaitForOutput("ready")) << "it works in " << directory;
    return simulator_->Wait() == 1 ? simulator_->Errors() : "";
  }
  mode_t ModeOf(const std::string& path) const {
    struct stat entry {};
    return stat(path.c_str(), &entry) == 0 ? entry.st_mode & 07777U : 0;
  }
};

TEST_F(SimulatorStateTest, OnlyItsOwnFilesInRunningAreRemoved) {
  WriteFile(directory_ / "running/stale.app", kRunning);
  WriteFile(directory_ / "running/notes", "my notes\n");
  WriteFile(directory_ / "running/longer", std::string(kRunning) + "and more\n");
  WriteFile(directory_ / "running/empty", "");
  WriteFile(directory_ / "kept", kRunning);
  mkdir((directory_ / "running/photos").c_str(), 0755);
  WriteFile(directory_ / "running/photos/one", kRunning);
  fs::create_symlink(directory_ / "kept", directory_ / "running/link");
  StartApps();
  EXPECT_FALSE(fs::exists(directory_ / "running/stale.app"));
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(ReadFile(directory_ / "running/notes"), "my notes\n");
  EXPECT_EQ(ReadFile(directory_ / "running/longer"), std::string(kRunning) + "and more\n");
  EXPECT_TRUE(fs::exists(directory_ / "running/empty"));
  EXPECT_EQ(ReadFile(directory_ / "running/photos/one"), kRunning);
  EXPECT_TRUE(fs::is_symlink(directory_ / "running/link"));
  EXPECT_EQ(ReadFile(directory_ / "kept"), kRunning);
}

TEST_F(SimulatorStateTest, ADirectoryOfAnApplicationsNameStaysAndIsSaidToBeInTheWay) {
  mkdir((directory_ / "running/a.app").c_str(), 0755);
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("/running/a.app is in the way"));
  Terminate("a.app");
  EXPECT_TRUE(WaitForOutput("stopped a.app"));
  EXPECT_EQ(End(), 0);
  EXPECT_TRUE(fs::is_directory(directory_ / "running/a.app"));
}

TEST_F(SimulatorStateTest, AFileOfAnApplicationsNameThatItDidNotWriteStays) {
  WriteFile(directory_ / "running/a.app", "my notes\n");
  WriteFile(directory_ / "kept", "kept\n");
  fs::create_symlink(directory_ / "kept", directory_ / "running/b.app");
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_EQ(OutcomeOf({"b.app"}), kLaunched);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("/running/a.app is in the way"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("/running/b.app is in the way"));
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(ReadFile(directory_ / "running/a.app"), "my notes\n");
  EXPECT_TRUE(fs::is_symlink(directory_ / "running/b.app"));
  EXPECT_EQ(ReadFile(directory_ / "kept"), "kept\n");
}

TEST_F(SimulatorStateTest, WhatTookThePlaceOfARunningFileStays) {
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  WriteFile(directory_ / "running/a.app", "my notes\n");
  Terminate("a.app");
  EXPECT_TRUE(WaitForOutput("stopped a.app"));
  EXPECT_EQ(ReadFile(directory_ / "running/a.app"), "my notes\n");
}

TEST_F(SimulatorStateTest, AnHbbtvFileThatItDidNotWriteStays) {
  WriteFile(directory_ / "hbbtv", "first line\nsecond line\n");
  StartApps();
  EXPECT_THAT(simulator_->Errors(), HasSubstr("/hbbtv is in the way"));
  EXPECT_EQ(OutcomeOf({"hbbtv.app"}), kLaunched);
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_EQ(End(), 0);
  EXPECT_EQ(ReadFile(directory_ / "hbbtv"), "first line\nsecond line\n");
}

TEST_F(SimulatorStateTest, ALinkInPlaceOfTheHbbtvFileStays) {
  WriteFile(directory_ / "kept", "kept\n");
  fs::create_symlink(directory_ / "kept", directory_ / "hbbtv");
  StartApps();
  EXPECT_EQ(OutcomeOf({"hbbtv.app"}), kLaunched);
  EXPECT_EQ(End(), 0);
  EXPECT_TRUE(fs::is_symlink(directory_ / "hbbtv"));
  EXPECT_EQ(ReadFile(directory_ / "kept"), "kept\n");
}

TEST_F(SimulatorStateTest, AnIdOfTwoLinesIsNotWrittenToTheHbbtvFile) {
  Start({}, R"({"apps": [{"id": "an.app", "kelvo_id": "two\nlines", "app_type": 16}]})");
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  EXPECT_FALSE(fs::exists(directory_ / "hbbtv"));
  EXPECT_THAT(simulator_->Errors(), HasSubstr("no line of text"));
}

TEST_F(SimulatorStateTest, ALinkInPlaceOfTheTemporaryFileLeadsToNothing) {
  WriteFile(files_ / "victim", "precious\n");
  fs::create_symlink(files_ / "victim", directory_ / ".nuv-simulator.new");
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_THAT(simulator_->Errors(), HasSubstr("/.nuv-simulator.new is in the way"));
  EXPECT_EQ(ReadFile(files_ / "victim"), "precious\n");
  EXPECT_EQ(RunningFile("a.app"), "");
}

TEST_F(SimulatorStateTest, ATemporaryFileThatItDidNotWriteStays) {
  WriteFile(directory_ / ".nuv-simulator.new", "first line\nsecond line\n");
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_EQ(ReadFile(directory_ / ".nuv-simulator.new"), "first line\nsecond line\n");
}

TEST_F(SimulatorStateTest, ATemporaryFileOfAKilledOneIsNoHindrance) {
  for (const char* left : {"", "hbbtv.app\n", kRunning}) {
    WriteFile(directory_ / ".nuv-simulator.new", left);
    StartApps();
    EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
    EXPECT_EQ(RunningNumber("a.app", "status"), 3) << simulator_->Errors();
    EXPECT_EQ(End(), 0);
    EXPECT_THAT(simulator_->Errors(), Not(HasSubstr("in the way")));
    ASSERT_TRUE(WaitUntil([&] { return !bus_.NameHasOwner("org.kelvo.tv.corvane.server"); }));
  }
}

TEST_F(SimulatorStateTest, ADirectoryInWhichAnotherOneWorksIsRefused) {
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  const std::string before = RunningFile("a.app");
  const PrivateBus other_bus;  // for all that start from now on; the names are free there
  Process second({NUV_BIN_DIR "/nuv-simulator", "--dir", directory_.path(), "--print-ready"}, files_.path());
  ASSERT_TRUE(WaitUntil([&] { return !second.Running() || second.Output() == "ready\n"; }));
  EXPECT_EQ(second.Output(), "");
  EXPECT_THAT(second.Errors(), HasSubstr(directory_.path() + " is in use by another nuv-simulator"));
  EXPECT_EQ(RunningFile("a.app"), before);
  simulator_->KillAndWait();
  Process third({NUV_BIN_DIR "/nuv-simulator", "--dir", directory_.path(), "--print-ready"}, files_.path());
  EXPECT_TRUE(WaitUntil([&] { return third.Output() == "ready\n"; })) << third.Errors();
}

// Root meets the directory of a user, a user meets one of root's.
TEST_F(SimulatorStateTest, ADirectoryOfAnotherUserIsRefused) {
  const std::string other = getuid() == 0 ? files_ / "other" : "/usr";
  if (getuid() == 0) {
    mkdir(other.c_str(), 0755);
    ASSERT_EQ(chown(other.c_str(), kOtherUser, kOtherUser), 0);
  }
  const std::string refusal = Refusal(other);
  EXPECT_THAT(refusal, HasSubstr(other + " belongs to the user " + std::to_string(getuid() == 0 ? kOtherUser : 0)));
  EXPECT_THAT(refusal, HasSubstr("this is the user " + std::to_string(getuid())));
  EXPECT_THAT(refusal, HasSubstr("run this as its owner, or choose another directory with --dir"));
  EXPECT_FALSE(fs::exists(other + "/running"));
  EXPECT_FALSE(fs::exists(other + "/.corvane.db"));
}

TEST_F(SimulatorStateTest, ADirectoryThatOthersCanWriteToIsRefused) {
  for (const mode_t mode : {0777, 0775, 0757}) {
    const std::string open = files_ / ("open" + std::to_string(mode));
    mkdir(open.c_str(), 0700);
    chmod(open.c_str(), mode);
    const std::string refusal = Refusal(open);
    EXPECT_THAT(refusal, HasSubstr(open + " can be written to by other users (mode 07"));
    EXPECT_THAT(refusal, HasSubstr("chmod go-w " + open));
    EXPECT_TRUE(fs::is_empty(open));
  }
}

TEST_F(SimulatorStateTest, ASharedPlaceIsRefusedAndADirectoryInItIsNot) {
  const std::string shared = files_ / "shared";
  mkdir(shared.c_str(), 0700);
  chmod(shared.c_str(), 01777);
  const std::string refusal = Refusal(shared);
  EXPECT_THAT(refusal, HasSubstr("(mode 1777): choose a directory of your own in it"));
  EXPECT_THAT(refusal, Not(HasSubstr("chmod")));
  StartIn(shared + "/mine");
  EXPECT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
}

TEST_F(SimulatorStateTest, ARunningDirectoryThatOthersCanWriteToIsRefused) {
  chmod((directory_ / "running").c_str(), 0777);
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/running can be written to by other users (mode 0777)"));
}

TEST_F(SimulatorStateTest, ALinkInPlaceOfTheRunningDirectoryIsRefused) {
  const std::string kept = files_ / "kept";
  mkdir(kept.c_str(), 0755);
  WriteFile(kept + "/stale.app", kRunning);
  fs::remove(directory_ / "running");
  fs::create_directory_symlink(kept, directory_ / "running");
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/running is in the way"));
  EXPECT_EQ(ReadFile(kept + "/stale.app"), kRunning);
}

TEST_F(SimulatorStateTest, AFileInPlaceOfTheRunningDirectoryStays) {
  fs::remove(directory_ / "running");
  WriteFile(directory_ / "running", "my notes\n");
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/running is in the way"));
  EXPECT_EQ(ReadFile(directory_ / "running"), "my notes\n");
}

TEST_F(SimulatorStateTest, AFileInPlaceOfTheStateDirectoryIsRefused) {
  WriteFile(files_ / "file", "my notes\n");
  EXPECT_THAT(Refusal(files_ / "file"), HasSubstr("/file: Not a directory"));
  EXPECT_THAT(Refusal(""), HasSubstr("the state directory has no name"));
}

TEST_F(SimulatorStateTest, AnOwnLinkToAnOwnDirectoryIsFollowed) {
  fs::create_directory_symlink(directory_.path(), files_ / "link");
  StartIn(files_ / "link/");
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  EXPECT_TRUE(fs::exists(directory_ / ".corvane.db"));
}

TEST_F(SimulatorStateTest, ALinkOfAnotherUserIsRefused) {
  if (getuid() != 0) GTEST_SKIP() << "only root can be several users";
  const std::string link = files_ / "link";
  fs::create_directory_symlink(directory_.path(), link);
  ASSERT_EQ(lchown(link.c_str(), kOtherUser, kOtherUser), 0);
  for (const char* slash : {"", "/"}) {
    EXPECT_THAT(Refusal(link + slash), HasSubstr(link + " is a link of the user 65534"));
    EXPECT_FALSE(fs::exists(directory_ / ".corvane.db"));
  }
}

TEST_F(SimulatorStateTest, WhatItMakesIsItsUsersWhateverTheUmask) {
  const std::string state = files_ / "deep/er";
  StartIn(state, "umask 0; ");
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_EQ(ModeOf(files_ / "deep"), 0700U);
  EXPECT_EQ(ModeOf(state), 0700U);
  EXPECT_EQ(ModeOf(state + "/running"), 0755U);
  EXPECT_EQ(ModeOf(state + "/running/a.app"), 0644U);
  EXPECT_EQ(ModeOf(state + "/.corvane.db"), 0644U);
}

TEST_F(SimulatorStateTest, ALinkInPlaceOfTheDatabaseIsRefused) {
  WriteFile(files_ / "victim", "");
  fs::create_symlink(files_ / "victim", directory_ / ".corvane.db");
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/.corvane.db is in the way"));
  EXPECT_EQ(ReadFile(files_ / "victim"), "");
  fs::remove(directory_ / ".corvane.db");
  fs::create_symlink(files_ / "nothing", directory_ / ".corvane.db");
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/.corvane.db is in the way"));
  EXPECT_FALSE(fs::exists(files_ / "nothing"));
}

TEST_F(SimulatorStateTest, ADatabaseThatIsNoFileIsRefused) {
  ASSERT_EQ(mkfifo((directory_ / ".corvane.db").c_str(), 0600), 0);
  EXPECT_THAT(Refusal(directory_.path()), HasSubstr("/.corvane.db is in the way"));
}

TEST_F(SimulatorStateTest, ASecondOneOnAnotherBusNamesTheFirstAndLeavesItsApplications) {
  StartApps();
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  const std::string running = RunningFile("a.app");
  const PrivateBus other;
  Process second({NUV_BIN_DIR "/nuv-simulator", "--dir", directory_.path()}, files_.path());
  EXPECT_EQ(second.Wait(), 1);
  EXPECT_EQ(second.Errors(), "nuv-simulator: " + directory_.path() + " is in use by another nuv-simulator (process " +
                                 std::to_string(simulator_->pid()) +
                                 "): end that one, or choose another directory with --dir\n");
  EXPECT_EQ(RunningFile("a.app"), running);
}

// Its applications are not what keeps the directory.
TEST_F(SimulatorStateTest, TheDirectoryIsFreeAgainOnceItsSimulatorWasKilled) {
  const std::string survivor =
      WriteScript("survivor.sh", "setsid sleep 1000 & echo $! > '" + (files_ / "pid") + "'; exec sleep 1000");
  Start({}, R"({"apps": [{"id": "a.app", "install_path": ")" + survivor + R"("}]})");
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  ASSERT_TRUE(WaitUntil([&] { return !ReadFile(files_ / "pid").empty(); }));
  simulator_->KillAndWait();
  StartPlain();
  EXPECT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  kill(std::stoi(ReadFile(files_ / "pid")), SIGKILL);
}

TEST_F(SimulatorStateTest, SaysAtTheStartWhereItIsAndWhatItHas) {
  StartIn(directory_.path());
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  EXPECT_EQ(simulator_->Errors(), "nuv-simulator: on " + bus_.address() + ", in " + directory_.path() +
                                      ": 1 application, PINs from nobody: locked applications are refused\n");
}

TEST_F(SimulatorStateTest, SaysWhereThePinsComeFrom) {
  WriteFile(files_ / "rules.json", R"([{"method": "pin_dialog", "pin": "wrong"}])");
  WriteFile(files_ / "two.json", R"({"apps": [{"id": "a.app"}, {"id": "b.app"}]})");
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--print-ready", "--dir", directory_.path(), "--seed",
                     files_ / "two.json", "--scenario", files_ / "rules.json", "--pin-answer", "cancelled"},
                    files_.path());
  ASSERT_TRUE(WaitUntil([&] { return simulator.Output() == "ready\n" || !simulator.Running(); }));
  EXPECT_THAT(simulator.Errors(), HasSubstr(": 2 applications, PINs from the scenario " + (files_ / "rules.json") +
                                            ", then --pin-answer cancelled\n"));
}

TEST_F(SimulatorStateTest, TellsClientsWhereThePinsComeFromAsItIsAtTheMoment) {
  WriteFile(files_ / "rules.json", "[]");
  Start({"--scenario", files_ / "rules.json"});
  EXPECT_EQ(CallControl("PinSources", nullptr).Text(), "([],)");
  WriteFile(files_ / "rules.json", R"([{"method": "pin_dialog", "pin": "wrong"}])");
  EXPECT_EQ(CallControl("PinSources", nullptr).Text(), "(['the scenario " + (files_ / "rules.json") + "'],)");
}

TEST_F(SimulatorStateTest, TellsClientsWhereThePinsComeFromInTheirOrder) {
  WriteFile(files_ / "rules.json", R"([{"method": "pin_dialog", "pin": "wrong"}])");
  Start({"--scenario", files_ / "rules.json", "--pin-answer", "cancelled"});
  EXPECT_EQ(CallControl("PinSources", nullptr).Text(),
            "(['the scenario " + (files_ / "rules.json") + "', '--pin-answer cancelled'],)");
}

TEST_F(SimulatorStateTest, SaysNothingAtTheStartWhenItIsToBeQuiet) {
  Start({"--quiet"});
  EXPECT_EQ(simulator_->Errors(), "");
}

TEST_F(SimulatorStateTest, PublishesItsDirectoryAndVersion) {
  Start();
  const Reply reply =
      CallObject("org.kelvo.tv.corvane.server", "/org/kelvo/tv/NuvSimulator", "org.freedesktop.DBus.Properties",
                 "GetAll", g_variant_new("(s)", "org.kelvo.tv.NuvSimulator1"));
  EXPECT_THAT(reply.Text(), HasSubstr("'Directory': <'" + directory_.path() + "'>"));
  EXPECT_THAT(reply.Text(), HasSubstr("'Version': <'" NUV_TEST_VERSION "'>"));
}

TEST_F(SimulatorStateTest, ADatabaseThatIsNoneIsNamedWithTheReason) {
  WriteFile(directory_ / ".corvane.db", std::string(4096, 'x'));
  EXPECT_EQ(Refusal(directory_.path()),
            "nuv-simulator: " + (directory_ / ".corvane.db") + ": file is not a database\n");
}

TEST_F(SimulatorStateTest, AReadyFileThatCannotBeWrittenIsNamedWithTheReason) {
  Start({"--ready-fd", "77"});
  // It has said on its output that it is ready before it tries the descriptor.
  const std::string complaint = "nuv-simulator: --ready-fd 77 cannot be written: Bad file descriptor\n";
  EXPECT_TRUE(WaitUntil([&] { return simulator_->Errors() == complaint; })) << simulator_->Errors();
}

}  // namespace
