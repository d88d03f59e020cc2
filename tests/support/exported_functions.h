// Every exported function: the named mutex that it holds, what it returns where all is well, and a call of it.
#pragma once

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_service_launch.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "fake_apps.h"
#include "nuv_launcher_api/nuv_running_apps.h"

namespace exported {

enum class Named { kNone, kLaunches, kInner };

// The result where all is well, and in a child that was forked from a process that had connected.
struct Results {
  int parent;
  int child;
  bool writes = false;  // fails with -1 where another thread has just switched the connection to reading
};
constexpr Results kLocal = {0, 0};
constexpr Results kService = {0, -1};
constexpr Results kWrite = {0, 0, true};

struct Function {
  const char* name;
  Named mutex;
  Results results;
  int (*call)();
};

inline int FreeList(int result, nuv_app_info_s* list) {
  free(list);
  return result;
}

inline int LaunchEx() {
  return nuv_launch_app_ex(fake_platform::MakeAppControl({"app", {}, {}, {}}).get(), nullptr, nullptr);
}

inline int PinPopup() {
  _NUV_LAUNCHER_DATA record;
  record.appId = "app";
  return nuv_launch_Pin_Popup(0, 2, record);
}

inline int LaunchInternal() {
  Launch_Opinion opinion;
  return nuv_launch_app_internal("app", "", nullptr, nullptr, opinion);
}

template <int (*Ask)(char**)>
int Showing() {
  char* id = nullptr;
  const int result = Ask(&id);
  const bool right = id != nullptr && std::string(id) == "app";
  free(id);
  return right ? result : 99;
}

inline int Iterate() {
  char buffer[256] = {};
  const aul_app_info info = {1, NUV_AUL_STATUS_VISIBLE, "kelvo"};
  return nuv_get_running_appIter_func(&info, buffer);
}

template <int (*Find)(const char*, nuv_app_info_s*)>
int FindInfo(const char* key) {
  nuv_app_info_s info = {};
  return Find(key, &info);
}

inline int FindByRuntitle() {
  nuv_app_info_s info = {};
  return GetAppInfoByRuntitle(&info, "title");
}

inline int FindInner() {
  _APPS_INNER_INFO_T info;
  return GetAppInnerInfo("app", &info);
}

inline int FindGroup() {
  std::string id;
  int result = 99;
  GetAppIDFromAppGroupList("group", id, result);
  return result;
}

inline int Cut() {
  std::map<std::string, std::string> pairs;
  ParseStringToList("a:x", ",", ":", pairs);
  return static_cast<int>(pairs.size()) - 1;
}

inline int CheckRows() {
  std::vector<_NUVDB_BIND_T> binds;
  return CheckIsRecentlyOrMostUsedApp("app", "select id from widgetinfo", binds);
}

inline int Count() {
  int count = 0;
  const int result = GetAppsTableCount(&count, "", 0, {});
  return count == 1 ? result : 99;
}

inline int ListApps() {
  nuv_app_info_s* list = nullptr;
  int count = 0;
  const nuv_app_filter_s all = {NUV_APP_FILTER_ANY, 0, NUV_APP_FILTER_ANY};
  return FreeList(GetAppList(all, NUV_APP_VIEWMODE_INDEX, 0, 0, false, &count, &list, nullptr), list);
}

inline int ListByKey() {
  nuv_app_info_s* list = nullptr;
  int count = 0;
  return FreeList(nuv_get_key_list("is_lock", 0, &list, &count), list);
}

template <int (*List)(nuv_app_info_s**, int*)>
int ListWidgets() {
  nuv_app_info_s* list = nullptr;
  int count = 0;
  return FreeList(List(&list, &count), list);
}

inline int ListForService() {
  std::vector<_APPS_INNER_INFO_T> list;
  return GetNUVAppList("65535", "1", true, list);
}

inline int MakeMarks() {
  std::string text;
  std::vector<_NUVDB_BIND_T> binds;
  return GetStrAppType(2, text, binds);
}

template <void (*Exchange)()>
int Switch() {
  Exchange();
  return 0;
}

template <int (*Find)(const std::string&, _APPSINFO_T&, bool)>
int FindRecord(const char* key) {
  _APPSINFO_T info;
  return Find(key, info, true);
}

template <int (*Find)(const std::string&, std::string&)>
int FindId(const char* key) {
  std::string id;
  return Find(key, id);
}

inline int ListRecords() {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  delete[] list;
  return result;
}

constexpr auto kHandled = APPSINFO_UPDATE_IS_UPDATED;
constexpr auto kVersion = APPSINFO_UPDATE_VERSION;

inline int status = 0;

// Each exported function, in the order of the list of them. The inner connection is open when they are called.
inline const Function kFunctions[] = {
    {"nuv_launch_app", Named::kLaunches, kService, [] { return nuv_launch_app("app", "", nullptr, nullptr); }},
    {"nuv_launch_app_with_param", Named::kLaunches, kService,
     [] { return nuv_launch_app_with_param("app", "", "me", nullptr, nullptr); }},
    {"nuv_force_launch_app", Named::kLaunches, kService,
     [] { return nuv_force_launch_app("app", "", nullptr, nullptr); }},
    {"nuv_force_launch_app_with_param", Named::kLaunches, kService,
     [] { return nuv_force_launch_app_with_param("app", "", "me", nullptr, nullptr); }},
    {"nuv_launch_webapp", Named::kLaunches, kService,
     [] { return nuv_launch_webapp("app", "", "me", nullptr, nullptr); }},
    {"nuv_force_launch_webapp", Named::kLaunches, kService,
     [] { return nuv_force_launch_webapp("app", "", "me", nullptr, nullptr); }},
    {"nuv_background_launch_webapp", Named::kLaunches, kService,
     [] { return nuv_background_launch_webapp("app", "", "me", nullptr, nullptr); }},
    {"nuv_launch_webapp_for_deeplink", Named::kLaunches, kService,
     [] { return nuv_launch_webapp_for_deeplink("app", "", "me", nullptr, nullptr); }},
    {"nuv_background_launch_webapp_for_deeplink", Named::kLaunches, kService,
     [] { return nuv_background_launch_webapp_for_deeplink("app", "", "me", nullptr, nullptr); }},
    {"nuv_launch_app_ex", Named::kNone, kService, LaunchEx},
    {"nuv_launch_app_by_runtitle", Named::kLaunches, kService,
     [] { return nuv_launch_app_by_runtitle("title", "", nullptr, nullptr); }},
    {"nuv_launch_app_by_runtitle_with_param", Named::kLaunches, kService,
     [] { return nuv_launch_app_by_runtitle_with_param("title", "", "me", nullptr, nullptr); }},
    {"nuv_launch_webapp_by_runtitle", Named::kLaunches, kService,
     [] { return nuv_launch_webapp_by_runtitle("title", "", "me", nullptr, nullptr); }},
    {"nuv_launch_webapp_for_preload", Named::kNone, kService,
     [] { return nuv_launch_webapp_for_preload("app", "", "me", nullptr, nullptr); }},
    {"nuv_launch_Pin_Popup", Named::kNone, kService, PinPopup},
    {"nuv_terminate_app", Named::kNone, kService, [] { return nuv_terminate_app("app"); }},
    {"nuv_terminate_app_with_preload", Named::kNone, kService, [] { return nuv_terminate_app_with_preload("app"); }},
    {"nuv_terminate_app_by_runtitle", Named::kLaunches, kService,
     [] { return nuv_terminate_app_by_runtitle("title"); }},
    {"nuv_get_app_status", Named::kInner, kLocal, [] { return nuv_get_app_status("app", &status); }},
    {"nuv_get_current_showing_app", Named::kInner, kLocal, Showing<nuv_get_current_showing_app>},
    {"nuv_send_appexec_kpi", Named::kNone, kService, [] { return nuv_send_appexec_kpi(1, "app", "me", 0, "pt"); }},
    {"nuv_launch_app_internal", Named::kNone, kService, LaunchInternal},
    {"nuv_terminate_app_internal", Named::kNone, kService, [] { return nuv_terminate_app_internal("app", "me", ""); }},
    {"nuv_get_android_app_status_internal", Named::kNone, kService,
     [] { return nuv_get_android_app_status_internal("app", status); }},
    {"nuv_get_current_showing_app_client", Named::kInner, kLocal, Showing<nuv_get_current_showing_app_client>},
    {"nuv_get_showing_appid", Named::kInner, kLocal, [] { return nuv_get_showing_appid() == "app" ? 0 : 99; }},
    {"nuv_get_running_appIter_func", Named::kInner, {-1, -1}, Iterate},

    {"nuv_terminate_app_client", Named::kNone, kService, [] { return nuv_terminate_app_client("app", 0, "", ""); }},
    {"nuv_terminate_app_by_runtitle_client", Named::kLaunches, kService,
     [] { return nuv_terminate_app_by_runtitle_client("title"); }},
    {"nuv_launch_systempopup_client", Named::kNone, kService,
     [] { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1); }},
    {"nuv_send_appexec_kpi_client", Named::kNone, kService,
     [] { return nuv_send_appexec_kpi_client(1, "app", "me", 0, "pt"); }},
    {"nuv_get_android_app_status_client", Named::kNone, kService,
     [] { return nuv_get_android_app_status_client("app", status); }},
    {"nuv_terminate_allApps_internal", Named::kNone, kService, [] { return nuv_terminate_allApps_internal("me", ""); }},
    {"nuv_get_extra_app", Named::kNone, kService,
     [] {
       std::string id;
       return nuv_get_extra_app(id);
     }},
    {"nuv_notify_extra_app_changed", Named::kNone, kService, [] { return nuv_notify_extra_app_changed("app"); }},
    {"nuv_dbus_update_app_count", Named::kNone, kService, [] { return nuv_dbus_update_app_count("app"); }},
    {"nuv_dbus_update_app_version", Named::kNone, kService, [] { return nuv_dbus_update_app_version("app", "2"); }},
    {"nuv_dbus_update_app_by_key", Named::kNone, kService, [] { return nuv_dbus_update_app_by_key("app", kHandled); }},
    {"nuv_dbus_nuv_command", Named::kNone, kService, [] { return nuv_dbus_nuv_command(1, "app", "", ""); }},
    {"nuv_set_launch_fail", Named::kNone, kLocal, [] { return nuv_set_launch_fail("app:103"); }},

