// What the log says about a record.
#pragma once

#include <nuv/nuv_app_types.h>

#include <sstream>
#include <string>

#include "catalogue_log.h"

// The one line about everything of interest in a record that was cleared beforehand.
inline std::string RecordLine(const nuv_app_info_s& info) {
  std::ostringstream line;
  line << "app_id = " << info.app_id << ",app_index = " << info.app_index << ",app_title = " << info.app_title
       << ",app_icon_path = " << info.app_icon_path << ",app_panel_icon_path = " << info.app_panel_icon_path
       << ",app_version = " << info.app_version << ",app_kelvo_id = " << info.app_kelvo_id
       << ",app_runtitle = " << info.app_runtitle << ",app_installed_path = " << info.app_installed_path
       << ",app_featured = " << info.app_featured << ",is_removable = " << info.is_removable
       << ",is_lock = " << info.is_lock << ",is_need_update = " << info.is_need_update
       << ",is_updated = " << info.is_updated << ",is_usb_app = " << info.is_usb_app
       << ",is_hidden = " << info.is_hidden << ",is_network = " << info.is_network
       << ",install_date = " << info.install_date << ",gamepad = " << info.gamepad
       << ",firstscreen_icon_dir = " << info.firstscreen_icon_dir << ",app_type = " << info.app_type
       << ",is_need_login = " << info.is_need_login << ",installed_source_type = " << info.installed_source_type
       << ",is_multi_tasking = " << info.is_multi_tasking << ",is_age_auth = " << info.is_age_auth
       << ",app_age_limit = " << info.app_age_limit << ",ambient_screen_support = " << info.ambient_screen_support
       << ",is_icon_mutlilang_support = " << info.is_icon_mutlilang_support
       << ",ambient_icon_path = " << info.ambient_icon_path << ",launch_type = " << info.launch_type;
  return Green(line.str());
}
