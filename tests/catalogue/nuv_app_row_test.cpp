// How a row of the catalogue becomes a record. Every column of the row has a value of its own.
#include "nuv_db_api/nuv_app_row.h"

#include <cstddef>
#include <cstring>

#include "database_test.h"
#include "distinct_row.h"
#include "nuv_db_api/nuv_app_columns.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_db_common/nuv_statement.h"

namespace {

// What the members are filled from, in the order of the members; "-": the member is not filled.
const std::vector<std::string> kTextColumns = Words(
    "id title install_path icon_path icon_path version install_date kelvo_id pkgname widget_category run_title "
    "install_type - - icon_path reserved_string_1 icon_path reserved_string_4 icon_path hbbTV hybrid_app "
    "reserved_string_2 reserved_string_6 reserved_string_9");
const std::vector<std::string> kNumberColumns = Words(
    "size use_count app_index app_featured app_type install_state is_hidden is_support_voice is_support_gesture "
    "is_network is_removable is_display - is_lock - is_premium_game is_need_login is_need_update "
    "install_source_type is_updated is_ticker is_multi_screen2 is_multi_tasking is_usb_app is_age_auth "
    "limit_age use_gamepad reserved_tinyint_1 reserved_tinyint_8 reserved_tinyint_2 reserved_tinyint_3 "
    "reserved_tinyint_4 reserved_tinyint_5 reserved_tinyint_7 reserved_int_1");

constexpr size_t kTextCount = 24;
constexpr size_t kNumberCount = 35;
static_assert(sizeof(nuv_app_info_s) == 3212);

constexpr size_t kTextSize = 128;
constexpr char kFiller = '#';

// The text members and the number members of a record as bytes.
const char* TextMember(const nuv_app_info_s& info, size_t index) {
  return reinterpret_cast<const char*>(&info) + index * kTextSize;
}

int NumberMember(const nuv_app_info_s& info, size_t index) {
  int value;
  memcpy(&value, reinterpret_cast<const char*>(&info) + kTextCount * kTextSize + index * sizeof value, sizeof value);
  return value;
}

class Records : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    memset(&info_, kFiller, sizeof info_);
  }

  void AddDistinctRow() { database_.Add("", DistinctRow()); }

  // Runs the mapping on the first row of the full-row statement.
  template <typename Mapping>
  void Map(const Mapping& mapping, const std::string& select = AppDatabase::FullRowSelect()) {
    StatementCycle cycle;
    ASSERT_EQ(0, cycle.Begin(select, {}));
    ASSERT_TRUE(cycle.NextRow());
    mapping();
  }
  void MapInfo() {
    Map([this] { m_GetWidgetInfo(&info_); });
  }

  nuv_app_info_s info_;
};

TEST_F(Records, ColumnListIsAFixedTableOfSixtyFiveSlots) {
  EXPECT_EQ(AppDatabase::FullRowSelect(), AppColumns::Select());
  EXPECT_EQ(65u * 30u, sizeof Column);
  for (size_t i = 0; i < AppColumns::kCount; ++i) {
    for (size_t j = strlen(Column[i]); j < 30; ++j) EXPECT_EQ('\0', Column[i][j]) << Column[i];
  }
}

TEST_F(Records, EachTextMemberHasItsColumn) {
  ASSERT_EQ(kTextCount, kTextColumns.size());
  AddDistinctRow();
  MapInfo();
  for (size_t i = 0; i < kTextCount; ++i) {
    const std::string member(TextMember(info_, i), kTextSize);
    std::string expected(kTextSize, kFiller);
    if (kTextColumns[i] != "-") {
      const std::string text = TextOf(kTextColumns[i]);
      expected = text + std::string(kTextSize - 1 - text.size(), '\0') + kFiller;
    }
    EXPECT_EQ(expected, member) << "member " << i + 1;
  }
  EXPECT_STREQ("text of reserved_string_1", info_.gamepad);
  EXPECT_STREQ("text of reserved_string_4", info_.ambient_screen_support);
}

TEST_F(Records, EachNumberMemberHasItsColumn) {
  ASSERT_EQ(kNumberCount, kNumberColumns.size());
  AddDistinctRow();
  MapInfo();
  constexpr int filler = 0x23232323;
  for (size_t i = 0; i < kNumberCount; ++i) {
    const int expected = kNumberColumns[i] == "-" ? filler : NumberOf(kNumberColumns[i]);
    EXPECT_EQ(expected, NumberMember(info_, i)) << "member " << i + 25;
  }
  EXPECT_EQ(NumberOf("reserved_int_1"), info_.launch_type);
}

