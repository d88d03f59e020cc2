// Looking one application up.
#include <gtest/gtest.h>
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_database_inner.h>

#include "database_test.h"

namespace {

class AppLookup : public DatabaseTest {};

TEST_F(AppLookup, FindsById) {
  database_.Add("org.kelvo.clock", {{"title", "Clock"}});
  nuv_app_info_s info = {};
  EXPECT_EQ(0, m_nuv_get_app_info("org.kelvo.clock", &info));
  EXPECT_STREQ("Clock", info.app_title);
}

TEST_F(AppLookup, BusyDatabaseGivesMinusTwo) {
  database_.Add("org.kelvo.clock");
  const auto locker = LockDatabase();
  nuv_app_info_s info = {};
  EXPECT_EQ(-2, m_nuv_get_app_info("org.kelvo.clock", &info));
  EXPECT_EQ(49u, fake_platform::Effects().size());
}

}  // namespace
