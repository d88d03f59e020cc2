// Groups: cutting a list into pairs, and finding the application of a group.
#include <nuv/nuv_app_records.h>
#include <nuv_common/nuv_lock.h>

#include "catalogue_log.h"
#include "database_test.h"
#include "held_mutex.h"

namespace {

using Map = std::map<std::string, std::string>;

Map Pairs(const std::string& text, const std::string& items = ",", const std::string& pairs = ":") {
  Map out;
  ParseStringToList(text, items, pairs, out);
  return out;
}

TEST(PairList, IsCutIntoItemsAndPairs) {
  EXPECT_EQ((Map{{"a", "x"}, {"b", "y"}}), Pairs("a:x,b:y"));
  EXPECT_EQ((Map{{"a", "x"}}), Pairs("a:x"));
  EXPECT_EQ((Map{{"a", "x"}, {"b", "y"}}), Pairs(",,a:x,,b:y,"));
  EXPECT_EQ((Map{{" a ", " x "}}), Pairs(" a : x "));
}

TEST(PairList, EndsAKeyAtTheFirstPairSeparator) {
  EXPECT_EQ((Map{{"a", "x:y"}}), Pairs("a:x:y"));
  EXPECT_EQ((Map{{"a", ":"}}), Pairs("a::"));
  EXPECT_EQ((Map{{"", "x"}}), Pairs(":x"));
}

TEST(PairList, LeavesOutItemsWithoutSeparatorOrValue) {
  EXPECT_EQ(Map{}, Pairs("a"));
  EXPECT_EQ(Map{}, Pairs("a:"));
  EXPECT_EQ(Map{}, Pairs(":"));
  EXPECT_EQ(Map{}, Pairs(","));
  EXPECT_EQ((Map{{"b", "y"}}), Pairs("a,b:y,c:"));
}

TEST(PairList, TakesEachSeparatorOfASet) {
  EXPECT_EQ((Map{{"a", "x"}, {"b", "y"}, {"c", "z"}}), Pairs("a:x,b=y;c:z", ",;", ":="));
  EXPECT_EQ((Map{{"a", "x,b:y"}}), Pairs("a:x,b:y", "", ":"));
  EXPECT_EQ(Map{}, Pairs("a:x,b:y", ",", ""));
}

TEST(PairList, KeepsTheFirstValueOfAKey) {
  EXPECT_EQ((Map{{"a", "x"}}), Pairs("a:x,a:z"));
  Map out = {{"a", "before"}};
  ParseStringToList("a:x,b:y", ",", ":", out);
  EXPECT_EQ((Map{{"a", "before"}, {"b", "y"}}), out);
}

TEST(PairList, LogsEachPairAsItIs) {
  EXPECT_EQ((LogLines{"I find a x", "I find a z", "I find 100%s it's \"%n\""}),
            LogOf([] { Pairs("a:x,none,a:z,100%s:it's \"%n\""); }));
}

TEST(PairList, AnEmptyTextIsLoggedAndAddsNothing) {
  Map out = {{"a", "before"}};
  EXPECT_EQ(LogLines{"I String is empty!"}, LogOf([&] { ParseStringToList("", ",", ":", out); }));
  EXPECT_EQ((Map{{"a", "before"}}), out);
}

class AppGroup : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    fake_platform::SetFactoryReset(0);
    database_.Add("here");
    database_.Add("gone", {{"install_state", 2}});
  }

  void SetList(const std::string& list) {
    database_.Run("delete from NUVConfigTable");
    database_.AddConfig("RESERVED_27", list);
  }
  // The result and the id, which is "before" where it is left alone.
  std::string Find(const std::string& key) {
    std::string app = "before";
    int result = 99;
    GetAppIDFromAppGroupList(key, app, result);
    return std::to_string(result) + " " + app;
  }
};

TEST_F(AppGroup, LeadsToAnInstalledApplication) {
  SetList("tv:gone,web:here");
  EXPECT_EQ("0 here", Find("web"));
}

TEST_F(AppGroup, MayLeadToAnApplicationThatIsNotInstalled) {
  SetList("tv:gone,web:unknown");
  EXPECT_EQ("1 gone", Find("tv"));
  EXPECT_EQ("1 unknown", Find("web"));
}

