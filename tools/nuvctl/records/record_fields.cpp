#include "records/record_fields.h"

#include <glib.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "report/did_you_mean.h"
#include "report/fitted_columns.h"
#include "report/terminal.h"
#include "report/text.h"

namespace {

template <size_t Size>
Value ValueOf(const char (&text)[Size]) {
  return std::string(text, strnlen(text, Size));
}

template <typename T>
Value ValueOf(const T& value) {
  return value;
}

template <typename Record>
struct Member {
  const char* name;
  Value (*value)(const Record& record);
};

template <typename Record, auto Pointer>
Value Read(const Record& record) {
  return ValueOf(record.*Pointer);
}

#define FIELD(member) \
  { #member, Read < Record, &Record::member> }

// Of each record a table kAll, in the order of its members.
template <typename Record>
struct Members;

// clang-format off
template <>
struct Members<nuv_app_info_s> {
  using Record = nuv_app_info_s;
  static constexpr Member<Record> kAll[] = {
    FIELD(app_id), FIELD(app_title), FIELD(app_installed_path), FIELD(app_icon_path), FIELD(app_panel_icon_path),
    FIELD(app_version), FIELD(install_date), FIELD(app_kelvo_id), FIELD(pkgname), FIELD(widget_category),
    FIELD(app_runtitle), FIELD(install_type), FIELD(reserved_str_a), FIELD(reserved_str_b), FIELD(extra_icon_path),
    FIELD(gamepad), FIELD(firstscreen_icon_dir), FIELD(ambient_screen_support), FIELD(ambient_icon_path),
    FIELD(hbbTV), FIELD(hybrid_app), FIELD(reserved_string_2), FIELD(reserved_string_6), FIELD(reserved_string_9),
    FIELD(size), FIELD(use_count), FIELD(app_index), FIELD(app_featured), FIELD(app_type), FIELD(install_state),
    FIELD(is_hidden), FIELD(is_support_voice), FIELD(is_support_gesture), FIELD(is_network), FIELD(is_removable),
    FIELD(is_display), FIELD(reserved_int_a), FIELD(is_lock), FIELD(reserved_int_b), FIELD(is_premium_game),
    FIELD(is_need_login), FIELD(is_need_update), FIELD(installed_source_type), FIELD(is_updated), FIELD(is_ticker),
    FIELD(is_multi_screen2), FIELD(is_multi_tasking), FIELD(is_usb_app), FIELD(is_age_auth), FIELD(app_age_limit),
    FIELD(use_gamepad), FIELD(reserved_tinyint_1), FIELD(is_icon_mutlilang_support), FIELD(reserved_tinyint_2),
    FIELD(reserved_tinyint_3), FIELD(reserved_tinyint_4), FIELD(reserved_tinyint_5), FIELD(reserved_tinyint_7),
    FIELD(launch_type),
  };
};

template <>
struct Members<nuv_app_ms_s> {
  using Record = nuv_app_ms_s;
  static constexpr Member<Record> kAll[] = {
    FIELD(app_id), FIELD(is_multi_screen2),
  };
};

template <>
struct Members<_APPS_INNER_INFO_T> {
  using Record = _APPS_INNER_INFO_T;
  static constexpr Member<Record> kAll[] = {
    FIELD(id), FIELD(title), FIELD(install_path), FIELD(icon_path), FIELD(panel_icon_path), FIELD(version),
    FIELD(install_date), FIELD(kelvo_id), FIELD(pkgname), FIELD(widget_category), FIELD(reserved_string_18),
    FIELD(run_title), FIELD(install_type), FIELD(extra_icon_path), FIELD(reserved_string_1),
    FIELD(firstscreen_icon_path), FIELD(reserved_string_4), FIELD(ambient_icon_path), FIELD(hbbTV), FIELD(hybrid_app),
    FIELD(reserved_string_2), FIELD(reserved_string_6), FIELD(reserved_string_9), FIELD(reserved_string_15),
    FIELD(reserved_string_10), FIELD(reserved_string_11), FIELD(reserved_string_14), FIELD(nuvorder),
    FIELD(reserved_string_19), FIELD(reserved_string_20), FIELD(size), FIELD(use_count), FIELD(app_index),
    FIELD(app_featured), FIELD(app_type), FIELD(install_state), FIELD(is_hidden), FIELD(is_support_voice),
    FIELD(is_support_gesture), FIELD(is_network), FIELD(is_removable), FIELD(is_display), FIELD(is_lock),
    FIELD(is_premium_game), FIELD(is_need_login), FIELD(is_need_update), FIELD(is_updated), FIELD(is_ticker),
    FIELD(is_multi_screen2), FIELD(is_multi_tasking), FIELD(is_usb_app), FIELD(is_age_auth), FIELD(limit_age),
    FIELD(reserved_tinyint_1), FIELD(reserved_tinyint_8), FIELD(reserved_tinyint_2), FIELD(reserved_tinyint_3),
    FIELD(reserved_tinyint_4), FIELD(reserved_tinyint_5), FIELD(reserved_tinyint_7), FIELD(reserved_int_1),
    FIELD(reserved_tinyint_10), FIELD(reserved_tinyint_11),
  };
};

template <>
struct Members<_APPSINFO_T> {
  using Record = _APPSINFO_T;
  static constexpr Member<Record> kAll[] = {
    FIELD(is_lock), FIELD(is_support_voice), FIELD(is_support_gesture), FIELD(is_hidden), FIELD(is_network),
    FIELD(is_removable), FIELD(is_display), FIELD(is_premium_game), FIELD(is_need_login), FIELD(is_app_available),
    FIELD(is_need_update), FIELD(is_updated), FIELD(is_ticker), FIELD(is_need_reset), FIELD(is_multi_screen2),
    FIELD(is_multi_tasking), FIELD(is_system), FIELD(is_ispbound), FIELD(is_hybrid_tv), FIELD(is_auto_update),
    FIELD(is_age_auth), FIELD(is_usb_app), FIELD(reserved_tinyint_1), FIELD(reserved_tinyint_2),
    FIELD(reserved_tinyint_3), FIELD(reserved_tinyint_4), FIELD(reserved_tinyint_7), FIELD(reserved_tinyint_8),
    FIELD(reserved_tinyint_10), FIELD(reserved_tinyint_5), FIELD(install_source_type), FIELD(app_index), FIELD(size),
    FIELD(app_featured), FIELD(app_type), FIELD(use_count), FIELD(install_state), FIELD(limit_age),
    FIELD(reserved_int_1), FIELD(reserved_tinyint_11), FIELD(id), FIELD(title), FIELD(install_path),
    FIELD(icon_path), FIELD(version), FIELD(install_date), FIELD(kelvo_id), FIELD(pkgname), FIELD(install_type),
    FIELD(widget_category), FIELD(run_title), FIELD(pkg_type), FIELD(pannel_icon_path), FIELD(launch_date),
    FIELD(resources_path), FIELD(icon_updated_date), FIELD(firstscreen_icon_path), FIELD(hbbTV), FIELD(ait_appid),
    FIELD(ait_orgid), FIELD(chanel_name), FIELD(duid), FIELD(hybrid_app), FIELD(reserved_string_2),
    FIELD(reserved_string_3), FIELD(reserved_string_1), FIELD(reserved_string_6), FIELD(reserved_string_8),
    FIELD(reserved_string_10), FIELD(reserved_string_11), FIELD(reserved_string_16), FIELD(reserved_string_4),
    FIELD(reserved_tinyint_14),
  };
};
// clang-format on

#undef FIELD

template <typename Record>
Fields AllFields(const Record& record) {
  Fields fields;
  for (const auto& member : Members<Record>::kAll) fields[member.name] = member.value(record);
  return fields;
}

// In words, as it is: not yet printable.
std::string TextOf(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<int>(&value)) return std::to_string(*number);
  if (const auto* yes = std::get_if<bool>(&value)) return *yes ? "true" : "false";
  return "null";
}

}  // namespace

