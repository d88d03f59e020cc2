#include <fcntl.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_settings.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

#include "process.h"
#include "temp_dir.h"

namespace {

class HostSettingsTest : public testing::Test {
 protected:
  HostSettingsTest() { setenv("NUV_HOST_DIR", state_.c_str(), 1); }

  std::string SettingFile(const std::string& key) const { return state_ + "/settings/" + key; }
  void Put(const std::string& key, const std::string& content) const {
    std::filesystem::create_directories(std::filesystem::path(SettingFile(key)).parent_path());
    WriteFile(SettingFile(key), content);
  }

  TempDir directory_;
  const std::string state_ = directory_ / "state";
};

TEST_F(HostSettingsTest, AnIntegerIsReadFromTheKeysFile) {
  int value = 7;
  Put("db/nuv/factory_reset", "2\n");
  EXPECT_EQ(vconf_get_int("db/nuv/factory_reset", &value), 0);
  EXPECT_EQ(value, 2);
  Put("db/nuv/factory_reset", "-2147483648");
  EXPECT_EQ(vconf_get_int("db/nuv/factory_reset", &value), 0);
  EXPECT_EQ(value, -2147483647 - 1);
}

TEST_F(HostSettingsTest, AnythingElseThanOneIntegerIsAFailureThatLeavesTheValueAlone) {
  int value = 7;
  EXPECT_LT(vconf_get_int("absent", &value), 0);
  for (const char* content : {"", "\n", "x", "1x", "1 ", " 1", "1\n\n", "1 2", "2147483648", "1.5", "+1", "0x1"}) {
    Put("key", content);
    EXPECT_LT(vconf_get_int("key", &value), 0) << "[" << content << "]";
  }
  std::filesystem::create_directories(SettingFile("directory"));
  EXPECT_LT(vconf_get_int("directory", &value), 0);
  EXPECT_EQ(value, 7);
}

TEST_F(HostSettingsTest, AFifoInPlaceOfASettingDoesNotHoldTheCaller) {
  int value = 7;
  Put("other", "");
  ASSERT_EQ(mkfifo(SettingFile("key").c_str(), 0600), 0);
  EXPECT_LT(vconf_get_int("key", &value), 0);
}

TEST_F(HostSettingsTest, ATextIsKeptByteForByteAndReplaced) {
  EXPECT_EQ(vconf_set_str("rtc/litenuv/webapp/launch_fail", "NULL:101 and more"), 0);
  EXPECT_EQ(ReadFile(SettingFile("rtc/litenuv/webapp/launch_fail")), "NULL:101 and more");
  EXPECT_EQ(vconf_set_str("rtc/litenuv/webapp/launch_fail", "app:\xff\n"), 0);
  EXPECT_EQ(ReadFile(SettingFile("rtc/litenuv/webapp/launch_fail")), "app:\xff\n");
  EXPECT_EQ(vconf_set_str("rtc/litenuv/webapp/launch_fail", ""), 0);
  EXPECT_EQ(ReadFile(SettingFile("rtc/litenuv/webapp/launch_fail")), "");
}

TEST_F(HostSettingsTest, AKeyOfTheLongestNameCanBeWritten) {
  const std::string key(255, 'k');
  EXPECT_EQ(vconf_set_str(key.c_str(), "x"), 0);
  EXPECT_EQ(ReadFile(SettingFile(key)), "x");
}

// nuv-simulator refuses a directory that others can write to.
TEST_F(HostSettingsTest, TheDirectoriesThatItMakesAreTheirOwnersWhateverTheUmask) {
  const mode_t before = umask(002);
  const TempDir parent;
  setenv("NUV_HOST_DIR", (parent / "state").c_str(), 1);
  EXPECT_EQ(0, vconf_set_str("rtc/litenuv/webapp/launch_fail", "text"));
  umask(before);
  for (const char* made : {"state", "state/settings", "state/settings/rtc/litenuv/webapp"}) {
    struct stat status = {};
    ASSERT_EQ(0, stat((parent / made).c_str(), &status)) << made;
    EXPECT_EQ(0700u, status.st_mode & 0777u) << made;
  }
}

TEST_F(HostSettingsTest, KeysThatLeadElsewhereAreRefused) {
  int value = 7;
  WriteFile(directory_ / "outside", "1");
  for (const char* key :
       {"", "/", "/etc/x", "..", "../x", "../../outside", "a/../x", "a/..", "a//b", "a/", ".", "./a"}) {
    EXPECT_LT(vconf_set_str(key, "2"), 0) << key;
    EXPECT_LT(vconf_get_int(key, &value), 0) << key;
  }
  EXPECT_EQ(ReadFile(directory_ / "outside"), "1");
  EXPECT_FALSE(std::filesystem::exists(state_)) << "a refused key must leave no trace";
}

TEST_F(HostSettingsTest, MissingArgumentsAreRefused) {
  int value = 7;
  Put("key", "1");
  EXPECT_LT(vconf_set_str(nullptr, "x"), 0);
  EXPECT_LT(vconf_set_str("key", nullptr), 0);
  EXPECT_LT(vconf_get_int(nullptr, &value), 0);
  EXPECT_LT(vconf_get_int("key", nullptr), 0);
  EXPECT_EQ(ReadFile(SettingFile("key")), "1");
}

TEST_F(HostSettingsTest, AStoreThatCannotBeWrittenRefuses) {
  WriteFile(state_, "a file in the place of the directory");
  EXPECT_LT(vconf_set_str("key", "x"), 0);
}

TEST_F(HostSettingsTest, TheLimitOfFileSizesRefusesASettingAndEndsNoHost) {
  ASSERT_EQ(vconf_set_str("key", "old"), 0);
  EXPECT_EQ(InChild([] {
              const rlimit limit = {4, RLIM_INFINITY};
              setrlimit(RLIMIT_FSIZE, &limit);
              if (vconf_set_str("key", "longer") >= 0) return 1;
              sigset_t pending;
              sigpending(&pending);
              if (sigismember(&pending, SIGXFSZ) == 1) return 2;
              return vconf_set_str("other", "fits") == 0 ? 0 : 3;
            }),
            0);
  EXPECT_EQ(ReadFile(SettingFile("key")), "old");
  EXPECT_EQ(ReadFile(SettingFile("other")), "fits");
  const auto entries = std::filesystem::directory_iterator(state_ + "/settings");
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 2) << "a temporary file is left";
}

TEST_F(HostSettingsTest, AReaderSeesTheOldTextOrTheNewOneAndNeverAPart) {
  const std::string old_text(60000, 'o');
  const std::string new_text(30000, 'n');
  ASSERT_EQ(vconf_set_str("key", old_text.c_str()), 0);
  std::atomic<int> writers{2};
  const auto write = [&] {
    for (int i = 0; i < 300; ++i) vconf_set_str("key", (i % 2 == 0 ? new_text : old_text).c_str());
    --writers;
  };
  std::thread first(write);
  std::thread second(write);
  int torn = 0;
  do {
    const std::string seen = ReadFile(SettingFile("key"));
    torn += seen != old_text && seen != new_text;
  } while (writers != 0);
  first.join();
  second.join();
  EXPECT_EQ(torn, 0);
  const auto entries = std::filesystem::directory_iterator(state_ + "/settings");
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "temporary files are left";
}

}  // namespace
