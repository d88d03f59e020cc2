// The layout of the records is the contract with programs that are already built.
#include <nuv/nuv_app_types.h>

#include <cstddef>

namespace {

constexpr size_t kTexts[] = {
    offsetof(nuv_app_info_s, app_id),
    offsetof(nuv_app_info_s, app_title),
    offsetof(nuv_app_info_s, app_installed_path),
    offsetof(nuv_app_info_s, app_icon_path),
    offsetof(nuv_app_info_s, app_panel_icon_path),
    offsetof(nuv_app_info_s, app_version),
    offsetof(nuv_app_info_s, install_date),
    offsetof(nuv_app_info_s, app_kelvo_id),
    offsetof(nuv_app_info_s, pkgname),
    offsetof(nuv_app_info_s, widget_category),
    offsetof(nuv_app_info_s, app_runtitle),
    offsetof(nuv_app_info_s, install_type),
    offsetof(nuv_app_info_s, reserved_str_a),
    offsetof(nuv_app_info_s, reserved_str_b),
    offsetof(nuv_app_info_s, extra_icon_path),
    offsetof(nuv_app_info_s, gamepad),
    offsetof(nuv_app_info_s, firstscreen_icon_dir),
    offsetof(nuv_app_info_s, ambient_screen_support),
    offsetof(nuv_app_info_s, ambient_icon_path),
    offsetof(nuv_app_info_s, hbbTV),
    offsetof(nuv_app_info_s, hybrid_app),
    offsetof(nuv_app_info_s, reserved_string_2),
    offsetof(nuv_app_info_s, reserved_string_6),
    offsetof(nuv_app_info_s, reserved_string_9),
};

constexpr size_t kNumbers[] = {
    offsetof(nuv_app_info_s, size),
    offsetof(nuv_app_info_s, use_count),
    offsetof(nuv_app_info_s, app_index),
    offsetof(nuv_app_info_s, app_featured),
    offsetof(nuv_app_info_s, app_type),
    offsetof(nuv_app_info_s, install_state),
    offsetof(nuv_app_info_s, is_hidden),
    offsetof(nuv_app_info_s, is_support_voice),
    offsetof(nuv_app_info_s, is_support_gesture),
    offsetof(nuv_app_info_s, is_network),
    offsetof(nuv_app_info_s, is_removable),
    offsetof(nuv_app_info_s, is_display),
    offsetof(nuv_app_info_s, reserved_int_a),
    offsetof(nuv_app_info_s, is_lock),
    offsetof(nuv_app_info_s, reserved_int_b),
    offsetof(nuv_app_info_s, is_premium_game),
    offsetof(nuv_app_info_s, is_need_login),
    offsetof(nuv_app_info_s, is_need_update),
    offsetof(nuv_app_info_s, installed_source_type),
    offsetof(nuv_app_info_s, is_updated),
    offsetof(nuv_app_info_s, is_ticker),
    offsetof(nuv_app_info_s, is_multi_screen2),
    offsetof(nuv_app_info_s, is_multi_tasking),
    offsetof(nuv_app_info_s, is_usb_app),
    offsetof(nuv_app_info_s, is_age_auth),
    offsetof(nuv_app_info_s, app_age_limit),
    offsetof(nuv_app_info_s, use_gamepad),
    offsetof(nuv_app_info_s, reserved_tinyint_1),
    offsetof(nuv_app_info_s, is_icon_mutlilang_support),
    offsetof(nuv_app_info_s, reserved_tinyint_2),
    offsetof(nuv_app_info_s, reserved_tinyint_3),
    offsetof(nuv_app_info_s, reserved_tinyint_4),
    offsetof(nuv_app_info_s, reserved_tinyint_5),
    offsetof(nuv_app_info_s, reserved_tinyint_7),
    offsetof(nuv_app_info_s, launch_type),
};

template <size_t Count>
constexpr bool Follow(const size_t (&offsets)[Count], size_t first, size_t width) {
  for (size_t i = 0; i < Count; ++i) {
    if (offsets[i] != first + i * width) return false;
  }
  return true;
}

static_assert(sizeof(kTexts) / sizeof(size_t) == 24 && sizeof(kNumbers) / sizeof(size_t) == 35);
static_assert(Follow(kTexts, 0, 128));
static_assert(Follow(kNumbers, 3072, 4));
static_assert(sizeof(nuv_app_info_s) == 3212);

static_assert(offsetof(nuv_app_ms_s, app_id) == 0);
static_assert(offsetof(nuv_app_ms_s, is_multi_screen2) == 128);
static_assert(sizeof(nuv_app_ms_s) == 132);

static_assert(offsetof(nuv_app_filter_s, featured) == 0);
static_assert(offsetof(nuv_app_filter_s, premium_game) == 4);
static_assert(offsetof(nuv_app_filter_s, type) == 8);
static_assert(sizeof(nuv_app_filter_s) == 12);

static_assert(sizeof(nuv_app_viewmode_e) == 4);

}  // namespace