TEST_F(AppGroup, IsUnknownWhereTheListDoesNotNameIt) {
  SetList("web:here");
  for (const char* key : {"tv", "Web", "web ", "", "here"}) EXPECT_EQ("3 before", Find(key)) << key;
}

TEST_F(AppGroup, IsNamedByAKeyThatEndsAtItsFirstZeroByte) {
  SetList("web:here");
  EXPECT_EQ("0 here", Find(std::string("web\0z", 5)));
  EXPECT_EQ("3 before", Find(std::string("\0web", 4)));
}

TEST_F(AppGroup, IsUnknownWithoutAList) {
  EXPECT_EQ("3 before", Find("web"));
  EXPECT_EQ(4, fake_platform::LogPriority(Yellow("the runtitle list ")));
  SetList("");
  EXPECT_EQ("3 before", Find("web"));
  database_.Run("update NUVConfigTable set value = null");
  EXPECT_EQ("3 before", Find("web"));
  database_.Run("drop table NUVConfigTable");
  EXPECT_EQ("3 before", Find("web"));
}

TEST_F(AppGroup, HasTheFirstOfTwoValues) {
  SetList("web:here,web:gone");
  EXPECT_EQ("0 here", Find("web"));
}

TEST_F(AppGroup, IsSeparatedByCommaAndColonOnly) {
  std::string name;
  for (char c = ' '; c <= '~'; ++c) {
    if (c != ',' && c != ':') name += c;
  }
  SetList("web:gone," + name + ":here");
  EXPECT_EQ("0 here", Find(name));
}

TEST_F(AppGroup, IsFoundByTheIdsThatALookupTakes) {
  database_.Add("id", {{"pkgname", "package"}, {"kelvo_id", "kelvo"}});
  SetList("a:package,b:kelvo");
  EXPECT_EQ("0 package", Find("a"));
  EXPECT_EQ("0 kelvo", Find("b"));
}

TEST_F(AppGroup, LogsTheListAndItsPairsBeforeTheLookup) {
  SetList("100%s:here");
  const LogLines log = LogOf([this] { EXPECT_EQ("0 here", Find("100%s")); });
  const LogLines start =
      Join({{"I Start : table:[NUVConfigTable] strkey:[RESERVED_27]"},
            OpenedLines(database_.path()),
            PreparedLine(0),
            RowLines(),
            {"I strValue =100%s:here"},
            DoneLines(),
            {"I Get DB finish:strName:[RESERVED_27],strValue:[100%s:here]",
             "I " + Yellow("the runtitle list 100%s:here"), "I find 100%s here", "I " + Green("Start, app_id:[here]")},
            GuardLines()});
  ASSERT_GE(log.size(), start.size());
  EXPECT_EQ(start, LogLines(log.begin(), log.begin() + static_cast<long>(start.size())));
  EXPECT_EQ("I " + Green("Finish app_id:[here],ret[0]"), log.back());
}

TEST_F(AppGroup, LooksNothingUpForAGroupThatIsUnknown) {
  SetList("web:here");
  Find("tv");
  EXPECT_EQ(std::vector<std::string>{"select value from NUVConfigTable where name = ?"}, sqlite_faults::Prepared());
}

TEST_F(AppGroup, IsReadDuringAResetWithoutAnApplication) {
  SetList("web:here");
  fake_platform::SetFactoryReset(1);
  EXPECT_EQ("1 here", Find("web"));
  EXPECT_EQ("3 before", Find("tv"));
}

TEST_F(AppGroup, IsUnknownWhileTheDatabaseIsBusy) {
  SetList("web:here");
  const auto locker = LockDatabase();
  EXPECT_EQ("3 before", Find("web"));
}

TEST_F(AppGroup, IsThereThoughTheDatabaseBecomesBusyBehindTheList) {
  SetList("web:here");
  EXPECT_EQ("3 before", Find("tv"));  // connects
  sqlite_faults::step_codes = std::deque<int>(51, SQLITE_BUSY);
  sqlite_faults::step_codes.front() = 0;
  EXPECT_EQ("0 here", Find("web"));
}

TEST_F(AppGroup, TakesNoMutex) {
  SetList("web:here");
  std::string found;
  EXPECT_TRUE(LeavesMutexAlone(g_Mute, [&] { found = Find("web"); }));
  EXPECT_EQ("0 here", found);
}

}  // namespace
