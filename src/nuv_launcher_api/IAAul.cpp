#include "nuv_launcher_api/IAAul.h"

#include <nuv_common/nuv_handles.h>
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

bool SendToCommonUi(const AppControl& request) {
  app_control_set_app_id(request.get(), kCommonUi);
  if (app_control_send_launch_request(request.get(), nullptr, nullptr) != 0) {
    NUV_ERROR(NUV_RED "launch commui error" NUV_PLAIN);
    return false;
  }
  NUV_INFO(NUV_YELLOW "launch commui App success" NUV_PLAIN);
  return true;
}

}  // namespace

bool ICAul::AulLaunchPINPopup(const char* appId, const char* pid, const char* threadId, const char* methodName,
                              const char* apiName, int index, const char* appType) {
  NUV_INFO(NUV_YELLOW "Launch commui app.app id [%s],ProcessId [%s],ThreadId [%s]" NUV_PLAIN, appId, pid, threadId);
  const std::string method(methodName);
  if (AlreadyClosed(method)) return true;
  const AppControl request = CreateAppControl();
  app_control_set_operation(request.get(), APP_CONTROL_OPERATION_DEFAULT);
  const std::string indexText = std::to_string(index);
  const std::pair<const char*, const char*> extraDatas[] = {
      {"Pid", pid},         {"ThreadId", threadId},         {"AppId", appId},
      {"ApiName", apiName}, {"MethodName", method.c_str()}, {"AppType", appType},
      {"UIType", "0"},      {"Index", indexText.c_str()},
  };
  for (const auto& [key, value] : extraDatas) app_control_add_extra_data(request.get(), key, value);
  return SendToCommonUi(request);
}
