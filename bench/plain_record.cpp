#include "plain_record.h"

#include <cstring>
#include <initializer_list>

namespace bench {

namespace {

constexpr size_t kCopied = NUV_APP_TEXT_SIZE - 1;

const char* TextOf(sqlite3_stmt* statement, int column) {
  const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
  return text == nullptr ? "" : text;
}

void CopyText(char* member, sqlite3_stmt* statement, int column) {
  const char* const text = TextOf(statement, column);
  memcpy(member, text, strnlen(text, kCopied));
}

void CopyIcon(nuv_app_info_s& info, sqlite3_stmt* statement) {
  const char* const icon = TextOf(statement, 24);
  const size_t length = strnlen(icon, kCopied);
  for (char* member : {info.app_icon_path, info.app_panel_icon_path, info.extra_icon_path, info.firstscreen_icon_dir,
                       info.ambient_icon_path}) {
    memcpy(member, icon, length);
  }
}

void CopyTexts(nuv_app_info_s& info, sqlite3_stmt* statement) {
  CopyText(info.app_id, statement, 0);
  CopyText(info.app_title, statement, 1);
  CopyText(info.app_installed_path, statement, 25);
  CopyText(info.app_version, statement, 5);
  CopyText(info.install_date, statement, 6);
  CopyText(info.app_kelvo_id, statement, 7);
  CopyText(info.pkgname, statement, 29);
  CopyText(info.widget_category, statement, 30);
  CopyText(info.app_runtitle, statement, 2);
  CopyText(info.install_type, statement, 36);
  CopyText(info.gamepad, statement, 40);
  CopyText(info.ambient_screen_support, statement, 49);
  CopyText(info.hbbTV, statement, 38);
  CopyText(info.hybrid_app, statement, 39);
  CopyText(info.reserved_string_2, statement, 41);
  CopyText(info.reserved_string_6, statement, 52);
  CopyText(info.reserved_string_9, statement, 54);
  CopyIcon(info, statement);
}

}  // namespace

void ReadRecord(sqlite3_stmt* statement, nuv_app_info_s& info) {
  CopyTexts(info, statement);
  info.size = sqlite3_column_int(statement, 8);
  info.use_count = sqlite3_column_int(statement, 31);
  info.app_index = sqlite3_column_int(statement, 9);
  info.app_featured = sqlite3_column_int(statement, 10);
  info.app_type = sqlite3_column_int(statement, 23);
  info.install_state = sqlite3_column_int(statement, 32);
  info.is_hidden = sqlite3_column_int(statement, 26);
  info.is_support_voice = sqlite3_column_int(statement, 11);
  info.is_support_gesture = sqlite3_column_int(statement, 12);
  info.is_network = sqlite3_column_int(statement, 27);
  info.is_removable = sqlite3_column_int(statement, 13);
  info.is_display = sqlite3_column_int(statement, 14);
  info.is_lock = sqlite3_column_int(statement, 15);
  info.is_premium_game = sqlite3_column_int(statement, 28);
  info.is_need_login = sqlite3_column_int(statement, 33);
  info.is_need_update = sqlite3_column_int(statement, 18);
  info.installed_source_type = sqlite3_column_int(statement, 16);
  info.is_updated = sqlite3_column_int(statement, 19);
  info.is_ticker = sqlite3_column_int(statement, 34);
  info.is_multi_screen2 = sqlite3_column_int(statement, 20);
  info.is_multi_tasking = sqlite3_column_int(statement, 35);
  info.is_usb_app = sqlite3_column_int(statement, 17);
  info.is_age_auth = sqlite3_column_int(statement, 22);
  info.app_age_limit = sqlite3_column_int(statement, 21);
  info.use_gamepad = sqlite3_column_int(statement, 37);
  info.reserved_tinyint_1 = sqlite3_column_int(statement, 42);
  info.is_icon_mutlilang_support = sqlite3_column_int(statement, 50);
  info.reserved_tinyint_2 = sqlite3_column_int(statement, 43);
  info.reserved_tinyint_3 = sqlite3_column_int(statement, 44);
  info.reserved_tinyint_4 = sqlite3_column_int(statement, 45);
  info.reserved_tinyint_5 = sqlite3_column_int(statement, 46);
  info.reserved_tinyint_7 = sqlite3_column_int(statement, 47);
  info.launch_type = sqlite3_column_int(statement, 53);
}

}  // namespace bench
