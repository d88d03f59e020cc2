// A host that lets SQLite's connections share their caches.
#include <nuv/nuv_app_database.h>

#include "inner_test.h"

namespace {

class SharedCache : public InnerTest {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"use_count", 0}, {"version", "1.0"}});
    database_.Close();
    ASSERT_EQ(SQLITE_OK, sqlite3_enable_shared_cache(1));
  }
  void TearDown() override {
    sqlite3_enable_shared_cache(0);
    InnerTest::TearDown();
  }
};

TEST_F(SharedCache, OfTheHostLeavesReadingAndWritingAsTheyAre) {
  nuv_app_info_s info = {};
  ASSERT_EQ(0, m_nuv_get_app_info("app", &info)) << "the reading side is open, read-only";
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ("read-write", Mode());
  for (int i = 0; i < 20; ++i) {
    EXPECT_EQ(0, nuv_db_update_app_count("app"));
    EXPECT_EQ(
        0, nuv_inner_update_app_by_key_value("app", static_cast<APPSINFO_UPDATE_KEY_e>(3), "2." + std::to_string(i)));
    EXPECT_EQ(0, m_nuv_get_app_info("app", &info));
    EXPECT_EQ(i + 1, info.use_count);
    EXPECT_STREQ(("2." + std::to_string(i)).c_str(), info.app_version);
  }
}

}  // namespace
