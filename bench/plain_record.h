// A row of the catalogue and the record that it becomes, written down plainly.
#pragma once

#include <nuv/nuv_app_types.h>
#include <sqlite3.h>

// The columns that ReadRecord() reads by their position.
#define BENCH_SELECT_RECORD                                                                                 \
  "select id,title,run_title,pannel_icon_path,firstscreen_icon_path,version,install_date,kelvo_id,size,"    \
  "app_index,app_featured,is_support_voice,is_support_gesture,is_removable,is_display,is_lock,"             \
  "install_source_type,is_usb_app,is_need_update,is_updated,is_multi_screen2,limit_age,is_age_auth,"        \
  "app_type,icon_path,install_path,is_hidden,is_network,is_premium_game,pkgname,widget_category,use_count," \
  "install_state,is_need_login,is_ticker,is_multi_tasking,install_type,use_gamepad,hbbTV,hybrid_app,"       \
  "reserved_string_1,reserved_string_2,reserved_tinyint_1,reserved_tinyint_2,reserved_tinyint_3,"           \
  "reserved_tinyint_4,reserved_tinyint_5,reserved_tinyint_7,reserved_string_3,reserved_string_4,"           \
  "reserved_tinyint_8,reserved_string_5,reserved_string_6,reserved_int_1,reserved_string_9,"                \
  "reserved_tinyint_10,reserved_string_10,reserved_string_11,reserved_tinyint_11,reserved_string_15,"       \
  "reserved_string_14,reserved_string_18,nuvorder,reserved_string_19,reserved_string_20 from widgetinfo"

namespace bench {

// Fills a cleared record from the statement's row. As in the library, texts are cut at 127 characters.
void ReadRecord(sqlite3_stmt* statement, nuv_app_info_s& info);

}  // namespace bench
