// Where a session works, what of it stays, and which places it refuses.
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "scratch_mount.h"
#include "session_fixture.h"

namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

using SessionPlacesTest = SessionTest;

TEST_F(SessionPlacesTest, AStateDirectoryStaysAndIsUsedAgain) {
  const std::string state = files_ / "my state";
  EXPECT_EQ(RunScript("nuvctl launch org.kelvo.app.clock --wait 20", {"--state", state}).status, 0);
  ASSERT_TRUE(fs::exists(state + "/.corvane.db"));
  const SessionRun second = RunScript("nuvctl show org.kelvo.app.clock; echo $NUV_HOST_DIR", {"--state", state});
  EXPECT_THAT(second.output, HasSubstr("42")) << "the launch of the first session is counted";
  EXPECT_THAT(second.output, HasSubstr("\n" + state + "\n"));
  EXPECT_FALSE(fs::exists(state + "/bus"));
}

TEST_F(SessionPlacesTest, ARelativeStateIsOneOfTheWorkingDirectory) {
  Process session(
      {"sh", "-c", "cd " + files_.path() + " && exec " + kSession + " --state here sh -c 'cd /; ls -d $NUV_HOST_DIR'"},
      files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  EXPECT_EQ(Finish(session).output, files_ / "here\n");
}

TEST_F(SessionPlacesTest, KeepLeavesStateAndLogsAndSaysWhere) {
  const SessionRun run = RunScript("nuvctl launch org.kelvo.app.clock --wait 20; exit 5", {"--keep"});
  EXPECT_EQ(run.status, 5);
  const std::string said = "nuv-session: state and logs are kept in ";
  ASSERT_EQ(run.errors.rfind(said + files_.path(), 0), 0U) << run.errors;
  const std::string kept = run.errors.substr(said.size(), run.errors.size() - said.size() - 1);
  EXPECT_TRUE(fs::exists(kept + "/state/.corvane.db"));
  EXPECT_THAT(ReadFile(kept + "/simulator.log"), HasSubstr("org.kelvo.app.clock"));
  EXPECT_TRUE(fs::exists(kept + "/bus.log"));
}

TEST_F(SessionPlacesTest, WhatDidNotStartKeepsNothing) {
  EXPECT_EQ(Run({"--keep", "--seed", "/no/such/file", "true"}).status, 125);
  for (const auto& entry : fs::directory_iterator(files_.path())) {
    EXPECT_EQ(entry.path().filename().string().rfind("nuv-session", 0), std::string::npos) << entry.path();
  }
}

TEST_F(SessionPlacesTest, PathsMayHoldBlanksQuotesAndPercentSigns) {
  const std::string runtime = files_ / "it's \"a\" <dir> & 100% ü,;=";
  fs::create_directory(runtime);
  const SessionRun run = Run({"sh", "-c", "nuvctl list --count 1 >/dev/null && printf %s \"$NUV_HOST_DIR\""},
                             {{"XDG_RUNTIME_DIR", runtime}});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, runtime + "/nuv-session/1/state");
  EXPECT_FALSE(fs::exists(runtime + "/nuv-session"));
}

TEST_F(SessionPlacesTest, ARuntimeDirectoryThatIsNotTheUsersAloneIsNotUsed) {
  const std::string runtime = files_ / "open";
  fs::create_directory(runtime);
  chmod(runtime.c_str(), 0777);
  const SessionRun run = Run({"sh", "-c", "echo $NUV_HOST_DIR"}, {{"XDG_RUNTIME_DIR", runtime}});
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output.rfind("/tmp/nuv-session-" + std::to_string(geteuid()) + "/", 0), 0U) << run.output;
}

