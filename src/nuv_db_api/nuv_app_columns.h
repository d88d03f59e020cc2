// What a full row of the catalogue is read from, and the statement text that follows from it.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

constexpr size_t kColumnSlot = 30;

// The position of a name is the result column that the row mappings read.
constexpr char Column[][kColumnSlot] = {"id",
                                        "title",
                                        "run_title",
                                        "pannel_icon_path",
                                        "firstscreen_icon_path",
                                        "version",
                                        "install_date",
                                        "kelvo_id",
                                        "size",
                                        "app_index",
                                        "app_featured",
                                        "is_support_voice",
                                        "is_support_gesture",
                                        "is_removable",
                                        "is_display",
                                        "is_lock",
                                        "install_source_type",
                                        "is_usb_app",
                                        "is_need_update",
                                        "is_updated",
                                        "is_multi_screen2",
                                        "limit_age",
                                        "is_age_auth",
                                        "app_type",
                                        "icon_path",
                                        "install_path",
                                        "is_hidden",
                                        "is_network",
                                        "is_premium_game",
                                        "pkgname",
                                        "widget_category",
                                        "use_count",
                                        "install_state",
                                        "is_need_login",
                                        "is_ticker",
                                        "is_multi_tasking",
                                        "install_type",
                                        "use_gamepad",
                                        "hbbTV",
                                        "hybrid_app",
                                        "reserved_string_1",
                                        "reserved_string_2",
                                        "reserved_tinyint_1",
                                        "reserved_tinyint_2",
                                        "reserved_tinyint_3",
                                        "reserved_tinyint_4",
                                        "reserved_tinyint_5",
                                        "reserved_tinyint_7",
                                        "reserved_string_3",
                                        "reserved_string_4",
                                        "reserved_tinyint_8",
                                        "reserved_string_5",
                                        "reserved_string_6",
                                        "reserved_int_1",
                                        "reserved_string_9",
                                        "reserved_tinyint_10",
                                        "reserved_string_10",
                                        "reserved_string_11",
                                        "reserved_tinyint_11",
                                        "reserved_string_15",
                                        "reserved_string_14",
                                        "reserved_string_18",
                                        "nuvorder",
                                        "reserved_string_19",
                                        "reserved_string_20"};

// "Column" slots after the first.
constexpr size_t kColumnCount = sizeof(Column) / kColumnSlot;
static_assert(kColumnCount == 65);

// The result column of a name; a name that is not selected does not compile.
constexpr unsigned ColumnOf(std::string_view name) {
  unsigned position = 0;
  while (name != Column[position]) ++position;
  return position;
}

namespace app_columns {

constexpr std::string_view kSelect = "select ";
constexpr std::string_view kFrom = " from widgetinfo";

constexpr size_t TextLength() {
  size_t length = kSelect.size() + kFrom.size() + kColumnCount - 1;
  for (const auto& name : Column) length += std::string_view(name).size();
  return length;
}

constexpr auto MakeText() {
  std::array<char, TextLength()> text = {};
  size_t end = 0;
  const auto append = [&](std::string_view part) {
    for (const char character : part) text[end++] = character;
  };
  append(kSelect);
  for (size_t i = 0; i < kColumnCount; ++i) {
    if (i != 0) append(",");
    append(Column[i]);
  }
  append(kFrom);
  return text;
}

inline constexpr auto kText = MakeText();

}  // namespace app_columns

// "select ... from widgetinfo", to which a query appends its clause.
inline constexpr std::string_view kSelectFullRow(app_columns::kText.data(), app_columns::kText.size());
