#include "nuv_inner_db_api/nuv_inner_app_record.h"

#include <cstddef>

#include "nuv_db_common/nuv_record_member.h"
#include "nuv_inner_db_api/nuv_db_connection.h"
#include "nuv_inner_db_api/nuv_inner_app_columns.h"

namespace {

template <typename T>
using Member = RecordMember<_APPSINFO_T, T>;

// The members of each type in their order.
#define MEMBER(name, column) NUV_MEMBER(_APPSINFO_T, name, InnerAppColumns, column)
#define SAME(name) MEMBER(name, #name)
constexpr Member<bool> kFlags[] = {
    SAME(is_lock),
    SAME(is_support_voice),
    SAME(is_support_gesture),
    SAME(is_hidden),
    SAME(is_network),
    SAME(is_removable),
    SAME(is_display),
    SAME(is_premium_game),
    SAME(is_need_login),
    SAME(is_app_available),
    SAME(is_need_update),
    SAME(is_updated),
    SAME(is_ticker),
    SAME(is_need_reset),
    SAME(is_multi_screen2),
    SAME(is_multi_tasking),
    SAME(is_system),
    SAME(is_ispbound),
    SAME(is_hybrid_tv),
    SAME(is_auto_update),
    SAME(is_age_auth),
    SAME(is_usb_app),
    SAME(reserved_tinyint_1),
    SAME(reserved_tinyint_3),
    SAME(reserved_tinyint_4),
    SAME(reserved_tinyint_7),
    SAME(reserved_tinyint_8),
    SAME(reserved_tinyint_10),
    SAME(reserved_tinyint_14),
};

constexpr Member<int> kNumbers[] = {
    SAME(reserved_tinyint_2),
    SAME(reserved_tinyint_5),
    SAME(install_source_type),
    SAME(app_index),
    SAME(size),
    SAME(app_featured),
    SAME(app_type),
    SAME(use_count),
    SAME(install_state),
    SAME(limit_age),
    SAME(reserved_int_1),
    SAME(reserved_tinyint_11),
};

constexpr Member<std::string> kTexts[] = {
    SAME(id),
    SAME(title),
    SAME(install_path),
    SAME(icon_path),
    SAME(version),
    SAME(install_date),
    SAME(kelvo_id),
    SAME(pkgname),
    SAME(install_type),
    SAME(widget_category),
    SAME(run_title),
    SAME(pkg_type),
    MEMBER(pannel_icon_path, "icon_path"),
    SAME(launch_date),
    SAME(resources_path),
    SAME(icon_updated_date),
    MEMBER(firstscreen_icon_path, "icon_path"),
    SAME(hbbTV),
    SAME(ait_appid),
    SAME(ait_orgid),
    SAME(chanel_name),
    SAME(duid),
    SAME(hybrid_app),
    SAME(reserved_string_2),
    MEMBER(reserved_string_3, "icon_path"),
    SAME(reserved_string_1),
    SAME(reserved_string_6),
    SAME(reserved_string_8),
    SAME(reserved_string_10),
    SAME(reserved_string_11),
    SAME(reserved_string_16),
    SAME(reserved_string_4),
};
#undef SAME
#undef MEMBER

static_assert(AreInARow(kFlags, 0, 23, 0, sizeof(bool)));
static_assert(AreInARow(kNumbers, 0, 1, 24, sizeof(int)));
static_assert(AreInARow(kFlags, 23, 28, 28, sizeof(bool)));
static_assert(AreInARow(kNumbers, 1, 12, 36, sizeof(int)));
static_assert(AreInARow(kTexts, 0, 32, 80, sizeof(std::string)));
static_assert(AreInARow(kFlags, 28, 29, 80 + 32 * sizeof(std::string), sizeof(bool)));

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
