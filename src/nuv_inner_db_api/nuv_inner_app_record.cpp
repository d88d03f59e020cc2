#include "nuv_inner_db_api/nuv_inner_app_record.h"

#include <cstddef>

#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"

namespace {

template <typename T>
struct RecordMember {
  T _APPSINFO_T::*member;
  unsigned column;
};

constexpr RecordMember<bool> kFlags[] = {
    {&_APPSINFO_T::is_lock, InnerAppColumns::PositionOf("is_lock")},
    {&_APPSINFO_T::is_support_voice, InnerAppColumns::PositionOf("is_support_voice")},
    {&_APPSINFO_T::is_support_gesture, InnerAppColumns::PositionOf("is_support_gesture")},
    {&_APPSINFO_T::is_hidden, InnerAppColumns::PositionOf("is_hidden")},
    {&_APPSINFO_T::is_network, InnerAppColumns::PositionOf("is_network")},
    {&_APPSINFO_T::is_removable, InnerAppColumns::PositionOf("is_removable")},
    {&_APPSINFO_T::is_display, InnerAppColumns::PositionOf("is_display")},
    {&_APPSINFO_T::is_premium_game, InnerAppColumns::PositionOf("is_premium_game")},
    {&_APPSINFO_T::is_need_login, InnerAppColumns::PositionOf("is_need_login")},
    {&_APPSINFO_T::is_app_available, InnerAppColumns::PositionOf("is_app_available")},
    {&_APPSINFO_T::is_need_update, InnerAppColumns::PositionOf("is_need_update")},
    {&_APPSINFO_T::is_updated, InnerAppColumns::PositionOf("is_updated")},
    {&_APPSINFO_T::is_ticker, InnerAppColumns::PositionOf("is_ticker")},
    {&_APPSINFO_T::is_need_reset, InnerAppColumns::PositionOf("is_need_reset")},
    {&_APPSINFO_T::is_multi_screen2, InnerAppColumns::PositionOf("is_multi_screen2")},
    {&_APPSINFO_T::is_multi_tasking, InnerAppColumns::PositionOf("is_multi_tasking")},
    {&_APPSINFO_T::is_system, InnerAppColumns::PositionOf("is_system")},
    {&_APPSINFO_T::is_ispbound, InnerAppColumns::PositionOf("is_ispbound")},
    {&_APPSINFO_T::is_hybrid_tv, InnerAppColumns::PositionOf("is_hybrid_tv")},
    {&_APPSINFO_T::is_auto_update, InnerAppColumns::PositionOf("is_auto_update")},
    {&_APPSINFO_T::is_age_auth, InnerAppColumns::PositionOf("is_age_auth")},
    {&_APPSINFO_T::is_usb_app, InnerAppColumns::PositionOf("is_usb_app")},
    {&_APPSINFO_T::reserved_tinyint_1, InnerAppColumns::PositionOf("reserved_tinyint_1")},
    {&_APPSINFO_T::reserved_tinyint_3, InnerAppColumns::PositionOf("reserved_tinyint_3")},
    {&_APPSINFO_T::reserved_tinyint_4, InnerAppColumns::PositionOf("reserved_tinyint_4")},
    {&_APPSINFO_T::reserved_tinyint_7, InnerAppColumns::PositionOf("reserved_tinyint_7")},
    {&_APPSINFO_T::reserved_tinyint_8, InnerAppColumns::PositionOf("reserved_tinyint_8")},
    {&_APPSINFO_T::reserved_tinyint_10, InnerAppColumns::PositionOf("reserved_tinyint_10")},
    {&_APPSINFO_T::reserved_tinyint_14, InnerAppColumns::PositionOf("reserved_tinyint_14")},
};

constexpr RecordMember<int> kNumbers[] = {
    {&_APPSINFO_T::reserved_tinyint_2, InnerAppColumns::PositionOf("reserved_tinyint_2")},
    {&_APPSINFO_T::reserved_tinyint_5, InnerAppColumns::PositionOf("reserved_tinyint_5")},
    {&_APPSINFO_T::install_source_type, InnerAppColumns::PositionOf("install_source_type")},
    {&_APPSINFO_T::app_index, InnerAppColumns::PositionOf("app_index")},
    {&_APPSINFO_T::size, InnerAppColumns::PositionOf("size")},
    {&_APPSINFO_T::app_featured, InnerAppColumns::PositionOf("app_featured")},
    {&_APPSINFO_T::app_type, InnerAppColumns::PositionOf("app_type")},
    {&_APPSINFO_T::use_count, InnerAppColumns::PositionOf("use_count")},
    {&_APPSINFO_T::install_state, InnerAppColumns::PositionOf("install_state")},
    {&_APPSINFO_T::limit_age, InnerAppColumns::PositionOf("limit_age")},
    {&_APPSINFO_T::reserved_int_1, InnerAppColumns::PositionOf("reserved_int_1")},
    {&_APPSINFO_T::reserved_tinyint_11, InnerAppColumns::PositionOf("reserved_tinyint_11")},
};

constexpr RecordMember<std::string> kTexts[] = {
    {&_APPSINFO_T::id, InnerAppColumns::PositionOf("id")},
    {&_APPSINFO_T::title, InnerAppColumns::PositionOf("title")},
    {&_APPSINFO_T::install_path, InnerAppColumns::PositionOf("install_path")},
    {&_APPSINFO_T::icon_path, InnerAppColumns::PositionOf("icon_path")},
    {&_APPSINFO_T::version, InnerAppColumns::PositionOf("version")},
    {&_APPSINFO_T::install_date, InnerAppColumns::PositionOf("install_date")},
    {&_APPSINFO_T::kelvo_id, InnerAppColumns::PositionOf("kelvo_id")},
    {&_APPSINFO_T::pkgname, InnerAppColumns::PositionOf("pkgname")},
    {&_APPSINFO_T::install_type, InnerAppColumns::PositionOf("install_type")},
    {&_APPSINFO_T::widget_category, InnerAppColumns::PositionOf("widget_category")},
    {&_APPSINFO_T::run_title, InnerAppColumns::PositionOf("run_title")},
    {&_APPSINFO_T::pkg_type, InnerAppColumns::PositionOf("pkg_type")},
    {&_APPSINFO_T::pannel_icon_path, InnerAppColumns::PositionOf("icon_path")},
    {&_APPSINFO_T::launch_date, InnerAppColumns::PositionOf("launch_date")},
    {&_APPSINFO_T::resources_path, InnerAppColumns::PositionOf("resources_path")},
    {&_APPSINFO_T::icon_updated_date, InnerAppColumns::PositionOf("icon_updated_date")},
    {&_APPSINFO_T::firstscreen_icon_path, InnerAppColumns::PositionOf("icon_path")},
    {&_APPSINFO_T::hbbTV, InnerAppColumns::PositionOf("hbbTV")},
    {&_APPSINFO_T::ait_appid, InnerAppColumns::PositionOf("ait_appid")},
    {&_APPSINFO_T::ait_orgid, InnerAppColumns::PositionOf("ait_orgid")},
    {&_APPSINFO_T::chanel_name, InnerAppColumns::PositionOf("chanel_name")},
    {&_APPSINFO_T::duid, InnerAppColumns::PositionOf("duid")},
    {&_APPSINFO_T::hybrid_app, InnerAppColumns::PositionOf("hybrid_app")},
    {&_APPSINFO_T::reserved_string_2, InnerAppColumns::PositionOf("reserved_string_2")},
    {&_APPSINFO_T::reserved_string_3, InnerAppColumns::PositionOf("icon_path")},
    {&_APPSINFO_T::reserved_string_1, InnerAppColumns::PositionOf("reserved_string_1")},
    {&_APPSINFO_T::reserved_string_6, InnerAppColumns::PositionOf("reserved_string_6")},
    {&_APPSINFO_T::reserved_string_8, InnerAppColumns::PositionOf("reserved_string_8")},
    {&_APPSINFO_T::reserved_string_10, InnerAppColumns::PositionOf("reserved_string_10")},
    {&_APPSINFO_T::reserved_string_11, InnerAppColumns::PositionOf("reserved_string_11")},
    {&_APPSINFO_T::reserved_string_16, InnerAppColumns::PositionOf("reserved_string_16")},
    {&_APPSINFO_T::reserved_string_4, InnerAppColumns::PositionOf("reserved_string_4")},
};

// The order of the members is the contract with programs that are already built.
constexpr size_t kOffsets[] = {
    offsetof(_APPSINFO_T, is_lock),
    offsetof(_APPSINFO_T, is_support_voice),
    offsetof(_APPSINFO_T, is_support_gesture),
    offsetof(_APPSINFO_T, is_hidden),
    offsetof(_APPSINFO_T, is_network),
    offsetof(_APPSINFO_T, is_removable),
    offsetof(_APPSINFO_T, is_display),
    offsetof(_APPSINFO_T, is_premium_game),
    offsetof(_APPSINFO_T, is_need_login),
    offsetof(_APPSINFO_T, is_app_available),
    offsetof(_APPSINFO_T, is_need_update),
    offsetof(_APPSINFO_T, is_updated),
    offsetof(_APPSINFO_T, is_ticker),
    offsetof(_APPSINFO_T, is_need_reset),
    offsetof(_APPSINFO_T, is_multi_screen2),
    offsetof(_APPSINFO_T, is_multi_tasking),
    offsetof(_APPSINFO_T, is_system),
    offsetof(_APPSINFO_T, is_ispbound),
    offsetof(_APPSINFO_T, is_hybrid_tv),
    offsetof(_APPSINFO_T, is_auto_update),
    offsetof(_APPSINFO_T, is_age_auth),
    offsetof(_APPSINFO_T, is_usb_app),
    offsetof(_APPSINFO_T, reserved_tinyint_1),
    offsetof(_APPSINFO_T, reserved_tinyint_2),
    offsetof(_APPSINFO_T, reserved_tinyint_3),
    offsetof(_APPSINFO_T, reserved_tinyint_4),
    offsetof(_APPSINFO_T, reserved_tinyint_7),
    offsetof(_APPSINFO_T, reserved_tinyint_8),
    offsetof(_APPSINFO_T, reserved_tinyint_10),
    offsetof(_APPSINFO_T, reserved_tinyint_5),
    offsetof(_APPSINFO_T, install_source_type),
    offsetof(_APPSINFO_T, app_index),
    offsetof(_APPSINFO_T, size),
    offsetof(_APPSINFO_T, app_featured),
    offsetof(_APPSINFO_T, app_type),
    offsetof(_APPSINFO_T, use_count),
    offsetof(_APPSINFO_T, install_state),
    offsetof(_APPSINFO_T, limit_age),
    offsetof(_APPSINFO_T, reserved_int_1),
    offsetof(_APPSINFO_T, reserved_tinyint_11),
    offsetof(_APPSINFO_T, id),
    offsetof(_APPSINFO_T, title),
    offsetof(_APPSINFO_T, install_path),
    offsetof(_APPSINFO_T, icon_path),
    offsetof(_APPSINFO_T, version),
    offsetof(_APPSINFO_T, install_date),
    offsetof(_APPSINFO_T, kelvo_id),
    offsetof(_APPSINFO_T, pkgname),
    offsetof(_APPSINFO_T, install_type),
    offsetof(_APPSINFO_T, widget_category),
    offsetof(_APPSINFO_T, run_title),
    offsetof(_APPSINFO_T, pkg_type),
    offsetof(_APPSINFO_T, pannel_icon_path),
    offsetof(_APPSINFO_T, launch_date),
    offsetof(_APPSINFO_T, resources_path),
    offsetof(_APPSINFO_T, icon_updated_date),
    offsetof(_APPSINFO_T, firstscreen_icon_path),
    offsetof(_APPSINFO_T, hbbTV),
    offsetof(_APPSINFO_T, ait_appid),
    offsetof(_APPSINFO_T, ait_orgid),
    offsetof(_APPSINFO_T, chanel_name),
    offsetof(_APPSINFO_T, duid),
    offsetof(_APPSINFO_T, hybrid_app),
    offsetof(_APPSINFO_T, reserved_string_2),
    offsetof(_APPSINFO_T, reserved_string_3),
    offsetof(_APPSINFO_T, reserved_string_1),
    offsetof(_APPSINFO_T, reserved_string_6),
    offsetof(_APPSINFO_T, reserved_string_8),
    offsetof(_APPSINFO_T, reserved_string_10),
    offsetof(_APPSINFO_T, reserved_string_11),
    offsetof(_APPSINFO_T, reserved_string_16),
    offsetof(_APPSINFO_T, reserved_string_4),
    offsetof(_APPSINFO_T, reserved_tinyint_14),
};

template <size_t Count>
constexpr bool Rise(const size_t (&offsets)[Count]) {
  for (size_t i = 1; i < Count; ++i) {
    if (offsets[i - 1] >= offsets[i]) return false;
  }
  return true;
}

static_assert(sizeof(kOffsets) / sizeof(size_t) == 73 && Rise(kOffsets));
static_assert(offsetof(_APPSINFO_T, reserved_tinyint_2) == 24);
static_assert(offsetof(_APPSINFO_T, reserved_tinyint_5) == 36);
static_assert(offsetof(_APPSINFO_T, id) == 80);
static_assert(offsetof(_APPSINFO_T, reserved_tinyint_14) == 80 + 32 * sizeof(std::string));

template <typename Members>
void Fill(_APPSINFO_T& info, const Members& members) NUV_REQUIRES(innerSide.turn) {
  for (const auto& member : members) GetValueByPosition(member.column, info.*member.member);
}

}  // namespace

void m_GetAppInfoFromRow(_APPSINFO_T& info) {
  Fill(info, kFlags);
  Fill(info, kNumbers);
  Fill(info, kTexts);
}
