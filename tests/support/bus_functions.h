// The functions of the library that ask the service, each with one call of it and its documented outcomes.
#pragma once

#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>

#include "fake_apps.h"

// What a launch's callback was told, and what it is to do.
struct LaunchRecord {
  explicit LaunchRecord(std::string app_id) : app(std::move(app_id)) {}

  const std::string app;
  std::atomic<int> heard{0};  // results
  std::atomic<int> told{0};   // that the call failed, with 404
  std::atomic<int> wrong{0};  // anything else
  std::atomic<int> result{kPending};
  std::function<void()> in_callback;  // what the callback of a result does

  static constexpr int kPending = -7;
};

enum class Failure {
  kRefused,  // -1
  kCommand,  // 0 as long as the link is usable
  kLocal,    // 0: done without the service
};

struct BusFunction {
  const char* name;
  bool own_way;        // through the library, other than that of one above
  const char* method;  // of the service; null: it is only probed
  Failure failure;
  int (*call)();
};

struct LaunchFunction {
  const char* name;
  bool own_way;  // through the library, other than that of one above
  int (*launch)(LaunchRecord& record);
};

inline thread_local LaunchRecord* t_launch = nullptr;  // the launch that this thread is in

inline int Launch(const LaunchFunction& function, LaunchRecord& record) {
  LaunchRecord* outer = std::exchange(t_launch, &record);
  record.result = function.launch(record);
  t_launch = outer;
  return record.result;
}

inline void HearResult(LaunchRecord& record) {
  if (record.in_callback) record.in_callback();
  ++record.heard;  // last: nothing else is to come
}

inline void OnLaunchNotify(const char* app, nuv_notify_event_e event, int reserved, int result, void* data) {
  auto& record = *static_cast<LaunchRecord*>(data);
  const bool own = app == record.app && reserved == 0;
  if (own && &record == t_launch && event == 903 && result == 404) {
    ++record.told;
  } else if (own && &record != t_launch && event == 900 && result == 0) {
    HearResult(record);
  } else {
    ++record.wrong;
  }
}

// A failed call is told in the order of the other shape.
inline void OnLaunchResult(void* data, int reserved, const char* app, int result) {
  if (reserved == 903) {
    const bool own = t_launch != nullptr && static_cast<const char*>(data) == t_launch->app && result == 404;
    if (t_launch != nullptr) ++(own ? t_launch->told : t_launch->wrong);
    return;
  }
  auto& record = *static_cast<LaunchRecord*>(data);
  if (app == record.app && reserved == 0 && result == 600) {
    HearResult(record);
  } else {
    ++record.wrong;
  }
}

// The catalogue that they need: an application "app" with the run title "Title", which is an Android one.
constexpr const char* kTheTitle = "Title";

inline const LaunchFunction kLaunchFunctions[] = {
    {"nuv_launch_app", true, [](LaunchRecord& r) { return nuv_launch_app(r.app.c_str(), "", OnLaunchResult, &r); }},
    {"nuv_launch_app_with_param", false,
     [](LaunchRecord& r) { return nuv_launch_app_with_param(r.app.c_str(), "", "me", OnLaunchResult, &r); }},
    {"nuv_force_launch_app", false,
     [](LaunchRecord& r) { return nuv_force_launch_app(r.app.c_str(), "", OnLaunchResult, &r); }},
    {"nuv_force_launch_app_with_param", false,
     [](LaunchRecord& r) { return nuv_force_launch_app_with_param(r.app.c_str(), "", "me", OnLaunchResult, &r); }},
    {"nuv_launch_webapp", false,
     [](LaunchRecord& r) { return nuv_launch_webapp(r.app.c_str(), "", "me", OnLaunchNotify, &r); }},
    {"nuv_force_launch_webapp", false,
     [](LaunchRecord& r) { return nuv_force_launch_webapp(r.app.c_str(), "", "me", OnLaunchNotify, &r); }},
    {"nuv_background_launch_webapp", false,
     [](LaunchRecord& r) { return nuv_background_launch_webapp(r.app.c_str(), "", "me", OnLaunchNotify, &r); }},
    {"nuv_launch_webapp_for_deeplink", false,
     [](LaunchRecord& r) { return nuv_launch_webapp_for_deeplink(r.app.c_str(), "", "me", OnLaunchNotify, &r); }},
    {"nuv_background_launch_webapp_for_deeplink", false,
     [](LaunchRecord& r) {
       return nuv_background_launch_webapp_for_deeplink(r.app.c_str(), "", "me", OnLaunchNotify, &r);
     }},
    {"nuv_launch_app_ex", true,
     [](LaunchRecord& r) {
       const auto request = fake_platform::MakeAppControl({r.app, {}, {}, {}});
       return nuv_launch_app_ex(request.get(), OnLaunchNotify, &r);
     }},
    {"nuv_launch_app_by_runtitle", true,
     [](LaunchRecord& r) { return nuv_launch_app_by_runtitle(kTheTitle, "", OnLaunchResult, &r); }},
    {"nuv_launch_app_by_runtitle_with_param", false,
     [](LaunchRecord& r) { return nuv_launch_app_by_runtitle_with_param(kTheTitle, "", "me", OnLaunchResult, &r); }},
    {"nuv_launch_webapp_by_runtitle", true,
     [](LaunchRecord& r) { return nuv_launch_webapp_by_runtitle(kTheTitle, "", "me", OnLaunchNotify, &r); }},
    {"nuv_launch_webapp_for_preload", true,
     [](LaunchRecord& r) { return nuv_launch_webapp_for_preload(r.app.c_str(), "", "me", OnLaunchNotify, &r); }},
    {"nuv_launch_app_internal", false,
     [](LaunchRecord& r) {
       Launch_Opinion opinion;
       return nuv_launch_app_internal(r.app.c_str(), "", OnLaunchNotify, &r, opinion);
     }},
};

