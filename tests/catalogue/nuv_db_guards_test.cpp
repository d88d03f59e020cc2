// The guards: when the catalogue must not be read.
#include "nuv_db_api/nuv_db_guards.h"

#include <gtest/gtest.h>

#include "catalogue_log.h"
#include "fake_platform.h"

namespace {

const std::string kResetStart = "S " + Green("CkeckIsFactoryReset");
const std::string kResetEnd = "I " + Green("CheckPkgmgrRecovering end");
const std::string kRepairStart = "S " + Green("CheckPkgmgrRecovering");
const std::string kUnreadable = "E " + Red("Failed to get vconf value key=(db/nuv/factory_reset)");

TEST(DatabaseGuards, AFactoryResetIsInProgressInTheStatesOneAndTwoOnly) {
  for (const int state : {-2147483647 - 1, -1, 0, 1, 2, 3, 4, 257, 2147483647}) {
    fake_platform::SetFactoryReset(state);
    EXPECT_EQ(state == 1 || state == 2, CkeckIsFactoryReset()) << state;
  }
}

TEST(DatabaseGuards, TheFactoryResetGuardLogsItsStartAndTheOtherGuardsEnd) {
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ((LogLines{kResetStart, kResetEnd}), LogOf(CkeckIsFactoryReset));
  fake_platform::SetFactoryReset(0);
  EXPECT_EQ((LogLines{kResetStart, kResetEnd}), LogOf(CkeckIsFactoryReset));
}

TEST(DatabaseGuards, AnUnreadableStateCountsAsNoReset) {
  fake_platform::SetFactoryReset(std::nullopt);
  bool reset = true;
  EXPECT_EQ((LogLines{kResetStart, kUnreadable, kResetEnd}), LogOf([&] { reset = CkeckIsFactoryReset(); }));
  EXPECT_FALSE(reset);
}

TEST(DatabaseGuards, TheRepairMarkerMeansThatPackagesAreBeingRepaired) {
  bool recovering = false;
  fake_platform::SetRepairMarker(true);
  EXPECT_EQ((LogLines{kRepairStart, "I " + Green("CheckPkgmgrRecovering true")}),
            LogOf([&] { recovering = CheckPkgmgrRecovering(); }));
  EXPECT_TRUE(recovering);
  fake_platform::SetRepairMarker(false);
  EXPECT_EQ((LogLines{kRepairStart, "I " + Green("CheckPkgmgrRecovering false")}),
            LogOf([&] { recovering = CheckPkgmgrRecovering(); }));
  EXPECT_FALSE(recovering);
}

TEST(DatabaseGuards, TheResetIsAskedFirstAndEndsTheQuestion) {
  fake_platform::SetFactoryReset(2);
  fake_platform::SetRepairMarker(true);
  bool refused = false;
  EXPECT_EQ((LogLines{kResetStart, kResetEnd, "I " + Yellow("FactoryReset is true")}),
            LogOf([&] { refused = ReadingIsRefused(); }));
  EXPECT_TRUE(refused);
}

TEST(DatabaseGuards, TheRepairIsAskedSecond) {
  fake_platform::SetFactoryReset(0);
  fake_platform::SetRepairMarker(true);
  bool refused = false;
  EXPECT_EQ((LogLines{kResetStart, kResetEnd, kRepairStart, "I " + Green("CheckPkgmgrRecovering true"),
                      "E " + Red("Pkgmgr is recovering")}),
            LogOf([&] { refused = ReadingIsRefused(); }));
  EXPECT_TRUE(refused);
}

TEST(DatabaseGuards, ReadingIsAllowedWhileNeitherHolds) {
  fake_platform::SetFactoryReset(0);
  bool refused = true;
  EXPECT_EQ(GuardLines(), LogOf([&] { refused = ReadingIsRefused(); }));
  EXPECT_FALSE(refused);
}

TEST(DatabaseGuards, EachLineNamesTheTagTheFileAndTheFunction) {
  fake_platform::SetFactoryReset(0);
  fake_platform::Clear();
  ReadingIsRefused();
  const auto log = fake_platform::Log();
  ASSERT_EQ(4u, log.size());
  EXPECT_EQ(0u, log[0].prefix.find("NuvClient nuv_db_guards.cpp: CkeckIsFactoryReset(")) << log[0].prefix;
  EXPECT_EQ(0u, log[1].prefix.find("NuvClient nuv_db_guards.cpp: CkeckIsFactoryReset(")) << log[1].prefix;
  EXPECT_EQ(0u, log[2].prefix.find("NuvClient nuv_db_guards.cpp: CheckPkgmgrRecovering(")) << log[2].prefix;
  EXPECT_EQ(0u, log[3].prefix.find("NuvClient nuv_db_guards.cpp: CheckPkgmgrRecovering(")) << log[3].prefix;
}

}  // namespace
