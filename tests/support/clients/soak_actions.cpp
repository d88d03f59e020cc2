#include "soak_actions.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_app_records.h>
#include <nuv/nuv_inner_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_platform/platform_app_control.h>

#include <atomic>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>

Ledger* ledger = nullptr;

namespace {

// The catalogue of the conductor: web applications "org.kelvo.soak.a0" and so on with the run titles "Soak 0" and so
// on, and the Android application "org.kelvo.soak.android".
constexpr int kApps = 12;
constexpr const char* kUnknown = "org.kelvo.soak.none.";
constexpr const char* kAndroid = "org.kelvo.soak.android";

thread_local uintptr_t t_launching = 0;  // the launch that this thread is in

std::string App(unsigned number) {
  return "org.kelvo.soak.a" + std::to_string(number % kApps);
}
std::string Title(unsigned number) {
  return "Soak " + std::to_string(number % kApps);
}

void ActInCallback(uintptr_t number);

bool IsUnknown(const char* app) {
  return app != nullptr && std::string(app).rfind(kUnknown, 0) == 0;
}

void OnNotify(const char* app, nuv_notify_event_e event, int, int result, void* data) {
  const auto number = reinterpret_cast<uintptr_t>(data);
  if (number == t_launching) {
    ledger->Told(number, app, result);
  } else {
    const bool failed = event == 903 || event == 905 || event == 907;
    ledger->Heard(number, app, IsUnknown(app) ? failed && result == 400 : event >= 900 && event <= 907);
  }
  ActInCallback(number);
}

// A failed launch calls this with its arguments in the order of the other shape.
void OnResult(void* data, int reserved, const char* app, int result) {
  const auto number = reserved == 903 ? t_launching : reinterpret_cast<uintptr_t>(data);
  if (reserved == 903) {
    ledger->Told(number, static_cast<const char*>(data), result);
  } else {
    ledger->Heard(number, app, IsUnknown(app) ? result == 604 : result >= 600 && result <= 612);
  }
  ActInCallback(number);
}

int LaunchByRequest(const char* app, void* data) {
  app_control_h request = nullptr;
  app_control_create(&request);
  app_control_set_app_id(request, app);
  app_control_add_extra_data(request, "PayLoad", "page=soak");
  app_control_add_extra_data(request, "Operation", "BackgroundAndDeeplink");
  const int result = nuv_launch_app_ex(request, OnNotify, data);
  app_control_destroy(request);
  return result;
}

int LaunchForOthers(const char* app, void* data) {
  Launch_Opinion opinion;
  opinion.callerId = "org.kelvo.soak";
  return nuv_launch_app_internal(app, "", OnNotify, data, opinion);
}

struct LaunchKind {
  Lookup lookup;
  int (*run)(const char* app, void* data);
};

constexpr LaunchKind kLaunchKinds[] = {
    {Lookup::kNone, [](const char* app, void* data) { return nuv_launch_app(app, "", OnResult, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) { return nuv_launch_app_with_param(app, "a=b", "caller", OnResult, data); }},
    {Lookup::kNone, [](const char* app, void* data) { return nuv_force_launch_app(app, "", OnResult, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) { return nuv_force_launch_app_with_param(app, "", "caller", OnResult, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) { return nuv_launch_webapp(app, "a&callerid=me", "", OnNotify, data); }},
    {Lookup::kNone, [](const char* app, void* data) { return nuv_force_launch_webapp(app, "", "", OnNotify, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) { return nuv_background_launch_webapp(app, "", "", OnNotify, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) { return nuv_launch_webapp_for_deeplink(app, "page=1", "", OnNotify, data); }},
    {Lookup::kNone,
     [](const char* app, void* data) {
       return nuv_background_launch_webapp_for_deeplink(app, "page=2", "", OnNotify, data);
     }},
    {Lookup::kNone, LaunchByRequest},
    {Lookup::kTitle,
     [](const char* title, void* data) { return nuv_launch_app_by_runtitle(title, "", OnResult, data); }},
    {Lookup::kTitle,
     [](const char* title, void* data) {
       return nuv_launch_app_by_runtitle_with_param(title, "", "caller", OnResult, data);
     }},
    {Lookup::kTitle,
     [](const char* title, void* data) { return nuv_launch_webapp_by_runtitle(title, "", "", OnNotify, data); }},
    {Lookup::kCatalogue,
     [](const char* app, void* data) { return nuv_launch_webapp_for_preload(app, "", "", OnNotify, data); }},
    {Lookup::kCatalogue, LaunchForOthers},
};

uintptr_t Launch(const LaunchKind& kind, unsigned choice, bool unknown) {
  static std::atomic<unsigned> unknown_apps{0};
  const std::string app = unknown ? kUnknown + std::to_string(++unknown_apps) : App(choice);
  const uintptr_t number = ledger->Begin(app, kind.lookup);
  const uintptr_t outer = std::exchange(t_launching, number);
  const std::string key = kind.lookup == Lookup::kTitle ? Title(choice) : app;
  ledger->Returned(number, kind.run(key.c_str(), reinterpret_cast<void*>(number)));
  t_launching = outer;
  return number;
}

void LaunchSomething(unsigned choice) {
  const LaunchKind& kind = kLaunchKinds[choice % std::size(kLaunchKinds)];
  // Ids that nobody else uses show a result that went to another launch.
  Launch(kind, choice / std::size(kLaunchKinds), kind.lookup == Lookup::kNone && choice % 2 == 0);
}

int ReadList(unsigned choice) {
  nuv_app_info_s* list = nullptr;
  int count = 0;
  const nuv_app_filter_s all = {15, NUV_APP_FILTER_ANY, NUV_APP_FILTER_ANY};
  const int result = GetAppList(all, static_cast<nuv_app_viewmode_e>(choice % 5), 0, 10, false, &count, &list, nullptr);
  free(list);
  return result;
}

int ReadAllInner(unsigned) {
  _APPSINFO_T* list = nullptr;
  int count = 0;
  const int result = nuv_inner_get_all_app_list(&list, &count);
  delete[] list;
  return result;
}

int ReadShowing(unsigned) {
  char* app = nullptr;
  const int result = nuv_get_current_showing_app(&app);
  free(app);
  return result;
}

// A call whose failure is a negative result.
struct Call {
  CallKind kind;
  bool brief;  // fit for a callback, which holds up the results of others
  int (*run)(unsigned choice);
};

constexpr CallKind kTerminate = {"terminate", Excuse::kBusy};
constexpr CallKind kStatus = {"status", Excuse::kInnerBusy};
constexpr CallKind kServiceCall = {"service call", Excuse::kNone};
constexpr CallKind kKpi = {"service call", Excuse::kBusy};
constexpr CallKind kRead = {"read", Excuse::kBusy};
constexpr CallKind kInnerRead = {"inner read", Excuse::kInnerBusy};
constexpr CallKind kUpdate = {"inner update", Excuse::kInnerBusy};
constexpr CallKind kValueUpdate = {"inner value update", Excuse::kSwitched};
constexpr CallKind kVersionUpdate = {"inner version update", Excuse::kServiceCannotWrite};
constexpr CallKind kCommand = {"inner command", Excuse::kNone};

constexpr Call kCalls[] = {
    {kTerminate, true, [](unsigned n) { return nuv_terminate_app(App(n).c_str()); }},
    {kTerminate, false, [](unsigned n) { return nuv_terminate_app_with_preload(App(n).c_str()); }},
    {kTerminate, false, [](unsigned n) { return nuv_terminate_app_by_runtitle(Title(n).c_str()); }},
    {kTerminate, false, [](unsigned n) { return nuv_terminate_app_internal(App(n).c_str(), "soak", "end"); }},
    {kStatus, true,
     [](unsigned n) {
       int status = 0;
       return nuv_get_app_status(n % 3 == 0 ? kAndroid : App(n).c_str(), &status);
     }},
    {kStatus, true, ReadShowing},
    {kKpi, false, [](unsigned n) { return nuv_send_appexec_kpi(1, App(n).c_str(), "soak", 0, "pt"); }},
    {kServiceCall, true, [](unsigned) { return nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1); }},
    {kServiceCall, false,
     [](unsigned) {
       std::string app;
       return nuv_get_extra_app(app);
     }},
    {kServiceCall, false, [](unsigned n) { return nuv_notify_extra_app_changed(App(n)); }},
    {kRead, true,
     [](unsigned n) {
       nuv_app_info_s info = {};
       return m_nuv_get_app_info(App(n).c_str(), &info);
     }},
    {kRead, true,
     [](unsigned n) {
       nuv_app_info_s info = {};
       return nuv_get_app_info_by_runtitle(Title(n).c_str(), &info);
     }},
    {{"list", Excuse::kBusy}, true, ReadList},
    {kInnerRead, false,
     [](unsigned n) {
       _APPSINFO_T info;
       return nuv_inner_get_app_info_by_id(App(n), info, true);
     }},
    {kInnerRead, false, [](unsigned n) { return nuv_inner_check_most_used_app(App(n)); }},
    {kInnerRead, false, ReadAllInner},
    {kUpdate, false, [](unsigned n) { return nuv_inner_update_app_count(App(n)); }},
    {kUpdate, false, [](unsigned n) { return nuv_inner_update_app_by_key(App(n), APPSINFO_UPDATE_IS_UPDATED); }},
    {kValueUpdate, false,
     [](unsigned n) { return nuv_inner_update_app_by_key_value(App(n), APPSINFO_UPDATE_CP_NAME, "soak"); }},
    {kVersionUpdate, false, [](unsigned n) { return nuv_inner_update_app_version(App(n), "1.0." + Title(n)); }},
    {kCommand, false, [](unsigned n) { return nuv_inner_nuv_command(1, App(n), "", ""); }},
};

void CallSomething(unsigned choice, bool in_callback) {
  const Call& call = kCalls[choice % std::size(kCalls)];
  if (in_callback && !call.brief) return;
  const int64_t begin = Now();
  ledger->Called(call.kind, call.run(choice / std::size(kCalls)), begin);
}

// Every fourth callback calls the library again, one of eight with a launch, which has a callback of its own.
void ActInCallback(uintptr_t number) {
  if (number % 8 == 0) {
    LaunchSomething(static_cast<unsigned>(number / 8));
  } else if (number % 8 == 4) {
    CallSomething(static_cast<unsigned>(number / 8), true);
  }
}

}  // namespace

void Act(Random& random) {
  const auto choice = static_cast<unsigned>(random() >> 4);
  if (random() % 2 == 0) {
    LaunchSomething(choice);
  } else {
    CallSomething(choice, false);
  }
}

uintptr_t LaunchOne() {
  return Launch(kLaunchKinds[4], 0, true);
}

int AskBothLinks() {
  const int launcher = nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE_1);
  if (launcher != 0) return launcher;
  int inner = -1;
  // The service may find its database locked.
  for (int tries = 0; inner != 0 && tries < 5; ++tries) inner = nuv_dbus_update_app_version(App(0), "1.0");
  return inner;
}
