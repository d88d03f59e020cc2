#include "nuv_db_api/nuv_app_row.h"

#include <array>
#include <cstddef>
#include <cstring>

#include "nuv_db_api/nuv_app_columns.h"
#include "nuv_db_api/nuv_db_statement.h"
#include "nuv_db_common/nuv_record_member.h"

namespace {

constexpr size_t kCopied = NUV_APP_TEXT_SIZE - 1;

// In place of a column: what no column fills, and what repeats app_icon_path.
constexpr unsigned kUnread = ~0u;
constexpr unsigned kIconCopy = ~0u - 1;

using Text = RecordMember<nuv_app_info_s, char[NUV_APP_TEXT_SIZE]>;
using Number = RecordMember<nuv_app_info_s, int>;

// The members of the record in their order. Callers rely on the columns: five icon members have one column, and two
// members have reserved columns.
#define MEMBER(name, column) NUV_MEMBER(nuv_app_info_s, name, AppColumns, column)
#define SAME(name) MEMBER(name, #name)
constexpr Text kTexts[] = {
    MEMBER(app_id, "id"),
    MEMBER(app_title, "title"),
    MEMBER(app_installed_path, "install_path"),
    MEMBER(app_icon_path, "icon_path"),
    {&nuv_app_info_s::app_panel_icon_path, offsetof(nuv_app_info_s, app_panel_icon_path), kIconCopy},
    MEMBER(app_version, "version"),
    SAME(install_date),
    MEMBER(app_kelvo_id, "kelvo_id"),
    SAME(pkgname),
    SAME(widget_category),
    MEMBER(app_runtitle, "run_title"),
    SAME(install_type),
    {&nuv_app_info_s::reserved_str_a, offsetof(nuv_app_info_s, reserved_str_a), kUnread},
    {&nuv_app_info_s::reserved_str_b, offsetof(nuv_app_info_s, reserved_str_b), kUnread},
    {&nuv_app_info_s::extra_icon_path, offsetof(nuv_app_info_s, extra_icon_path), kIconCopy},
    MEMBER(gamepad, "reserved_string_1"),
    {&nuv_app_info_s::firstscreen_icon_dir, offsetof(nuv_app_info_s, firstscreen_icon_dir), kIconCopy},
    MEMBER(ambient_screen_support, "reserved_string_4"),
    {&nuv_app_info_s::ambient_icon_path, offsetof(nuv_app_info_s, ambient_icon_path), kIconCopy},
    SAME(hbbTV),
    SAME(hybrid_app),
    SAME(reserved_string_2),
    SAME(reserved_string_6),
    SAME(reserved_string_9),
};

constexpr Number kNumbers[] = {
    SAME(size),
    SAME(use_count),
    SAME(app_index),
    SAME(app_featured),
    SAME(app_type),
    SAME(install_state),
    SAME(is_hidden),
    SAME(is_support_voice),
    SAME(is_support_gesture),
    SAME(is_network),
    SAME(is_removable),
    SAME(is_display),
    {&nuv_app_info_s::reserved_int_a, offsetof(nuv_app_info_s, reserved_int_a), kUnread},
    SAME(is_lock),
    {&nuv_app_info_s::reserved_int_b, offsetof(nuv_app_info_s, reserved_int_b), kUnread},
    SAME(is_premium_game),
    SAME(is_need_login),
    SAME(is_need_update),
    MEMBER(installed_source_type, "install_source_type"),
    SAME(is_updated),
    SAME(is_ticker),
    SAME(is_multi_screen2),
    SAME(is_multi_tasking),
    SAME(is_usb_app),
    SAME(is_age_auth),
    MEMBER(app_age_limit, "limit_age"),
    SAME(use_gamepad),
    SAME(reserved_tinyint_1),
    MEMBER(is_icon_mutlilang_support, "reserved_tinyint_8"),
    SAME(reserved_tinyint_2),
    SAME(reserved_tinyint_3),
    SAME(reserved_tinyint_4),
    SAME(reserved_tinyint_5),
    SAME(reserved_tinyint_7),
    MEMBER(launch_type, "reserved_int_1"),
};
#undef SAME
#undef MEMBER

static_assert(AreInARow(kTexts, 0, 24, 0, NUV_APP_TEXT_SIZE));
static_assert(AreInARow(kNumbers, 0, 35, size_t{24} * NUV_APP_TEXT_SIZE, sizeof(int)));
static_assert(sizeof(nuv_app_info_s) == 3212);

static_assert(offsetof(nuv_app_ms_s, app_id) == 0);
static_assert(offsetof(nuv_app_ms_s, is_multi_screen2) == 128);
static_assert(sizeof(nuv_app_ms_s) == 132);

static_assert(offsetof(nuv_app_filter_s, featured) == 0);
static_assert(offsetof(nuv_app_filter_s, premium_game) == 4);
static_assert(offsetof(nuv_app_filter_s, type) == 8);
static_assert(sizeof(nuv_app_filter_s) == 12);

static_assert(sizeof(nuv_app_viewmode_e) == 4);

// Chosen when the library is compiled: rows are read by the thousand.
template <size_t Chosen, typename Member, size_t Count>
constexpr std::array<Member, Chosen> Choose(const Member (&members)[Count], bool (*wanted)(const Member&)) {
  std::array<Member, Chosen> chosen = {};
  size_t end = 0;
  for (const Member& member : members) {
    if (wanted(member)) chosen[end++] = member;
  }
  return chosen;
}

template <typename Member>
constexpr bool HasColumn(const Member& member) {
  return member.column < AppColumns::kCount;
}

constexpr bool IsIconCopy(const Text& text) {
  return text.column == kIconCopy;
}

constexpr auto kReadTexts = Choose<18>(kTexts, HasColumn<Text>);
constexpr auto kReadNumbers = Choose<33>(kNumbers, HasColumn<Number>);
constexpr auto kIconCopies = Choose<4>(kTexts, IsIconCopy);

template <typename T>
using InnerMember = RecordMember<_APPS_INNER_INFO_T, T>;

#define MEMBER(name, column) NUV_MEMBER(_APPS_INNER_INFO_T, name, AppColumns, column)
#define SAME(name) MEMBER(name, #name)
constexpr InnerMember<std::string> kInnerTexts[] = {
    SAME(id),
    SAME(title),
    SAME(install_path),
    SAME(icon_path),
    MEMBER(panel_icon_path, "icon_path"),
    SAME(version),
    SAME(install_date),
    SAME(kelvo_id),
    SAME(pkgname),
    SAME(widget_category),
    SAME(reserved_string_18),
    SAME(run_title),
    SAME(install_type),
    MEMBER(extra_icon_path, "icon_path"),
    SAME(reserved_string_1),
    MEMBER(firstscreen_icon_path, "icon_path"),
    SAME(reserved_string_4),
    MEMBER(ambient_icon_path, "icon_path"),
    SAME(hbbTV),
    SAME(hybrid_app),
    SAME(reserved_string_2),
    SAME(reserved_string_6),
    SAME(reserved_string_9),
    SAME(reserved_string_15),
    SAME(reserved_string_10),
    SAME(reserved_string_11),
    SAME(reserved_string_14),
    SAME(nuvorder),
    SAME(reserved_string_19),
    SAME(reserved_string_20),
};

constexpr InnerMember<int> kInnerNumbers[] = {
    SAME(size),
    SAME(use_count),
    SAME(app_index),
    SAME(app_featured),
    SAME(app_type),
    SAME(install_state),
    SAME(is_hidden),
    SAME(is_support_voice),
    SAME(is_support_gesture),
    SAME(is_network),
    SAME(is_removable),
    SAME(is_display),
    SAME(is_lock),
    SAME(is_premium_game),
    SAME(is_need_login),
    SAME(is_need_update),
    SAME(is_updated),
    SAME(is_ticker),
    SAME(is_multi_screen2),
    SAME(is_multi_tasking),
    SAME(is_usb_app),
    SAME(is_age_auth),
    SAME(limit_age),
    SAME(reserved_tinyint_1),
    SAME(reserved_tinyint_8),
    SAME(reserved_tinyint_2),
    SAME(reserved_tinyint_3),
    SAME(reserved_tinyint_4),
    SAME(reserved_tinyint_5),
    SAME(reserved_tinyint_7),
    SAME(reserved_int_1),
};

constexpr InnerMember<bool> kInnerFlags[] = {
    SAME(reserved_tinyint_10),
    SAME(reserved_tinyint_11),
};
#undef SAME
#undef MEMBER

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
  for (const Text& text : kReadTexts) CopyText(info->*text.member, text.column);
  for (const Text& copy : kIconCopies) memcpy(info->*copy.member, info->app_icon_path, kCopied);
  for (const Number& number : kReadNumbers) info->*number.member = GetIntegerFromResult(number.column);
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
