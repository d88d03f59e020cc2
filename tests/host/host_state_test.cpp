// The state directory as path variable 24 shows it; read once, so each case is a process of its own.
#include <gtest/gtest.h>
#include <nuv_platform/platform_path.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

#include "process.h"
#include "temp_dir.h"

namespace {

std::atomic<bool> hold{false};
std::atomic<bool> held{false};

}  // namespace

// In front of the C library's. A thread that looks for the state directory waits here for as long as it is to.
extern "C" char* secure_getenv(const char* name) {
  if (hold) held = true;
  WaitUntil([] { return !hold; });
  return getenv(name);
}

namespace {

class HostStateTest : public testing::Test {
 protected:
  HostStateTest() {
    unsetenv("NUV_HOST_DIR");
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/home/somebody", 1);
  }
  const char* Directory() const { return nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR); }
};

TEST_F(HostStateTest, IsTheDirectoryThatIsNamed) {
  setenv("NUV_HOST_DIR", "/tmp/a//b/", 1);
  setenv("XDG_STATE_HOME", "/xdg", 1);
  EXPECT_STREQ(Directory(), "/tmp/a/b");
}

TEST_F(HostStateTest, IsBelowTheXdgDirectoryElse) {
  setenv("NUV_HOST_DIR", "", 1);
  setenv("XDG_STATE_HOME", "/xdg", 1);
  EXPECT_STREQ(Directory(), "/xdg/nuv");
}

TEST_F(HostStateTest, IsBelowTheHomeElse) {
  setenv("XDG_STATE_HOME", "not/absolute", 1);
  EXPECT_STREQ(Directory(), "/home/somebody/.local/state/nuv");
}

TEST_F(HostStateTest, StaysTheSameWhereverTheProcessGoes) {
  const TempDir directory;
  ASSERT_EQ(chdir(directory.path().c_str()), 0);
  setenv("NUV_HOST_DIR", "relative", 1);
  const char* const path = Directory();
  EXPECT_EQ(path, directory / "relative");
  ASSERT_EQ(chdir("/"), 0);
  setenv("NUV_HOST_DIR", "/other", 1);
  EXPECT_EQ(Directory(), path) << "the same text at the same place";
  EXPECT_FALSE(std::filesystem::exists(path)) << "asking makes no directory";
}

TEST_F(HostStateTest, OtherPathVariablesHaveNoValue) {
  EXPECT_EQ(nuv_platform_get_path(0), nullptr);
  EXPECT_EQ(nuv_platform_get_path(23), nullptr);
  EXPECT_EQ(nuv_platform_get_path(-1), nullptr);
}

TEST_F(HostStateTest, IsFoundInAChildThatWasForkedWhileAnotherThreadLookedForIt) {
  setenv("NUV_HOST_DIR", "/tmp/a", 1);
  hold = true;
  std::thread other([this] { EXPECT_STREQ(Directory(), "/tmp/a"); });
  ASSERT_TRUE(WaitUntil([] { return held.load(); }));
  EXPECT_EQ(0, InChild([this] {
              hold = false;
              return strcmp(Directory(), "/tmp/a");
            }));
  hold = false;
  other.join();
}

}  // namespace
