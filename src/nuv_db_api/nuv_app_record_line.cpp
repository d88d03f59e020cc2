// Everything the catalogue says about an application in one log line.
#include "nuv_db_api/nuv_app_row.h"

// The platform formats the line only when somebody wants it, so it is one format with all members as arguments. A text
// member need not be terminated.
void LogAppInfo(const nuv_app_info_s& info, const LogOrigin& origin) {
  NUV_INFO_FROM(origin,
                NUV_GREEN
                "app_id = %.127s,app_index = %d,app_title = %.127s,app_icon_path = %.127s,app_panel_icon_path = %.127s"
                ",app_version = %.127s,app_kelvo_id = %.127s,app_runtitle = %.127s,app_installed_path = %.127s"
                ",app_featured = %d,is_removable = %d,is_lock = %d,is_need_update = %d,is_updated = %d,is_usb_app = %d"
                ",is_hidden = %d,is_network = %d,install_date = %.127s,gamepad = %.127s,firstscreen_icon_dir = %.127s"
                ",app_type = %d,is_need_login = %d,installed_source_type = %d,is_multi_tasking = %d,is_age_auth = %d"
                ",app_age_limit = %d,ambient_screen_support = %.127s,is_icon_mutlilang_support = %d"
                ",ambient_icon_path = %.127s,launch_type = %d" NUV_PLAIN,
                info.app_id, info.app_index, info.app_title, info.app_icon_path, info.app_panel_icon_path,
                info.app_version, info.app_kelvo_id, info.app_runtitle, info.app_installed_path, info.app_featured,
                info.is_removable, info.is_lock, info.is_need_update, info.is_updated, info.is_usb_app, info.is_hidden,
                info.is_network, info.install_date, info.gamepad, info.firstscreen_icon_dir, info.app_type,
                info.is_need_login, info.installed_source_type, info.is_multi_tasking, info.is_age_auth,
                info.app_age_limit, info.ambient_screen_support, info.is_icon_mutlilang_support, info.ambient_icon_path,
                info.launch_type);
}