TEST_F(SessionPlacesTest, ADirectoryOfSessionsThatOthersCanReachIsRefused) {
  fs::create_directory(Sessions());
  chmod(Sessions().c_str(), 0755);
  const SessionRun run = Run({"true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr(Sessions() + " is not this user's alone"));
  EXPECT_TRUE(fs::is_empty(Sessions()));
  fs::remove(Sessions());
}

TEST_F(SessionPlacesTest, ALinkInPlaceOfTheDirectoryOfSessionsIsRefused) {
  fs::create_directory(files_ / "elsewhere");
  chmod((files_ / "elsewhere").c_str(), 0700);
  fs::create_symlink(files_ / "elsewhere", Sessions());
  EXPECT_EQ(Run({"true"}).status, 125);
  EXPECT_TRUE(fs::is_empty(files_ / "elsewhere"));
  fs::remove(Sessions());
}

TEST_F(SessionPlacesTest, WhatIsNoSessionInThePlaceOfOneStays) {
  fs::create_directory(Sessions());
  chmod(Sessions().c_str(), 0700);
  WriteFile(Sessions() + "/tv", "mine");
  const SessionRun run = Run({"--name", "tv", "true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr(Sessions() + "/tv is in the way"));
  EXPECT_EQ(ReadFile(Sessions() + "/tv"), "mine");
  fs::remove_all(Sessions());
}

TEST_F(SessionPlacesTest, PathsThatAreTooLongAreSaid) {
  const std::string runtime = files_ / std::string(100, 'r');
  fs::create_directory(runtime);
  const SessionRun run = Run({"true"}, {{"XDG_RUNTIME_DIR", runtime}});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("longer than 107 characters"));
  EXPECT_FALSE(fs::exists(runtime + "/nuv-session"));
  const SessionRun state = Run({"--state", files_ / std::string(120, 's'), "true"});
  EXPECT_EQ(state.status, 125);
  EXPECT_THAT(state.errors, HasSubstr("longer than 115 characters"));
}

TEST_F(SessionPlacesTest, AStateThatIsNoDirectoryIsSaid) {
  WriteFile(files_ / "file", "mine");
  const SessionRun run = Run({"--state", files_ / "file", "true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("--state " + (files_ / "file") + ": is not a directory"));
  EXPECT_EQ(ReadFile(files_ / "file"), "mine");
}

TEST_F(SessionPlacesTest, AStateThatCannotBeMadeIsSaid) {
  const SessionRun run = Run({"--state", "/proc/no/such", "touch", files_ / "run"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("nuv-simulator: /proc/no: No such file or directory"));
  EXPECT_FALSE(fs::exists(files_ / "run"));
}

// As on a full disk, but for a user who is not root.
TEST_F(SessionPlacesTest, ALimitOnTheSizeOfFilesIsSaidAndTheStateWorksWithoutIt) {
  const std::string state = files_ / "state";
  Process limited({"sh", "-c", "ulimit -c 0; ulimit -f 16; exec \"$@\"", "limited", kSession, "--state", state, "touch",
                   files_ / "run"},
                  files_.path(), {{"XDG_RUNTIME_DIR", runtime_.path()}});
  const SessionRun run = Finish(limited);
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("nuv-simulator did not start: it ended with signal 25 (File size limit exceeded)"));
  EXPECT_FALSE(fs::exists(files_ / "run"));
  EXPECT_EQ(RunScript("nuvctl show org.kelvo.app.clock", {"--state", state}).status, 0);
}

TEST_F(SessionPlacesTest, AStateThatAnotherSessionWorksInIsRefused) {
  const std::string state = files_ / "state";
  const auto first = StartWaiting({"--state", state});
  const SessionRun run = Run({"--state", state, "true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr(state));
  EXPECT_TRUE(first->Running());
  first->Signal(SIGTERM);
  Finish(*first);
}

// What needs a file system or users of the test's own.
class OwnFileSystemTest : public SessionTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) GTEST_SKIP() << "only root can mount, and be several users";
  }
};

TEST_F(OwnFileSystemTest, AReadOnlyRuntimeDirectoryIsSaid) {
  const ScratchMount mount(runtime_.path(), "1m");
  if (!mount.Problem().empty()) GTEST_SKIP() << mount.Problem();
  chmod(runtime_.path().c_str(), 0700);
  ASSERT_TRUE(mount.ReadOnly(true));
  const SessionRun run = Run({"true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_EQ(run.errors, "nuv-session: cannot make " + Sessions() + ": Read-only file system\n");
}

TEST_F(OwnFileSystemTest, AFullDiskIsSaidAndNothingIsLeftOnIt) {
  const ScratchMount mount(runtime_.path(), "64k");
  if (!mount.Problem().empty()) GTEST_SKIP() << mount.Problem();
  chmod(runtime_.path().c_str(), 0700);
  for (const int left : {0, 12, 24, 48}) {
    const std::string filler = runtime_ / "filler";
    WriteFile(filler, std::string(static_cast<std::size_t>(64 - left) * 1024, 'x'));
    const SessionRun run = Run({"true"});
    EXPECT_EQ(run.status, 125) << left;
    EXPECT_THAT(run.errors, testing::ContainsRegex("[Nn]o space|disk is full")) << left;
    if (left == 0) {
      EXPECT_THAT(run.errors, HasSubstr("cannot write " + Sessions() + "/1/"));
    }
    EXPECT_FALSE(fs::exists(Sessions())) << left;
    fs::remove(filler);
  }
}

TEST_F(OwnFileSystemTest, AStateOnAFullDiskIsSaidAndWorksOnceThereIsRoom) {
  const std::string disk = files_ / "disk";
  fs::create_directory(disk);
  const ScratchMount mount(disk, "512k");
  if (!mount.Problem().empty()) GTEST_SKIP() << mount.Problem();
  chmod(disk.c_str(), 0700);
  WriteFile(disk + "/filler", std::string(std::size_t{496} * 1024, 'x'));
  const SessionRun run = Run({"--state", disk + "/state", "touch", files_ / "run"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("nuv-simulator: " + disk + "/state/.corvane.db: database or disk is full"));
  EXPECT_FALSE(fs::exists(files_ / "run"));
  fs::remove(disk + "/filler");
  EXPECT_EQ(RunScript("nuvctl show org.kelvo.app.clock", {"--state", disk + "/state"}).status, 0);
}

TEST_F(OwnFileSystemTest, AReadOnlyStateIsReadAndChangesAreRefused) {
  const std::string disk = files_ / "disk";
  fs::create_directory(disk);
  const ScratchMount mount(disk, "1m");
  if (!mount.Problem().empty()) GTEST_SKIP() << mount.Problem();
  chmod(disk.c_str(), 0700);
  const std::string state = disk + "/state";
  ASSERT_EQ(RunScript("nuvctl count org.kelvo.app.clock", {"--state", state}).status, 0);
  const std::string before = ReadFile(state + "/.corvane.db");
  ASSERT_TRUE(mount.ReadOnly(true));
  const SessionRun read = RunScript("nuvctl show org.kelvo.app.clock", {"--state", state});
  EXPECT_EQ(read.status, 0) << read.errors;
  const SessionRun changed = RunScript("nuvctl count org.kelvo.app.clock", {"--state", state});
  EXPECT_EQ(changed.status, 1);
  EXPECT_THAT(changed.errors, HasSubstr("the database could not be written"));
  EXPECT_EQ(ReadFile(state + "/.corvane.db"), before);
  const SessionRun missing = Run({"--state", disk + "/new/state", "true"});
  EXPECT_EQ(missing.status, 125);
  EXPECT_THAT(missing.errors, HasSubstr("nuv-simulator: " + disk + "/new: Read-only file system"));
}

TEST_F(OwnFileSystemTest, AStateOfSomebodyElseIsRefusedAndUnchanged) {
  const std::string state = files_ / "state";
  fs::create_directory(state);
  ASSERT_EQ(chown(state.c_str(), 1, 1), 0);
  const SessionRun run = Run({"--state", state, "true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr("--state " + state + ": belongs to user 1"));
  EXPECT_TRUE(fs::is_empty(state));
}

TEST_F(OwnFileSystemTest, ADirectoryOfSessionsOfSomebodyElseIsRefused) {
  fs::create_directory(Sessions());
  ASSERT_EQ(chown(Sessions().c_str(), 1, 1), 0);
  const SessionRun run = Run({"true"});
  EXPECT_EQ(run.status, 125);
  EXPECT_THAT(run.errors, HasSubstr(Sessions() + " is not this user's alone: it belongs to user 1"));
  fs::remove(Sessions());
}

}  // namespace
