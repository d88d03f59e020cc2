// nuv::AppList, nuv::InnerAppList and the lookups: what they own, and what they tell apart.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <nuv/nuv_launch.hpp>
#include <string>
#include <type_traits>
#include <vector>

#include "app_database.h"
#include "database_lock.h"
#include "temp_dir.h"

namespace {

using nuv::AppList;
using nuv::AppListOptions;
using nuv::LookupError;

class KitCatalogue : public ::testing::Test {
 protected:
  KitCatalogue() {
    setenv("NUV_HOST_DIR", database_.directory().c_str(), 1);
    std::string path = database_.directory();
    for (const char* part : {"/settings", "/db", "/nuv"}) mkdir((path += part).c_str(), 0700);
    WriteFile(path + "/factory_reset", "0");
  }
  static std::vector<std::string> Ids(AppList& list) {
    std::vector<std::string> ids;
    for (const nuv_app_info_s& app : list) ids.emplace_back(app.app_id);
    return ids;
  }
  static std::vector<std::string> FirstIds(int count) {
    std::vector<std::string> ids;
    for (int i = 0; i < count; ++i) ids.push_back("app" + std::to_string(i));
    return ids;
  }
  static AppListOptions Pages(int size) {
    AppListOptions options;
    options.page_size = size;
    return options;
  }

  AppDatabase database_;
  TempDir files_;
};

TEST_F(KitCatalogue, FindsAnApplicationOrTellsWhyNot) {
  database_.Add("a", {{"title", "A title"}, {"run_title", "Runs"}, {"kelvo_id", "k"}});
  EXPECT_TRUE(nuv::find_app("a"));
  EXPECT_STREQ(nuv::find_app("k")->app_title, "A title");
  EXPECT_STREQ((*nuv::find_app_by_runtitle("Runs")).app_id, "a");
  EXPECT_EQ(nuv::find_inner_app("a")->title, "A title");
  EXPECT_EQ(nuv::find_inner_app_by_kelvo_id("k")->id, "a");

  EXPECT_FALSE(nuv::find_app("b"));
  EXPECT_EQ(nuv::find_app("b").error(), LookupError::not_found);
  EXPECT_EQ(nuv::find_app("").error(), LookupError::not_found);
  EXPECT_EQ(nuv::find_app_by_runtitle("runs").error(), LookupError::not_found);
  EXPECT_EQ(nuv::find_inner_app("b").error(), LookupError::not_found);
  EXPECT_EQ(nuv::find_inner_app_by_kelvo_id("a").error(), LookupError::not_found);
  EXPECT_FALSE(nuv::find_app("b").busy());
  EXPECT_STREQ(nuv::find_app("b")->app_id, "");
}

TEST_F(KitCatalogue, TellsABusyDatabaseFromAnApplicationThatIsNotThere) {
  database_.AddMany(3);
  EXPECT_TRUE(nuv::find_app("app0"));
  const auto locked = LockedDatabase(database_, files_.path());
  EXPECT_EQ(nuv::find_app("app0").error(), LookupError::busy);
  EXPECT_TRUE(nuv::find_app_by_runtitle("app0").busy());
  AppList list;
  EXPECT_EQ(list.error(), LookupError::busy);
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.begin(), list.end());
}

TEST_F(KitCatalogue, ListsEverythingAtOnce) {
  database_.AddMany(7);
  AppList list;
  EXPECT_EQ(list.size(), 7u);
  EXPECT_STREQ(list[6].app_id, "app6");
  EXPECT_EQ(list.data(), &list[0]);
  EXPECT_EQ(Ids(list), FirstIds(7));
  EXPECT_EQ(Ids(list), FirstIds(7));
  EXPECT_FALSE(list.next_page());
  EXPECT_EQ(list.error(), LookupError::none);
}

TEST_F(KitCatalogue, ListsByPagesOfAnySize) {
  database_.AddMany(7);
  for (const int size : {1, 2, 3, 6, 7, 8, 100, 0x7fffffff, -1}) {
    AppList list(Pages(size));
    EXPECT_EQ(list.size(), size < 1 || size > 7 ? 7u : static_cast<size_t>(size)) << size;
    EXPECT_EQ(Ids(list), FirstIds(7)) << size;
    EXPECT_EQ(list.error(), LookupError::none) << size;
    EXPECT_EQ(Ids(list), FirstIds(7)) << "again, " << size;
  }
}

