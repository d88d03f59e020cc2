#include "catalogue/catalogue_columns.h"

#include <iterator>

namespace simulator {
namespace {

constexpr Column Text(const char* name) {
  return {name, ColumnType::kText, 0};
}

constexpr Column Number(const char* name, int default_number = 0) {
  return {name, ColumnType::kInteger, default_number};
}

// The defaults describe an installed, available, removable, displayed web application without a place in the order.
constexpr Column kColumns[] = {
    Text("id"),
    Text("title"),
    Text("run_title"),
    Text("kelvo_id"),
    Text("pkgname"),
    Text("version"),
    Text("install_path"),
    Text("resources_path"),
    Text("icon_path"),
    Text("pannel_icon_path"),
    Text("firstscreen_icon_path"),
    Text("icon_updated_date"),
    Text("install_date"),
    Text("launch_date"),
    Text("install_type"),
    Text("pkg_type"),
    Text("widget_category"),
    Text("hybrid_app"),
    Text("hbbTV"),
    Text("ait_appid"),
    Text("ait_orgid"),
    Text("chanel_name"),
    Text("cp_name"),
    Text("duid"),
    Text("nuvorder"),
    Number("app_index", -1),
    Number("app_featured", 1),
    Number("app_type", 2),
    Number("size"),
    Number("use_count"),
    Number("install_state", 3),
    Number("install_source_type", 1),
    Number("is_app_available", 1),
    Number("is_need_reset"),
    Number("is_hidden"),
    Number("is_lock"),
    Number("is_display", 1),
    Number("is_removable", 1),
    Number("is_system"),
    Number("is_network"),
    Number("is_support_voice"),
    Number("is_support_gesture"),
    Number("is_premium_game"),
    Number("is_need_login"),
    Number("is_need_update"),
    Number("is_updated"),
    Number("is_auto_update"),
    Number("is_ticker"),
    Number("is_multi_screen2"),
    Number("is_multi_tasking", 1),
    Number("is_ispbound"),
    Number("is_hybrid_tv"),
    Number("is_age_auth"),
    Number("is_usb_app"),
    Number("limit_age"),
    Number("use_gamepad"),
    Text("reserved_string_1"),
    Text("reserved_string_2"),
    Text("reserved_string_3"),
    Text("reserved_string_4"),
    Text("reserved_string_5"),
    Text("reserved_string_6"),
    Text("reserved_string_8"),
    Text("reserved_string_9"),
    Text("reserved_string_10"),
    Text("reserved_string_11"),
    Text("reserved_string_14"),
    Text("reserved_string_15"),
    Text("reserved_string_16"),
    Text("reserved_string_18"),
    Text("reserved_string_19"),
    Text("reserved_string_20"),
    Number("reserved_int_1"),
    Number("reserved_tinyint_1"),
    Number("reserved_tinyint_2"),
    Number("reserved_tinyint_3"),
    Number("reserved_tinyint_4"),
    Number("reserved_tinyint_5"),
    Number("reserved_tinyint_7"),
    Number("reserved_tinyint_8"),
    Number("reserved_tinyint_10"),
    Number("reserved_tinyint_11", 1),
    Number("reserved_tinyint_13"),
    Number("reserved_tinyint_14"),
};

}  // namespace

const std::vector<Column>& CatalogueColumns() {
  static const std::vector<Column> columns(std::begin(kColumns), std::end(kColumns));
  return columns;
}

}  // namespace simulator
