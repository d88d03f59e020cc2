// How a row of the catalogue becomes a string-typed record. Every column of the row has a value of its own.
#include <cstring>
#include <type_traits>

#include "database_test.h"
#include "distinct_row.h"
#include "nuv_db_api/nuv_app_row.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

// What the members are filled from, in the order of the members.
const std::vector<std::string> kInnerTextColumns = Words(
    "id title install_path icon_path icon_path version install_date kelvo_id pkgname widget_category "
    "reserved_string_18 run_title install_type icon_path reserved_string_1 icon_path reserved_string_4 "
    "icon_path hbbTV hybrid_app reserved_string_2 reserved_string_6 reserved_string_9 reserved_string_15 "
    "reserved_string_10 reserved_string_11 reserved_string_14 nuvorder reserved_string_19 reserved_string_20");
const std::vector<std::string> kInnerNumberColumns = Words(
    "size use_count app_index app_featured app_type install_state is_hidden is_support_voice is_support_gesture "
    "is_network is_removable is_display is_lock is_premium_game is_need_login is_need_update is_updated "
    "is_ticker is_multi_screen2 is_multi_tasking is_usb_app is_age_auth limit_age reserved_tinyint_1 "
    "reserved_tinyint_8 reserved_tinyint_2 reserved_tinyint_3 reserved_tinyint_4 reserved_tinyint_5 "
    "reserved_tinyint_7 reserved_int_1");

constexpr size_t kTextCount = 30;
constexpr size_t kNumberCount = 31;
static_assert(sizeof(_APPS_INNER_INFO_T) >= kTextCount * sizeof(std::string) + kNumberCount * sizeof(int) + 2);
static_assert(std::is_copy_constructible_v<_APPS_INNER_INFO_T> && std::is_copy_assignable_v<_APPS_INNER_INFO_T>);

// The members by their position: first the texts, then the numbers, then the flags.
const std::string& TextMember(const _APPS_INNER_INFO_T& info, size_t index) {
  return *reinterpret_cast<const std::string*>(reinterpret_cast<const char*>(&info) + index * sizeof(std::string));
}

template <typename T>
T MemberBehindTexts(const _APPS_INNER_INFO_T& info, size_t offset) {
  T value;
  memcpy(&value, reinterpret_cast<const char*>(&info) + kTextCount * sizeof(std::string) + offset, sizeof value);
  return value;
}

int NumberMember(const _APPS_INNER_INFO_T& info, size_t index) {
  return MemberBehindTexts<int>(info, index * sizeof(int));
}

bool FlagMember(const _APPS_INNER_INFO_T& info, size_t index) {
  return MemberBehindTexts<bool>(info, kNumberCount * sizeof(int) + index);
}

class InnerRecords : public DatabaseTest {
 protected:
  _APPS_INNER_INFO_T Read(const AppDatabase::Row& row) {
    database_.Run("delete from widgetinfo");
    database_.Add("", row);
    StatementCycle cycle;
    EXPECT_EQ(0, cycle.Begin(AppDatabase::FullRowSelect(), {}));
    EXPECT_TRUE(cycle.NextRow());
    _APPS_INNER_INFO_T info = Filled();
    GetInnerInfo(info);
    EXPECT_FALSE(cycle.NextRow());
    return info;
  }

  // A record that has something in every member.
  static _APPS_INNER_INFO_T Filled() {
    _APPS_INNER_INFO_T info;
    for (size_t i = 0; i < kTextCount; ++i) const_cast<std::string&>(TextMember(info, i)) = "before";
    memset(static_cast<void*>(&info.size), 1, kNumberCount * sizeof(int) + 2);
    return info;
  }
};

TEST_F(InnerRecords, StartEmpty) {
  const _APPS_INNER_INFO_T info;
  for (size_t i = 0; i < kTextCount; ++i) EXPECT_EQ("", TextMember(info, i)) << i;
  for (size_t i = 0; i < kNumberCount; ++i) EXPECT_EQ(0, NumberMember(info, i)) << i;
  EXPECT_FALSE(FlagMember(info, 0));
  EXPECT_FALSE(FlagMember(info, 1));
}

TEST_F(InnerRecords, EachMemberHasItsColumn) {
  ASSERT_EQ(kTextCount, kInnerTextColumns.size());
  ASSERT_EQ(kNumberCount, kInnerNumberColumns.size());
  const _APPS_INNER_INFO_T info = Read(DistinctRow());
  for (size_t i = 0; i < kTextCount; ++i) EXPECT_EQ(TextOf(kInnerTextColumns[i]), TextMember(info, i)) << i;
  for (size_t i = 0; i < kNumberCount; ++i) EXPECT_EQ(NumberOf(kInnerNumberColumns[i]), NumberMember(info, i)) << i;
  EXPECT_TRUE(info.reserved_tinyint_10);
  EXPECT_TRUE(info.reserved_tinyint_11);
}

TEST_F(InnerRecords, EachFlagIsSetByItsOwnColumnNotBeingZero) {
  for (const int value : {1, -1, 2, 256}) {
    _APPS_INNER_INFO_T info = Read({{"id", "app"}, {"reserved_tinyint_10", value}, {"reserved_tinyint_11", 0}});
    EXPECT_TRUE(FlagMember(info, 0)) << value;
    EXPECT_FALSE(FlagMember(info, 1)) << value;
    info = Read({{"id", "app"}, {"reserved_tinyint_10", 0}, {"reserved_tinyint_11", value}});
    EXPECT_FALSE(FlagMember(info, 0)) << value;
    EXPECT_TRUE(FlagMember(info, 1)) << value;
  }
}

TEST_F(InnerRecords, NullColumnsEmptyTheirMembers) {
  AppDatabase::Row row;
  for (const auto& [name, is_number] : AppDatabase::Columns()) row[name] = nullptr;
  const _APPS_INNER_INFO_T info = Read(row);
  for (size_t i = 0; i < kTextCount; ++i) EXPECT_EQ("", TextMember(info, i)) << i;
  for (size_t i = 0; i < kNumberCount; ++i) EXPECT_EQ(0, NumberMember(info, i)) << i;
  EXPECT_FALSE(FlagMember(info, 0));
  EXPECT_FALSE(FlagMember(info, 1));
}

TEST_F(InnerRecords, TextsOfAnyLengthAreWhole) {
  AppDatabase::Row row;
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    if (!is_number) row[name] = name + std::string(100000, 'x') + "\xe2\x82\xac";
  }
  const _APPS_INNER_INFO_T info = Read(row);
  for (size_t i = 0; i < kTextCount; ++i) {
    EXPECT_EQ(std::get<std::string>(row[kInnerTextColumns[i]]), TextMember(info, i)) << i;
  }
}

TEST_F(InnerRecords, AllIconMembersHaveTheIconPathAndNoOtherIconColumn) {
  const _APPS_INNER_INFO_T info = Read(
      {{"id", "app"}, {"icon_path", "/icon"}, {"pannel_icon_path", "/panel"}, {"firstscreen_icon_path", "/first"}});
  for (const auto& member : {info.icon_path, info.panel_icon_path, info.extra_icon_path, info.firstscreen_icon_path,
                             info.ambient_icon_path}) {
    EXPECT_EQ("/icon", member);
  }
}

}  // namespace