TEST_F(KitCatalogue, KeepsAPageInMemoryAndNoMore) {
  database_.AddMany(5);
  AppList list(Pages(2));
  EXPECT_EQ(list.size(), 2u);
  EXPECT_TRUE(list.next_page());
  EXPECT_EQ(list.size(), 2u);
  EXPECT_STREQ(list[0].app_id, "app2");
  EXPECT_TRUE(list.next_page());
  EXPECT_EQ(list.size(), 1u);
  EXPECT_FALSE(list.next_page());
  EXPECT_EQ(list.error(), LookupError::none);
}

TEST_F(KitCatalogue, ListsByFilterAndOrder) {
  database_.AddMany(3);
  database_.Add("tv", {{"app_type", 4}, {"app_index", 9}, {"title", "ZZ"}});
  AppListOptions options;
  options.filter.type = 4;
  AppList of_type(options);
  EXPECT_EQ(Ids(of_type), std::vector<std::string>{"tv"});
  options.filter.type = NUV_APP_FILTER_ANY;
  options.order = NUV_APP_VIEWMODE_TITLE_DESC;
  AppList by_title(options);
  ASSERT_EQ(by_title.size(), 4u);
  EXPECT_STREQ(by_title[0].app_id, "tv");
}

TEST_F(KitCatalogue, OfNoApplicationIsEmptyAndNoFailure) {
  AppList list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.begin(), list.end());
  EXPECT_EQ(list.error(), LookupError::none);
  nuv::InnerAppList inner;
  EXPECT_TRUE(inner.empty());
  EXPECT_EQ(inner.begin(), inner.end());
  EXPECT_EQ(inner.error(), LookupError::none);
}

TEST_F(KitCatalogue, ThatBecomesShorterWhileItIsWalkedEndsWithoutAFailure) {
  database_.AddMany(6);
  AppList list(Pages(2));
  database_.Run("DELETE FROM widgetinfo WHERE app_index > 0");
  EXPECT_EQ(Ids(list), FirstIds(2));
  EXPECT_EQ(list.error(), LookupError::none);
}

TEST_F(KitCatalogue, ThatCannotBeReadToItsEndSaysSo) {
  database_.AddMany(6);
  AppList list(Pages(2));
  AppList other(Pages(2));
  {
    const auto locked = LockedDatabase(database_, files_.path());
    EXPECT_EQ(Ids(list), FirstIds(2));
    EXPECT_EQ(list.error(), LookupError::busy);
  }
  database_.Run("ALTER TABLE widgetinfo RENAME TO gone");
  EXPECT_EQ(Ids(other), FirstIds(2));
  EXPECT_EQ(other.error(), LookupError::not_found);
  database_.Run("ALTER TABLE gone RENAME TO widgetinfo");
  EXPECT_EQ(Ids(other), FirstIds(6));
  EXPECT_EQ(other.error(), LookupError::none);
}

TEST_F(KitCatalogue, ListsTheInnerSide) {
  database_.AddMany(4);
  const nuv::InnerAppList list;
  std::vector<std::string> ids;
  for (const _APPSINFO_T& app : list) ids.push_back(app.id);
  EXPECT_EQ(ids, FirstIds(4));
  EXPECT_EQ(list.size(), 4u);
  EXPECT_EQ(list[3].id, "app3");
  EXPECT_EQ(list.error(), LookupError::none);
}

TEST_F(KitCatalogue, OfTheInnerSideThatCannotBeReadIsEmptyAndSaysSo) {
  database_.AddMany(4);
  database_.Run("ALTER TABLE widgetinfo RENAME TO gone");
  const nuv::InnerAppList list;
  EXPECT_TRUE(list.empty());
  EXPECT_EQ(list.begin(), list.end());
  EXPECT_EQ(list.error(), LookupError::not_found);
}

// Each array has one owner.
TEST_F(KitCatalogue, IsMovedAndNotCopied) {
  static_assert(!std::is_copy_constructible_v<AppList> && !std::is_copy_constructible_v<nuv::InnerAppList>);
  database_.AddMany(2);
  AppList list;
  AppList moved = std::move(list);
  EXPECT_EQ(Ids(moved), FirstIds(2));
}

}  // namespace