    {"m_nuv_get_app_info", Named::kNone, kLocal, [] { return FindInfo<m_nuv_get_app_info>("app"); }},
    {"nuv_get_app_info_by_runtitle", Named::kLaunches, kLocal,
     [] { return FindInfo<nuv_get_app_info_by_runtitle>("title"); }},
    {"GetAppInfoByRuntitle", Named::kNone, kLocal, FindByRuntitle},
    {"GetAppInnerInfo", Named::kLaunches, kLocal, FindInner},
    {"GetAppIDFromAppGroupList", Named::kNone, kLocal, FindGroup},
    {"ParseStringToList", Named::kNone, kLocal, Cut},
    {"nuv_check_app_is_locked", Named::kLaunches, kLocal, [] { return nuv_check_app_is_locked("'app'"); }},
    {"nuv_check_app_is_need_uninstall", Named::kLaunches, kLocal,
     [] { return nuv_check_app_is_need_uninstall("'app'"); }},
    {"CheckIsRecentlyOrMostUsedApp", Named::kNone, kLocal, CheckRows},
    {"GetAppsTableCount", Named::kNone, kLocal, Count},

    {"GetAppList", Named::kNone, kLocal, ListApps},
    {"nuv_get_key_list", Named::kLaunches, kLocal, ListByKey},
    {"nuv_get_isp_bound_widget_list", Named::kLaunches, kLocal, ListWidgets<nuv_get_isp_bound_widget_list>},
    {"nuv_get_hybrid_widget_list", Named::kLaunches, kLocal, ListWidgets<nuv_get_hybrid_widget_list>},
    {"GetNUVAppList", Named::kLaunches, kLocal, ListForService},
    {"GetStrAppType", Named::kNone, kLocal, MakeMarks},

