// How nuvctl shows records: their fields, tables of them, and texts of every kind in a terminal's columns.
#include <gmock/gmock.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "records/record_fields.h"
#include "report/fitted_columns.h"
#include "report/text.h"

using Json = nlohmann::ordered_json;

template <typename Record>
Json JsonOf(const Record& record) {
  return Json::parse(ToJson(FieldsOf(record)));
}

TEST(TextWidth, CountsTheColumnsOfATerminal) {
  EXPECT_EQ(WidthOf(""), 0u);
  EXPECT_EQ(WidthOf("abc"), 3u);
  EXPECT_EQ(WidthOf("Zürich"), 6u);
  EXPECT_EQ(WidthOf("서울"), 4u);
  EXPECT_EQ(WidthOf("東京tower"), 9u);
  EXPECT_EQ(WidthOf("🎉"), 2u);
  EXPECT_EQ(WidthOf("e\u0301"), 1u);  // a combining accent
  EXPECT_EQ(WidthOf("\u0e01\u0e33\u0e35"), 2u);
}

TEST(Table, AlignsItsColumnsWhateverTheCharacters) {
  EXPECT_EQ(FormatTable({{"A", "B", "C"}, {"서울", "x", "1"}, {"cafe\u0301", "longer", "2"}, {"", "", "3"}}),
            "A     B       C\n"
            "서울  x       1\n"
            "cafe\u0301  longer  2\n"
            "              3");
}

TEST(Table, LeavesNoBlanksAtTheEndOfALine) {
  EXPECT_EQ(FormatTable({{"long name", "x"}, {"a", ""}, {"b"}}), "long name  x\na\nb");
  EXPECT_EQ(FormatTable({}), "");
}

TEST(Table, KeepsEachRowOnItsLine) {
  EXPECT_EQ(FormatTable({{"a\nb", "\x1b[2J"}, {"c\u2028d", "\xff"}}), "a\\u000ab  \\u001b[2J\nc\\u2028d  \ufffd");
}

TEST(ShortenedText, IsCutBetweenCharacters) {
  EXPECT_EQ(Shortened("abcdef", 6), "abcdef");
  EXPECT_EQ(Shortened("abcdefg", 6), "abcde…");
  EXPECT_EQ(Shortened("서울날씨", 8), "서울날씨");
  EXPECT_EQ(Shortened("서울날씨", 7), "서울날…");
  EXPECT_EQ(Shortened("서울날씨", 6), "서울…");
}

TEST(ShortenedText, KeepsCombiningCharactersWithTheirBase) {
  EXPECT_EQ(Shortened("ae\u0301\u0302bc", 3), "ae\u0301\u0302…");
}

TEST(ShortenedText, IsCutBetweenEscapes) {
  EXPECT_EQ(Shortened("ab\x1b\x1b", 10), "ab\\u001b…");
  EXPECT_EQ(Shortened("ab\xff\xff\xff", 4), "ab\ufffd…");
}

TEST(PublicRecord, ShowsEachMemberUnderItsNameAndInItsOrder) {
  nuv_app_info_s record = {};
  auto* texts = reinterpret_cast<char(*)[NUV_APP_TEXT_SIZE]>(&record);
  for (int i = 0; i < 24; ++i) std::strcpy(texts[i], ("text " + std::to_string(i)).c_str());
  for (int i = 0; i < 35; ++i) (&record.size)[i] = 100 + i;
  static_assert(sizeof record == 24 * NUV_APP_TEXT_SIZE + 35 * sizeof(int));
  const Json fields = JsonOf(record);
  ASSERT_EQ(fields.size(), 59u);
  int position = 0;
  for (const auto& [name, value] : fields.items()) {
    EXPECT_EQ(value, position < 24 ? Json("text " + std::to_string(position)) : Json(100 + position - 24)) << name;
    ++position;
  }
  EXPECT_EQ(fields["app_id"], "text 0");
  EXPECT_EQ(fields["launch_type"], 134);
}

TEST(PublicRecord, EndsATextThatFillsItsMember) {
  nuv_app_info_s record = {};
  std::memset(record.app_title, 'x', sizeof record.app_title);
  EXPECT_EQ(JsonOf(record)["app_title"], std::string(NUV_APP_TEXT_SIZE, 'x'));
}

TEST(MultiScreenRecord, ShowsItsTwoMembers) {
  EXPECT_EQ(ToJson(FieldsOf(nuv_app_ms_s{"a.b", 7})), R"({"app_id":"a.b","is_multi_screen2":7})");
}

TEST(ServiceRecord, ShowsTextsNumbersAndSwitches) {
  _APPS_INNER_INFO_T record;
  record.title = std::string(1000, 'x');
  record.limit_age = 12;
  record.reserved_tinyint_11 = true;
  const Json fields = JsonOf(record);
  EXPECT_EQ(fields.size(), 63u);
  EXPECT_EQ(fields["title"], record.title);
  EXPECT_EQ(fields["limit_age"], 12);
  EXPECT_EQ(fields["reserved_tinyint_10"], false);
  EXPECT_EQ(fields["reserved_tinyint_11"], true);
}

TEST(RecordTables, ShowTheChosenFieldsBelowTheirHeadings) {
  const Fields first = {{"id", "a"}, {"n", 5}, {"on", true}};
  const Fields second = {{"id", "longer"}, {"n", -1}, {"on", false}};
  EXPECT_EQ(RecordTable({first, second}, {{"NUMBER", "n"}, {"ID", "id", 4}, {"ON", "on"}}),
            "NUMBER  ID    ON\n"
            "5       a     true\n"
            "-1      lon…  false");
  EXPECT_EQ(RecordSheet(first), "id  a\nn   5\non  true");
}

TEST(SqlLists, QuoteEachIdAndDoubleTheQuotesInside) {
  EXPECT_EQ(SqlList({"a"}), "'a'");
  EXPECT_EQ(SqlList({"a", "b.c", ""}), "'a','b.c',''");
  EXPECT_EQ(SqlList({"it's", "''", "') or 1=1 --", "%s\\'"}), "'it''s','''''',''') or 1=1 --','%s\\'''");
}

TEST(FittedTables, ATitleGivesWayBeforeAnyColumnIsDroppedInItsOrder) {
  using testing::ElementsAre;
  const std::vector<ColumnNeed> needs = {{10, false, 0}, {20, true, 0}, {5, false, 2}, {5, false, 1}};
  EXPECT_THAT(FittedColumns(needs, 2, 100), ElementsAre(10, 20, 5, 5));
  EXPECT_THAT(FittedColumns(needs, 2, 46), ElementsAre(10, 20, 5, 5));
  EXPECT_THAT(FittedColumns(needs, 2, 45), ElementsAre(10, 19, 5, 5));
  EXPECT_THAT(FittedColumns(needs, 2, 34), ElementsAre(10, 8, 5, 5));
  EXPECT_THAT(FittedColumns(needs, 2, 33), ElementsAre(10, 14, 5, 0));
  EXPECT_THAT(FittedColumns(needs, 2, 26), ElementsAre(10, 14, 0, 0));
  EXPECT_THAT(FittedColumns(needs, 2, 5), ElementsAre(10, 8, 0, 0));
}
