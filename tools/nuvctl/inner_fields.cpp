// The fields of the inner side's record.
#include <nuv/nuv_inner_database.h>

#include "field_table.h"
#include "record_fields.h"

// clang-format off
template <>
struct Fields<_APPSINFO_T> {
  using Record = _APPSINFO_T;
  static constexpr Field<Record> kAll[] = {
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

nlohmann::ordered_json FieldsOf(const _APPSINFO_T& record) {
  return AllFields(record);
}