Fields FieldsOf(const nuv_app_info_s& record) {
  return AllFields(record);
}

Fields FieldsOf(const nuv_app_ms_s& record) {
  return AllFields(record);
}

Fields FieldsOf(const _APPS_INNER_INFO_T& record) {
  return AllFields(record);
}

Fields FieldsOf(const _APPSINFO_T& record) {
  return AllFields(record);
}

namespace {

using Rows = std::vector<std::vector<std::string>>;

Rows RowsOf(const List& records, const std::vector<FieldColumn>& columns) {
  Rows rows(1);
  for (const FieldColumn& column : columns) rows.front().emplace_back(column.heading);
  for (const Value& record : records) {
    rows.emplace_back();
    for (const FieldColumn& column : columns) {
      rows.back().push_back(Shortened(TextOf(std::get<Fields>(record).at(column.field)), column.widest));
    }
  }
  return rows;
}

size_t WidestOf(const Rows& rows, size_t column) {
  size_t widest = 0;
  for (const auto& row : rows) widest = std::max(widest, WidthOf(row[column]));
  return widest;
}

std::vector<FieldColumn> Fit(const Rows& rows, const std::vector<FieldColumn>& columns, size_t width) {
  std::vector<ColumnNeed> needs;
  for (size_t i = 0; i < columns.size(); ++i) {
    needs.push_back({WidestOf(rows, i), columns[i].gives_way, columns[i].dropped});
  }
  const std::vector<size_t> widths = FittedColumns(needs, kColumnGap, width);
  std::vector<FieldColumn> fitted;
  for (size_t i = 0; i < columns.size(); ++i) {
    if (widths[i] == 0) continue;
    fitted.push_back(columns[i]);
    fitted.back().widest = std::min(columns[i].widest, widths[i]);
  }
  return fitted;
}

std::string Cut(const std::string& table, size_t width) {
  std::istringstream lines(table);
  std::string cut;
  for (std::string line; std::getline(lines, line);) cut += (cut.empty() ? "" : "\n") + Shortened(line, width);
  return cut;
}

std::string NameOf(const FieldColumn& column) {
  std::string name;
  for (const char* at = column.heading; *at != '\0'; ++at) {
    name += *at == ' ' ? '-' : static_cast<char>(g_ascii_tolower(*at));
  }
  return name;
}

}  // namespace