TEST_F(Records, MembersThatAreNotFilledStayZeroInAClearedRecord) {
  AddDistinctRow();
  info_ = {};
  MapInfo();
  EXPECT_EQ(std::string(kTextSize, '\0'), std::string(info_.reserved_str_a, kTextSize));
  EXPECT_EQ(std::string(kTextSize, '\0'), std::string(info_.reserved_str_b, kTextSize));
  EXPECT_EQ(0, info_.reserved_int_a);
  EXPECT_EQ(0, info_.reserved_int_b);
}

TEST_F(Records, AllIconMembersHaveTheIconPathAndNoOtherIconColumn) {
  database_.Add("app", {{"icon_path", "/icon"}, {"pannel_icon_path", "/panel"}, {"firstscreen_icon_path", "/first"}});
  MapInfo();
  EXPECT_STREQ("/icon", info_.app_icon_path);
  EXPECT_STREQ("/icon", info_.app_panel_icon_path);
  EXPECT_STREQ("/icon", info_.extra_icon_path);
  EXPECT_STREQ("/icon", info_.firstscreen_icon_dir);
  EXPECT_STREQ("/icon", info_.ambient_icon_path);
}

TEST_F(Records, NullColumnsAreEmptyTextsAndZeros) {
  AppDatabase::Row row;
  for (const auto& [name, is_number] : AppDatabase::Columns()) row[name] = nullptr;
  database_.Add("", row);
  MapInfo();
  for (size_t i = 0; i < kTextCount; ++i) {
    if (kTextColumns[i] == "-") continue;
    EXPECT_STREQ("", TextMember(info_, i)) << "member " << i + 1;
  }
  for (size_t i = 0; i < kNumberCount; ++i) {
    if (kNumberColumns[i] == "-") continue;
    EXPECT_EQ(0, NumberMember(info_, i)) << "member " << i + 25;
  }
}

TEST_F(Records, EveryTextIsCutTo127BytesAndTheLastByteIsNeverWritten) {
  const std::string text = std::string(100, 'a') + std::string(100, 'b');
  AppDatabase::Row row;
  for (const auto& [name, is_number] : AppDatabase::Columns()) {
    if (!is_number) row[name] = text;
  }
  database_.Add("", row);
  MapInfo();
  for (size_t i = 0; i < kTextCount; ++i) {
    if (kTextColumns[i] == "-") continue;
    EXPECT_EQ(text.substr(0, 127) + kFiller, std::string(TextMember(info_, i), kTextSize)) << "member " << i + 1;
  }
}

TEST_F(Records, TextsOf127And128BytesAreCutAlike) {
  database_.Add("app", {{"title", std::string(127, 't')}, {"version", std::string(128, 'v')}});
  MapInfo();
  EXPECT_EQ(std::string(127, 't') + kFiller, std::string(info_.app_title, kTextSize));
  EXPECT_EQ(std::string(127, 'v') + kFiller, std::string(info_.app_version, kTextSize));
}

TEST_F(Records, ACharacterOfSeveralBytesMayBeCutInItsMiddle) {
  const std::string title = "a" + std::string(125, 'b') + "\xe2\x82\xac";  // a euro sign from byte 126 on
  database_.Add("app", {{"title", title}});
  info_ = {};
  MapInfo();
  EXPECT_EQ(title.substr(0, 126) + "\xe2", info_.app_title);
}

TEST_F(Records, NumbersThatAreTextsAndTextsThatAreNumbersAreConverted) {
  database_.Run("insert into widgetinfo (id, install_type, hbbTV, size) values ('app', 12, 1.5, '42 bytes')");
  MapInfo();
  EXPECT_STREQ("12", info_.install_type);
  EXPECT_STREQ("1.5", info_.hbbTV);
  EXPECT_EQ(42, info_.size);
}

TEST_F(Records, ANullRecordDoesNothing) {
  AddDistinctRow();
  Map([] { m_GetWidgetInfo(nullptr); });
}

TEST_F(Records, TheMultiScreenRecordHasAnIdAndAFlag) {
  static_assert(sizeof(nuv_app_ms_s) == 132 && offsetof(nuv_app_ms_s, is_multi_screen2) == 128);
  database_.Add(std::string(200, 'i'), {{"is_multi_screen2", 5}});
  nuv_app_ms_s info;
  memset(&info, kFiller, sizeof info);
  Map([&] { GetMultiScreenInfo(info); }, "select id,is_multi_screen2 from widgetinfo");
  EXPECT_EQ(std::string(127, 'i') + kFiller, std::string(info.app_id, kTextSize));
  EXPECT_EQ(5, info.is_multi_screen2);
}

}  // namespace