    {"nuv_inner_db_init", Named::kInner, kLocal, nuv_inner_db_init},
    {"nuv_db_rw_exchange", Named::kNone, kLocal, Switch<nuv_db_rw_exchange>},
    {"nuv_db_ro_exchange", Named::kNone, kLocal, Switch<nuv_db_ro_exchange>},
    {"nuv_inner_get_app_info_by_id", Named::kInner, kLocal,
     [] { return FindRecord<nuv_inner_get_app_info_by_id>("app"); }},
    {"nuv_inner_get_app_info_by_kelvoid", Named::kInner, kLocal,
     [] { return FindRecord<nuv_inner_get_app_info_by_kelvoid>("kelvo"); }},
    {"nuv_inner_get_app_info_by_runtitle", Named::kNone, kLocal,
     [] { return FindRecord<nuv_inner_get_app_info_by_runtitle>("title"); }},
    {"nuv_inner_get_appid_by_title", Named::kInner, kLocal,
     [] { return FindId<nuv_inner_get_appid_by_title>("Title"); }},
    {"nuv_inner_get_appid_by_kelvoid_or_nativeid", Named::kInner, kLocal,
     [] { return FindId<nuv_inner_get_appid_by_kelvoid_or_nativeid>("kelvo"); }},
    {"nuv_inner_check_most_used_app", Named::kInner, {1, 1}, [] { return nuv_inner_check_most_used_app("app"); }},
    {"nuv_inner_check_recently_used_app",
     Named::kInner,
     {1, 1},
     [] { return nuv_inner_check_recently_used_app("app"); }},
    {"nuv_inner_get_all_app_list", Named::kInner, kLocal, ListRecords},
    {"nuv_db_update_app_by_key", Named::kNone, kWrite,
     [] {
       nuv_db_rw_exchange();
       return nuv_db_update_app_by_key("app", kHandled);
     }},
    {"nuv_db_update_app_by_key_value", Named::kInner, kWrite,
     [] {
       nuv_db_rw_exchange();
       return nuv_db_update_app_by_key_value("app", kVersion, "2");
     }},
    {"nuv_db_update_app_count", Named::kNone, kWrite,
     [] {
       nuv_db_rw_exchange();
       return nuv_db_update_app_count("app");
     }},
    {"nuv_inner_update_app_by_key", Named::kInner, kLocal, [] { return nuv_inner_update_app_by_key("app", kHandled); }},
    {"nuv_inner_update_app_count", Named::kInner, kLocal, [] { return nuv_inner_update_app_count("app"); }},
    {"nuv_inner_update_app_by_key_value", Named::kInner, kWrite,
     [] { return nuv_inner_update_app_by_key_value("app", kVersion, "2"); }},
    {"nuv_inner_update_app_version", Named::kNone, kService, [] { return nuv_inner_update_app_version("app", "2"); }},
    {"nuv_inner_nuv_command", Named::kNone, kService, [] { return nuv_inner_nuv_command(1, "app", "", ""); }},
    {"nuv_inner_check_app_installing", Named::kNone, {-1, -1}, [] { return nuv_inner_check_app_installing("app"); }},
};

}  // namespace exported
