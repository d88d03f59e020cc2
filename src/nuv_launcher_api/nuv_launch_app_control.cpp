// Launching from an app-control request of the platform.
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv_common/nuv_handle.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>
#include <nuv_platform/platform_app_control.h>

#include <new>

#include "nuv_launcher_api/nuv_callback_guard.h"
#include "nuv_launcher_api/nuv_cpu_inheritance.h"
#include "nuv_launcher_api/nuv_launch_fail.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

// A text of the request; null where there is none.
template <typename Getter>
AllocatedText TextOf(app_control_h request, Getter getter) {
  char* text = nullptr;
  getter(request, &text);
  return AllocatedText(text);
}

AllocatedText ExtraDatumOf(app_control_h request, const char* key) {
  char* text = nullptr;
  app_control_get_extra_data(request, key, &text);
  return AllocatedText(text);
}

bool IsGiven(const AllocatedText& text) {
  return text != nullptr && *text != '\0';
}

void ApplyOperation(_NUV_LAUNCHER_DATA& data, const char* value) {
  struct Operation {
    const char* name;
    uint8_t forceLaunch, deepLink, preLoad, background;
  };
  static constexpr Operation kOperations[] = {
      {"ForceLaunch", 1, 0, 0, 0},
      {"DeepLink", 1, 1, 0, 0},
      {"PreLoad", 0, 0, 1, 0},
      {"BackGround", 0, 0, 0, 1},
      {"BackgroundAndDeeplink", 1, 1, 0, 1},
  };
  for (const Operation& operation : kOperations) {
    if (std::string(operation.name) != value) continue;
    data.bForceLaunch = operation.forceLaunch;
    data.bDeepLink = operation.deepLink;
    data.bPreLoad = operation.preLoad;
    data.bBackground = operation.background;
    return;
  }
}

template <std::string _NUV_LAUNCHER_DATA::*Member>
void ApplyText(_NUV_LAUNCHER_DATA& data, const char* value) {
  data.*Member = value;
}

void ApplySkipPin(_NUV_LAUNCHER_DATA& data, const char* value) {
  if (std::string("true") == value) data.bSkipPIN = 1;
}

struct RequestKey {
  const char* key;
  const char* label;  // in the log
  void (*apply)(_NUV_LAUNCHER_DATA& data, const char* value);
};

constexpr RequestKey kRequestKeys[] = {
    {"PayLoad", "payload", ApplyText<&_NUV_LAUNCHER_DATA::payload>},
    {"CallerId", "callerid", ApplyText<&_NUV_LAUNCHER_DATA::callerId>},
    {"Operation", "operation", ApplyOperation},
    {"Entry", "entry", ApplyText<&_NUV_LAUNCHER_DATA::entry>},
    {"RelocateBelowApp", "relocate_below_app", ApplyText<&_NUV_LAUNCHER_DATA::relocateBelowApp>},
    {"SkipPIN", "Skip PIN", ApplySkipPin},
    {"__K_EX_LAUNCH_REQUESTOR", "launch_requestor", ApplyText<&_NUV_LAUNCHER_DATA::launchRequestor>},
};

// The data of a request, collected by an iteration of the platform's, through which no exception may pass.
struct Collected {
  NuvExtraDatas extraDatas;
  bool outOfMemory = false;
};

bool CollectExtraDatum(app_control_h request, const char* key, void* userData) {
  Collected& collected = *static_cast<Collected*>(userData);
  const AllocatedText value = ExtraDatumOf(request, key);
  if (value == nullptr) return true;
  NUV_INFO("app_control_foreach_extra_data -> key:%s, value:%s", key, value.get());
  try {
    collected.extraDatas.emplace_back(key, value.get());
  } catch (const std::bad_alloc&) {
    collected.outOfMemory = true;
  }
  return true;
}

NuvExtraDatas ExtraDatasOf(app_control_h request) {
  Collected collected;
  app_control_foreach_extra_data(request, CollectExtraDatum, &collected);
  if (collected.outOfMemory) throw std::bad_alloc();
  return std::move(collected.extraDatas);
}

// The operation travels to the application among the extra data.
void KeepOperation(app_control_h request) {
  const AllocatedText operation = TextOf(request, app_control_get_operation);
  if (operation != nullptr) app_control_add_extra_data(request, "AC_Operation", operation.get());
}

void ApplyRequest(app_control_h request, _NUV_LAUNCHER_DATA& data) {
  const AllocatedText uri = TextOf(request, app_control_get_uri);
  if (IsGiven(uri)) {
    data.uri = uri.get();
    NUV_INFO(NUV_YELLOW "deeplink uri [%s]." NUV_PLAIN, uri.get());
  }
  for (const RequestKey& known : kRequestKeys) {
    const AllocatedText value = ExtraDatumOf(request, known.key);
    if (!IsGiven(value)) continue;
    known.apply(data, value.get());
    NUV_INFO(NUV_YELLOW "%s [%s]." NUV_PLAIN, known.label, value.get());
  }
}

int RefuseRequest(nuv_launch_notify_cb callback, void* userData, const LogOrigin& origin = Here()) {
  NUV_ERROR_FROM(origin, NUV_RED "launch data is NULL!!!" NUV_PLAIN);
  nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_NO_APP_ID);
  constexpr const char* kNoApp = nullptr;
  CallUserCallback<nuv_launch_notify_cb>(reinterpret_cast<uintptr_t>(callback), kNoApp, NUV_NOTIFY_LAUNCH_FAILED, 0,
                                         static_cast<int>(NUV_LAUNCH_STATUS_FAILED), userData);
  nuv_set_launch_fail(LaunchFailText("NULL", LaunchFailReason::kNoAppId));
  return -1;
}

}  // namespace

int nuv_launch_app_ex(app_control_s* request, nuv_launch_notify_cb callback, void* user_data) try {
  const CpuInheritance inheritance;
  if (request == nullptr) return RefuseRequest(callback, user_data);
  const AllocatedText appId = TextOf(request, app_control_get_app_id);
  if (appId == nullptr) return RefuseRequest(callback, user_data);
  NUV_INFO(NUV_YELLOW "get app info for app id [%s] success." NUV_PLAIN, appId.get());  // nothing is looked up
  KeepOperation(request);
  _NUV_LAUNCHER_DATA data;
  data.extraDatas = ExtraDatasOf(request);
  data.appId = appId.get();
  data.callback = reinterpret_cast<uintptr_t>(callback);
  data.userData = user_data;
  ApplyRequest(request, data);
  return nuv_launch_app_client(data);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