std::string RecordTable(const List& records, const std::vector<FieldColumn>& columns,
                        const std::optional<size_t>& width) {
  const Rows rows = RowsOf(records, columns);
  const std::vector<FieldColumn> fitted = width ? Fit(rows, columns, *width) : columns;
  const auto paint = [&fitted](size_t column, const std::string& cell) {
    return fitted[column].state ? PaintedState(cell) : cell;
  };
  const Rows fitted_rows = RowsOf(records, fitted);
  size_t total = 0;
  for (size_t i = 0; i < fitted.size(); ++i) total += WidestOf(fitted_rows, i) + (i == 0 ? 0 : kColumnGap);
  return width && total > *width ? Cut(FormatTable(fitted_rows), *width) : FormatTable(fitted_rows, paint);
}

std::vector<std::string> ColumnNames(const std::vector<FieldColumn>& columns, const Fields& blank) {
  std::vector<std::string> names;
  names.reserve(columns.size());
  for (const FieldColumn& column : columns) names.push_back(NameOf(column));
  for (const Field& field : blank) names.push_back(field.key);
  return names;
}

Argument ColumnsOption(Argument::Suggest names) {
  return Option("--columns", "NAMES", "Only these columns, with commas between them; any field of a record")
      .List({}, nullptr)
      .Suggested(names);
}

Argument WideFlag() {
  return Flag("--wide", "Do not fit the table to the terminal");
}

ChosenTable TableOf(const List& records, const std::vector<FieldColumn>& columns, const Fields& blank,
                    const Values& values) {
  std::vector<FieldColumn> chosen;
  const std::vector<std::string> names = ColumnNames(columns, blank);
  std::istringstream rest(values.Text("--columns"));
  for (std::string name; std::getline(rest, name, ',');) {
    const size_t place = static_cast<size_t>(std::find(names.begin(), names.end(), name) - names.begin());
    if (place == names.size()) return {"no such column: " + Printable(name) + DidYouMean(name, names), ""};
    if (place < columns.size()) {
      chosen.push_back(columns[place]);
      chosen.back().dropped = 0;
    } else {
      const char* field = (blank.begin() + static_cast<long>(place - columns.size()))->key.c_str();
      chosen.push_back({field, field});
    }
  }
  const std::optional<size_t> width = values.Flag("--wide") ? std::nullopt : TerminalColumns();
  return {"", RecordTable(records, chosen.empty() ? columns : chosen, width)};
}

Report WrongColumns(const ChosenTable& table) {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = table.error;
  return report;
}

std::string RecordSheet(const Fields& record) {
  std::vector<std::vector<std::string>> rows;
  for (const Field& field : record) rows.push_back({field.key, TextOf(field.value)});
  return FormatTable(rows);
}
