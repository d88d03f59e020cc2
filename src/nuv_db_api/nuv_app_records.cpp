#include "nuv_db_api/nuv_app_records.h"

#include <cstddef>
#include <cstring>

#include "nuv_db_api/nuv_app_columns.h"
#include "nuv_db_api/nuv_db_statement.h"

namespace {

constexpr size_t kCopied = NUV_APP_TEXT_SIZE - 1;

struct RecordMember {
  size_t offset;
  unsigned column;
};

constexpr RecordMember kTexts[] = {
    {offsetof(nuv_app_info_s, app_id), AppColumns::PositionOf("id")},
    {offsetof(nuv_app_info_s, app_title), AppColumns::PositionOf("title")},
    {offsetof(nuv_app_info_s, app_installed_path), AppColumns::PositionOf("install_path")},
    {offsetof(nuv_app_info_s, app_icon_path), AppColumns::PositionOf("icon_path")},
    {offsetof(nuv_app_info_s, app_version), AppColumns::PositionOf("version")},
    {offsetof(nuv_app_info_s, install_date), AppColumns::PositionOf("install_date")},
    {offsetof(nuv_app_info_s, app_kelvo_id), AppColumns::PositionOf("kelvo_id")},
    {offsetof(nuv_app_info_s, pkgname), AppColumns::PositionOf("pkgname")},
    {offsetof(nuv_app_info_s, widget_category), AppColumns::PositionOf("widget_category")},
    {offsetof(nuv_app_info_s, app_runtitle), AppColumns::PositionOf("run_title")},
    {offsetof(nuv_app_info_s, install_type), AppColumns::PositionOf("install_type")},
    {offsetof(nuv_app_info_s, gamepad), AppColumns::PositionOf("reserved_string_1")},
    {offsetof(nuv_app_info_s, ambient_screen_support), AppColumns::PositionOf("reserved_string_4")},
    {offsetof(nuv_app_info_s, hbbTV), AppColumns::PositionOf("hbbTV")},
    {offsetof(nuv_app_info_s, hybrid_app), AppColumns::PositionOf("hybrid_app")},
    {offsetof(nuv_app_info_s, reserved_string_2), AppColumns::PositionOf("reserved_string_2")},
    {offsetof(nuv_app_info_s, reserved_string_6), AppColumns::PositionOf("reserved_string_6")},
    {offsetof(nuv_app_info_s, reserved_string_9), AppColumns::PositionOf("reserved_string_9")},
};

// Members that repeat app_icon_path.
constexpr size_t kIconCopies[] = {
    offsetof(nuv_app_info_s, app_panel_icon_path),
    offsetof(nuv_app_info_s, extra_icon_path),
    offsetof(nuv_app_info_s, firstscreen_icon_dir),
    offsetof(nuv_app_info_s, ambient_icon_path),
};

constexpr RecordMember kNumbers[] = {
    {offsetof(nuv_app_info_s, size), AppColumns::PositionOf("size")},
    {offsetof(nuv_app_info_s, use_count), AppColumns::PositionOf("use_count")},
    {offsetof(nuv_app_info_s, app_index), AppColumns::PositionOf("app_index")},
    {offsetof(nuv_app_info_s, app_featured), AppColumns::PositionOf("app_featured")},
    {offsetof(nuv_app_info_s, app_type), AppColumns::PositionOf("app_type")},
    {offsetof(nuv_app_info_s, install_state), AppColumns::PositionOf("install_state")},
    {offsetof(nuv_app_info_s, is_hidden), AppColumns::PositionOf("is_hidden")},
    {offsetof(nuv_app_info_s, is_support_voice), AppColumns::PositionOf("is_support_voice")},
    {offsetof(nuv_app_info_s, is_support_gesture), AppColumns::PositionOf("is_support_gesture")},
    {offsetof(nuv_app_info_s, is_network), AppColumns::PositionOf("is_network")},
    {offsetof(nuv_app_info_s, is_removable), AppColumns::PositionOf("is_removable")},
    {offsetof(nuv_app_info_s, is_display), AppColumns::PositionOf("is_display")},
    {offsetof(nuv_app_info_s, is_lock), AppColumns::PositionOf("is_lock")},
    {offsetof(nuv_app_info_s, is_premium_game), AppColumns::PositionOf("is_premium_game")},
    {offsetof(nuv_app_info_s, is_need_login), AppColumns::PositionOf("is_need_login")},
    {offsetof(nuv_app_info_s, is_need_update), AppColumns::PositionOf("is_need_update")},
    {offsetof(nuv_app_info_s, installed_source_type), AppColumns::PositionOf("install_source_type")},
    {offsetof(nuv_app_info_s, is_updated), AppColumns::PositionOf("is_updated")},
    {offsetof(nuv_app_info_s, is_ticker), AppColumns::PositionOf("is_ticker")},
    {offsetof(nuv_app_info_s, is_multi_screen2), AppColumns::PositionOf("is_multi_screen2")},
    {offsetof(nuv_app_info_s, is_multi_tasking), AppColumns::PositionOf("is_multi_tasking")},
    {offsetof(nuv_app_info_s, is_usb_app), AppColumns::PositionOf("is_usb_app")},
    {offsetof(nuv_app_info_s, is_age_auth), AppColumns::PositionOf("is_age_auth")},
    {offsetof(nuv_app_info_s, app_age_limit), AppColumns::PositionOf("limit_age")},
    {offsetof(nuv_app_info_s, use_gamepad), AppColumns::PositionOf("use_gamepad")},
    {offsetof(nuv_app_info_s, reserved_tinyint_1), AppColumns::PositionOf("reserved_tinyint_1")},
    {offsetof(nuv_app_info_s, is_icon_mutlilang_support), AppColumns::PositionOf("reserved_tinyint_8")},
    {offsetof(nuv_app_info_s, reserved_tinyint_2), AppColumns::PositionOf("reserved_tinyint_2")},
    {offsetof(nuv_app_info_s, reserved_tinyint_3), AppColumns::PositionOf("reserved_tinyint_3")},
    {offsetof(nuv_app_info_s, reserved_tinyint_4), AppColumns::PositionOf("reserved_tinyint_4")},
    {offsetof(nuv_app_info_s, reserved_tinyint_5), AppColumns::PositionOf("reserved_tinyint_5")},
    {offsetof(nuv_app_info_s, reserved_tinyint_7), AppColumns::PositionOf("reserved_tinyint_7")},
    {offsetof(nuv_app_info_s, launch_type), AppColumns::PositionOf("reserved_int_1")},
};

template <typename T>
struct InnerMember {
  T _APPS_INNER_INFO_T::*member;
  unsigned column;
};

constexpr InnerMember<std::string> kInnerTexts[] = {
    {&_APPS_INNER_INFO_T::id, AppColumns::PositionOf("id")},
    {&_APPS_INNER_INFO_T::title, AppColumns::PositionOf("title")},
    {&_APPS_INNER_INFO_T::install_path, AppColumns::PositionOf("install_path")},
    {&_APPS_INNER_INFO_T::icon_path, AppColumns::PositionOf("icon_path")},
    {&_APPS_INNER_INFO_T::panel_icon_path, AppColumns::PositionOf("icon_path")},
    {&_APPS_INNER_INFO_T::version, AppColumns::PositionOf("version")},
    {&_APPS_INNER_INFO_T::install_date, AppColumns::PositionOf("install_date")},
    {&_APPS_INNER_INFO_T::kelvo_id, AppColumns::PositionOf("kelvo_id")},
    {&_APPS_INNER_INFO_T::pkgname, AppColumns::PositionOf("pkgname")},
    {&_APPS_INNER_INFO_T::widget_category, AppColumns::PositionOf("widget_category")},
    {&_APPS_INNER_INFO_T::reserved_string_18, AppColumns::PositionOf("reserved_string_18")},
    {&_APPS_INNER_INFO_T::run_title, AppColumns::PositionOf("run_title")},
    {&_APPS_INNER_INFO_T::install_type, AppColumns::PositionOf("install_type")},
    {&_APPS_INNER_INFO_T::extra_icon_path, AppColumns::PositionOf("icon_path")},
    {&_APPS_INNER_INFO_T::reserved_string_1, AppColumns::PositionOf("reserved_string_1")},
    {&_APPS_INNER_INFO_T::firstscreen_icon_path, AppColumns::PositionOf("icon_path")},
    {&_APPS_INNER_INFO_T::reserved_string_4, AppColumns::PositionOf("reserved_string_4")},
    {&_APPS_INNER_INFO_T::ambient_icon_path, AppColumns::PositionOf("icon_path")},
    {&_APPS_INNER_INFO_T::hbbTV, AppColumns::PositionOf("hbbTV")},
    {&_APPS_INNER_INFO_T::hybrid_app, AppColumns::PositionOf("hybrid_app")},
    {&_APPS_INNER_INFO_T::reserved_string_2, AppColumns::PositionOf("reserved_string_2")},
    {&_APPS_INNER_INFO_T::reserved_string_6, AppColumns::PositionOf("reserved_string_6")},
    {&_APPS_INNER_INFO_T::reserved_string_9, AppColumns::PositionOf("reserved_string_9")},
    {&_APPS_INNER_INFO_T::reserved_string_15, AppColumns::PositionOf("reserved_string_15")},
    {&_APPS_INNER_INFO_T::reserved_string_10, AppColumns::PositionOf("reserved_string_10")},
    {&_APPS_INNER_INFO_T::reserved_string_11, AppColumns::PositionOf("reserved_string_11")},
    {&_APPS_INNER_INFO_T::reserved_string_14, AppColumns::PositionOf("reserved_string_14")},
    {&_APPS_INNER_INFO_T::nuvorder, AppColumns::PositionOf("nuvorder")},
    {&_APPS_INNER_INFO_T::reserved_string_19, AppColumns::PositionOf("reserved_string_19")},
    {&_APPS_INNER_INFO_T::reserved_string_20, AppColumns::PositionOf("reserved_string_20")},
};

constexpr InnerMember<int> kInnerNumbers[] = {
    {&_APPS_INNER_INFO_T::size, AppColumns::PositionOf("size")},
    {&_APPS_INNER_INFO_T::use_count, AppColumns::PositionOf("use_count")},
    {&_APPS_INNER_INFO_T::app_index, AppColumns::PositionOf("app_index")},
    {&_APPS_INNER_INFO_T::app_featured, AppColumns::PositionOf("app_featured")},
    {&_APPS_INNER_INFO_T::app_type, AppColumns::PositionOf("app_type")},
    {&_APPS_INNER_INFO_T::install_state, AppColumns::PositionOf("install_state")},
    {&_APPS_INNER_INFO_T::is_hidden, AppColumns::PositionOf("is_hidden")},
    {&_APPS_INNER_INFO_T::is_support_voice, AppColumns::PositionOf("is_support_voice")},
    {&_APPS_INNER_INFO_T::is_support_gesture, AppColumns::PositionOf("is_support_gesture")},
    {&_APPS_INNER_INFO_T::is_network, AppColumns::PositionOf("is_network")},
    {&_APPS_INNER_INFO_T::is_removable, AppColumns::PositionOf("is_removable")},
    {&_APPS_INNER_INFO_T::is_display, AppColumns::PositionOf("is_display")},
    {&_APPS_INNER_INFO_T::is_lock, AppColumns::PositionOf("is_lock")},
    {&_APPS_INNER_INFO_T::is_premium_game, AppColumns::PositionOf("is_premium_game")},
    {&_APPS_INNER_INFO_T::is_need_login, AppColumns::PositionOf("is_need_login")},
    {&_APPS_INNER_INFO_T::is_need_update, AppColumns::PositionOf("is_need_update")},
    {&_APPS_INNER_INFO_T::is_updated, AppColumns::PositionOf("is_updated")},
    {&_APPS_INNER_INFO_T::is_ticker, AppColumns::PositionOf("is_ticker")},
    {&_APPS_INNER_INFO_T::is_multi_screen2, AppColumns::PositionOf("is_multi_screen2")},
    {&_APPS_INNER_INFO_T::is_multi_tasking, AppColumns::PositionOf("is_multi_tasking")},
    {&_APPS_INNER_INFO_T::is_usb_app, AppColumns::PositionOf("is_usb_app")},
    {&_APPS_INNER_INFO_T::is_age_auth, AppColumns::PositionOf("is_age_auth")},
    {&_APPS_INNER_INFO_T::limit_age, AppColumns::PositionOf("limit_age")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_1, AppColumns::PositionOf("reserved_tinyint_1")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_8, AppColumns::PositionOf("reserved_tinyint_8")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_2, AppColumns::PositionOf("reserved_tinyint_2")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_3, AppColumns::PositionOf("reserved_tinyint_3")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_4, AppColumns::PositionOf("reserved_tinyint_4")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_5, AppColumns::PositionOf("reserved_tinyint_5")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_7, AppColumns::PositionOf("reserved_tinyint_7")},
    {&_APPS_INNER_INFO_T::reserved_int_1, AppColumns::PositionOf("reserved_int_1")},
};

constexpr InnerMember<bool> kInnerFlags[] = {
    {&_APPS_INNER_INFO_T::reserved_tinyint_10, AppColumns::PositionOf("reserved_tinyint_10")},
    {&_APPS_INNER_INFO_T::reserved_tinyint_11, AppColumns::PositionOf("reserved_tinyint_11")},
};

// What strncpy() does, at half its cost.
void CopyText(char* member, unsigned column) NUV_REQUIRES(readSide.turn) {
  const char* text = GetStringFromResult(column);
  const size_t length = strnlen(text, kCopied);
  memcpy(member, text, length);
  memset(member + length, 0, kCopied - length);
}

}  // namespace

void m_GetWidgetInfo(nuv_app_info_s* info) {
  if (info == nullptr) return;
  char* record = reinterpret_cast<char*>(info);
  for (const RecordMember& text : kTexts) CopyText(record + text.offset, text.column);
  for (const size_t offset : kIconCopies) memcpy(record + offset, info->app_icon_path, kCopied);
  for (const RecordMember& number : kNumbers) {
    const int value = GetIntegerFromResult(number.column);
    memcpy(record + number.offset, &value, sizeof value);
  }
}

void GetMultiScreenInfo(nuv_app_ms_s& info) {
  CopyText(info.app_id, 0);
  info.is_multi_screen2 = GetIntegerFromResult(1);
}

void GetInnerInfo(_APPS_INNER_INFO_T& info) {
  for (const auto& text : kInnerTexts) GetValueByDBPosition(text.column, info.*text.member);
  for (const auto& number : kInnerNumbers) info.*number.member = GetIntegerFromResult(number.column);
  for (const auto& flag : kInnerFlags) info.*flag.member = GetIntegerFromResult(flag.column) != 0;
}
