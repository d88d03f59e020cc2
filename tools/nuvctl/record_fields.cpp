#include "record_fields.h"

#include "field_table.h"
#include "table.h"

using Json = nlohmann::ordered_json;

// clang-format off
template <>
struct Fields<nuv_app_info_s> {
  using Record = nuv_app_info_s;
  static constexpr Field<Record> kAll[] = {
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
struct Fields<nuv_app_ms_s> {
  using Record = nuv_app_ms_s;
  static constexpr Field<Record> kAll[] = {
    FIELD(app_id), FIELD(is_multi_screen2),
  };
};

template <>
struct Fields<_APPS_INNER_INFO_T> {
  using Record = _APPS_INNER_INFO_T;
  static constexpr Field<Record> kAll[] = {
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
// clang-format on

Json FieldsOf(const nuv_app_info_s& record) {
  return AllFields(record);
}

Json FieldsOf(const nuv_app_ms_s& record) {
  return AllFields(record);
}

Json FieldsOf(const _APPS_INNER_INFO_T& record) {
  return AllFields(record);
}

std::string FieldText(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string RecordTable(const Json& records, const std::vector<FieldColumn>& columns) {
  std::vector<std::vector<std::string>> rows(1);
  for (const FieldColumn& column : columns) rows.front().emplace_back(column.heading);
  for (const Json& record : records) {
    rows.emplace_back();
    for (const FieldColumn& column : columns) {
      rows.back().push_back(Shortened(FieldText(record.at(column.field)), column.widest));
    }
  }
  return FormatTable(rows);
}

std::string RecordSheet(const Json& record) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& [name, value] : record.items()) rows.push_back({name, FieldText(value)});
  return FormatTable(rows);
}
