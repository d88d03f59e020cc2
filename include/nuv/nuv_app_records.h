/*
 * The catalogue as the service's own processes read it: string-typed records, groups, and queries of their own. C++17.
 *
 * Threads, blocking, ownership, errors, memory and fork are as in nuv/nuv_app_database.h; only the functions that are
 * marked so are serialised with launches. The two functions without a result let std::bad_alloc pass; no statement
 * and no lock stays behind.
 */
#ifndef NUV_APP_RECORDS_H
#define NUV_APP_RECORDS_H

#include <nuv/nuv_app_types.h>
#include <nuv/nuv_export.h>

#include <map>
#include <string>
#include <vector>

/** One parameter of a statement: the n-th record of a list stands for the n-th "?". */
struct _NUVDB_BIND_T {
  int type;         /**< 1 text, 2 integer; any other value leaves the parameter null */
  std::string text; /**< value of a text */
  int value;        /**< value of an integer */
};

/** One installed application with texts of any length. Members are named after their columns. */
struct _APPS_INNER_INFO_T {
  std::string id;
  std::string title;
  std::string install_path;
  std::string icon_path;
  std::string panel_icon_path; /**< column icon_path, like the other icon members */
  std::string version;
  std::string install_date;
  std::string kelvo_id;
  std::string pkgname;
  std::string widget_category;
  std::string reserved_string_18;
  std::string run_title;
  std::string install_type;
  std::string extra_icon_path;
  std::string reserved_string_1;
  std::string firstscreen_icon_path;
  std::string reserved_string_4;
  std::string ambient_icon_path;
  std::string hbbTV;
  std::string hybrid_app;
  std::string reserved_string_2;
  std::string reserved_string_6;
  std::string reserved_string_9;
  std::string reserved_string_15;
  std::string reserved_string_10;
  std::string reserved_string_11;
  std::string reserved_string_14;
  std::string nuvorder;
  std::string reserved_string_19;
  std::string reserved_string_20;
  int size = 0;
  int use_count = 0;
  int app_index = 0;
  int app_featured = 0;
  int app_type = 0;
  int install_state = 0;
  int is_hidden = 0;
  int is_support_voice = 0;
  int is_support_gesture = 0;
  int is_network = 0;
  int is_removable = 0;
  int is_display = 0;
  int is_lock = 0;
  int is_premium_game = 0;
  int is_need_login = 0;
  int is_need_update = 0;
  int is_updated = 0;
  int is_ticker = 0;
  int is_multi_screen2 = 0;
  int is_multi_tasking = 0;
  int is_usb_app = 0;
  int is_age_auth = 0;
  int limit_age = 0;
  int reserved_tinyint_1 = 0;
  int reserved_tinyint_8 = 0;
  int reserved_tinyint_2 = 0;
  int reserved_tinyint_3 = 0;
  int reserved_tinyint_4 = 0;
  int reserved_tinyint_5 = 0;
  int reserved_tinyint_7 = 0;
  int reserved_int_1 = 0;
  bool reserved_tinyint_10 = false;
  bool reserved_tinyint_11 = false;
};

/**
 * Finds an application by its id, kelvo id, package name or hybrid application. Serialised with launches.
 *
 * @param app_id empty is refused
 * @param info   receives the first match; unchanged when nothing is found
 */
NUV_API int GetAppInnerInfo(std::string app_id, _APPS_INNER_INFO_T* info);

/**
 * Lists installed applications. Serialised with launches. One query: at most 0.98 s.
 *
 * @param app_featured set of categories in decimal, as nuv_app_filter_s::featured
 * @param view_mode    order in decimal, as nuv_app_viewmode_e; 2 orders by index
 * @param with_hidden  hidden applications, too
 * @param list         the applications are appended to it
 * @return 0 when the query could be made, also when nothing matches or the database became busy on the way (the list
 *         then holds what was read until then); negative otherwise
 */
NUV_API int GetNUVAppList(const std::string& app_featured, const std::string& view_mode, bool with_hidden,
                          std::vector<_APPS_INNER_INFO_T>& list);

/**
 * Finds the application that stands for a group in the service's configuration. Two queries: at most 1.96 s.
 *
 * @param key    name of the group, compared byte for byte
 * @param app_id receives the id that the configuration names, installed or not
 * @param result 0 found and installed, 1 found but not installed (or not readable), 3 no such group
 *
 * The configuration is read even while the set is being reset or repaired; a group that is found then gives 1, whether
 * or not its application is installed.
 */
NUV_API void GetAppIDFromAppGroupList(const std::string& key, std::string& app_id, int& result);

/**
 * Cuts a text such as "a:x,b:y" into pairs and adds those whose key is new to `out`. Does not touch the database.
 *
 * @param text            the text; empty adds nothing
 * @param item_separators each of these characters ends an item
 * @param pair_separators the first of these characters in an item ends its key
 *
 * Items without a pair separator or without a value add nothing.
 */
NUV_API void ParseStringToList(std::string text, std::string item_separators, std::string pair_separators,
                               std::map<std::string, std::string>& out);

/**
 * Tells whether an application is among the rows of a query: 0 yes, -1 no or the query failed, -2 the database stayed
 * busy. Not stopped by a reset or a repair.
 *
 * @param app_id compared byte for byte with the first column of each row
 * @param sql    the whole statement; the database is opened read-only
 * @param binds  its parameters; must not be changed during the call
 */
NUV_API int CheckIsRecentlyOrMostUsedApp(const std::string& app_id, const std::string& sql,
                                         std::vector<_NUVDB_BIND_T>& binds);

/**
 * Counts applications. Not stopped by a reset or a repair.
 *
 * @param count     receives the number; unchanged when the statement could not be made, 0 when it failed on the way.
 *                  Null is a failure.
 * @param clause    what follows the table's name, such as " where app_type = ?"
 * @param tableType written to the log
 * @param binds     parameters of the clause
 */
NUV_API int GetAppsTableCount(int* count, const std::string& clause, int tableType,
                              const std::vector<_NUVDB_BIND_T>& binds);

/**
 * Makes the part of a condition that selects application types. Does not touch the database.
 *
 * @param app_type set of the types 2 and 4; above 127 (or negative) is refused with -1
 * @param text     receives "? ", "? ,? " or nothing
 * @param binds    the types are appended to it
 */
NUV_API int GetStrAppType(int app_type, std::string& text, std::vector<_NUVDB_BIND_T>& binds);

#endif  // NUV_APP_RECORDS_H
