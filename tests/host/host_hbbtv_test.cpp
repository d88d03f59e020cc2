#include <gtest/gtest.h>
#include <nuv_platform/platform_hbbtv.h>

#include <cstdlib>

#include "temp_dir.h"

namespace {

class HostHbbtvTest : public testing::Test {
 protected:
  HostHbbtvTest() { setenv("NUV_HOST_DIR", directory_.path().c_str(), 1); }
  ~HostHbbtvTest() override { free(id_); }

  TempDir directory_;
  char* id_ = nullptr;
};

TEST_F(HostHbbtvTest, HandsOutTheIdOfTheRunningApplication) {
  WriteFile(directory_ / "hbbtv", "3201700000001\n");
  EXPECT_EQ(GetRunningHbbtvApp(&id_), 1);
  EXPECT_STREQ(id_, "3201700000001");
}

TEST_F(HostHbbtvTest, SaysNoWhereNoneRuns) {
  static char other;
  id_ = &other;
  EXPECT_EQ(GetRunningHbbtvApp(&id_), 0);
  EXPECT_EQ(id_, nullptr);
  for (const char* content : {"", "\n", " \n"}) {
    WriteFile(directory_ / "hbbtv", content);
    EXPECT_EQ(GetRunningHbbtvApp(&id_), 0);
    EXPECT_EQ(id_, nullptr);
  }
}

TEST_F(HostHbbtvTest, RefusesAMissingPlace) {
  EXPECT_LT(GetRunningHbbtvApp(nullptr), 0);
}

}  // namespace
