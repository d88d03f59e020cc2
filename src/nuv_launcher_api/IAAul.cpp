#include "nuv_launcher_api/IAAul.h"

#include <nuv_common/nuv_handle.h>
#include <nuv_common/nuv_log.h>
#include <nuv_platform/platform_app_control.h>
#include <nuv_platform/platform_aul.h>

#include <string>
#include <utility>

namespace {

constexpr const char* kCommonUi = "org.kelvo.corvane-commui";

using AppControl = Handle<app_control_s, app_control_destroy>;

AppControl CreateAppControl() {
  app_control_h request = nullptr;
  app_control_create(&request);
  return AppControl(request);
}

// A closed popup needs no closing.
bool AlreadyClosed(const std::string& methodName) {
  if (aul_app_is_running(kCommonUi) != 0 || methodName != "kill") return false;
  NUV_WARNING(NUV_GREEN "commui already killed!" NUV_PLAIN);
  return true;
}

struct ExtraDatum {
  const char* key;
  const char* value;
};

// Sets the platform's default operation and adds the data in their order. The platform leaves out a null value.
template <size_t Count>
void AddFixed(const AppControl& request, const ExtraDatum (&fixed)[Count]) {
  app_control_set_operation(request.get(), APP_CONTROL_OPERATION_DEFAULT);
  for (const ExtraDatum& datum : fixed) app_control_add_extra_data(request.get(), datum.key, datum.value);
}

// The request is destroyed before a success is logged, but after a failure is logged.
bool SendToCommonUi(AppControl request) {
  app_control_set_app_id(request.get(), kCommonUi);
  if (app_control_send_launch_request(request.get(), nullptr, nullptr) != 0) {
    NUV_ERROR(NUV_RED "launch commui error" NUV_PLAIN);
    return false;
  }
  request.reset();
  NUV_INFO(NUV_YELLOW "launch commui App success" NUV_PLAIN);
  return true;
}

}  // namespace

bool ICAul::AulAppIsRunning(const char* platformId) {
  return aul_app_is_running(platformId) != 0;
}

bool ICAul::AulLaunchPINPopup(const char* methodName, _NUV_LAUNCHER_COMMUI_DATA& data) {
  const std::string method(methodName);
  if (AlreadyClosed(method)) return true;
  AppControl request = CreateAppControl();
  for (const auto& [key, value] : data.extraDatas) {
    NUV_INFO(NUV_YELLOW "NUV_LAUNCHER_COMMUI_DATA extraDatas key: %s, value: %s" NUV_PLAIN, key.c_str(), value.c_str());
    app_control_add_extra_data(request.get(), key.c_str(), value.c_str());
  }
  const std::string forceLaunch = std::to_string(data.bForceLaunch);
  const std::string index = std::to_string(data.index);
  const std::string cbType = std::to_string(data.cbType);
  const std::string deepLink = std::to_string(data.bDeepLink);
  const std::string background = std::to_string(data.bBackground);
  // Added last, so that they win over the launch's own data of the same key.
  const ExtraDatum fixed[] = {
      {"Pid", data.pidText},
      {"ThreadId", data.threadIdText},
      {"MethodName", method.c_str()},
      {"AppType", data.appTypeText},
      {"AppId", data.appId.c_str()},
      {"AppPayload", data.payload.c_str()},
      {"AppUri", data.uri.c_str()},
      {"AppCallerid", data.callerId.c_str()},
      {"cbType", cbType.c_str()},
      {"ForceLaunch", forceLaunch.c_str()},
      {"Index", index.c_str()},
      {"UIType", "0"},
      {"Deeplink", deepLink.c_str()},
      {"Background", background.c_str()},
      {"Entry", data.entry.c_str()},
      {"RelocateBelowApp", data.relocateBelowApp.c_str()},
      {"__K_EX_LAUNCH_REQUESTOR", data.launchRequestor.c_str()},
  };
  AddFixed(request, fixed);
  return SendToCommonUi(std::move(request));
}

bool ICAul::AulLaunchPINPopup(const char* appId, const char* pid, const char* threadId, const char* methodName,
                              const char* apiName, int index, const char* appType) {
  NUV_INFO(NUV_YELLOW "Launch commui app.app id [%s],ProcessId [%s],ThreadId [%s]" NUV_PLAIN, appId, pid, threadId);
  const std::string method(methodName);
  if (AlreadyClosed(method)) return true;
  AppControl request = CreateAppControl();
  const std::string indexText = std::to_string(index);
  const ExtraDatum fixed[] = {
      {"Pid", pid},         {"ThreadId", threadId},         {"AppId", appId},
      {"ApiName", apiName}, {"MethodName", method.c_str()}, {"AppType", appType},
      {"UIType", "0"},      {"Index", indexText.c_str()},
  };
  AddFixed(request, fixed);
  return SendToCommonUi(std::move(request));
}