inline const BusFunction kBusFunctions[] = {
    {"nuv_terminate_app", true, "terminate_app", Failure::kRefused, [] { return nuv_terminate_app("app"); }},
    {"nuv_terminate_app_with_preload", false, "terminate_app", Failure::kRefused,
     [] { return nuv_terminate_app_with_preload("app"); }},
    {"nuv_terminate_app_internal", false, "terminate_app", Failure::kRefused,
     [] { return nuv_terminate_app_internal("app", "me", "why"); }},
    {"nuv_terminate_app_client", false, "terminate_app", Failure::kRefused,
     [] { return nuv_terminate_app_client("app", 1, "me", "why"); }},
    {"nuv_terminate_app_by_runtitle", true, "terminate_app_by_runtitle", Failure::kRefused,
     [] { return nuv_terminate_app_by_runtitle(kTheTitle); }},
    {"nuv_terminate_allApps_internal", false, "terminate_allapp", Failure::kRefused,
     [] { return nuv_terminate_allApps_internal("me", "why"); }},
    {"nuv_launch_systempopup_client", true, "launch_systempopup", Failure::kRefused,
     [] { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1); }},
    {"nuv_send_appexec_kpi", true, "send_appexec_kpi", Failure::kRefused,
     [] { return nuv_send_appexec_kpi(1, "app", "me", 0, "pt"); }},
    {"nuv_send_appexec_kpi_client", false, "send_appexec_kpi", Failure::kRefused,
     [] { return nuv_send_appexec_kpi_client(1, "app", "me", 0, "pt"); }},
    {"nuv_get_app_status", true, "get_android_app_status", Failure::kRefused,
     [] {
       int status = -1;
       return nuv_get_app_status("app", &status);
     }},
    {"nuv_get_android_app_status_client", false, "get_android_app_status", Failure::kRefused,
     [] {
       int status = -1;
       return nuv_get_android_app_status_client("app", status);
     }},
    {"nuv_get_android_app_status_internal", false, "get_android_app_status", Failure::kRefused,
     [] {
       int status = -1;
       return nuv_get_android_app_status_internal("app", status);
     }},
    {"nuv_get_extra_app", true, "get_extra_app", Failure::kRefused,
     [] {
       std::string app;
       return nuv_get_extra_app(app);
     }},
    {"nuv_notify_extra_app_changed", true, "notify_extra_app_changed", Failure::kRefused,
     [] { return nuv_notify_extra_app_changed("app"); }},
    {"nuv_dbus_update_app_count", true, "nuv_update_app_count", Failure::kRefused,
     [] { return nuv_dbus_update_app_count("app"); }},
    {"nuv_dbus_update_app_version", false, "nuv_update_app_version", Failure::kRefused,
     [] { return nuv_dbus_update_app_version("app", "1"); }},
    {"nuv_dbus_update_app_by_key", false, "nuv_update_app_by_key", Failure::kRefused,
     [] { return nuv_dbus_update_app_by_key("app", APPSINFO_UPDATE_IS_UPDATED); }},
    {"nuv_dbus_nuv_command", true, "nuv_command", Failure::kCommand,
     [] { return nuv_dbus_nuv_command(1, "app", "", ""); }},
    {"nuv_inner_update_app_count", true, "nuv_update_app_count", Failure::kLocal,
     [] { return nuv_inner_update_app_count("app"); }},
    {"nuv_inner_update_app_by_key", false, "nuv_update_app_by_key", Failure::kLocal,
     [] { return nuv_inner_update_app_by_key("app", APPSINFO_UPDATE_IS_UPDATED); }},
    {"nuv_inner_update_app_version", false, "nuv_update_app_version", Failure::kRefused,
     [] { return nuv_inner_update_app_version("app", "1"); }},
    {"nuv_inner_nuv_command", false, "nuv_command", Failure::kCommand,
     [] { return nuv_inner_nuv_command(1, "app", "", ""); }},
    {"nuv_launch_Pin_Popup", true, nullptr, Failure::kCommand,
     [] {
       _NUV_LAUNCHER_DATA record;
       return nuv_launch_Pin_Popup(0, 2, record);
     }},
};
