// A launch that needs the user's PIN first.
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>
#include <unistd.h>

#include "nuv_launcher_api/IAAul.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

namespace {

_NUV_LAUNCHER_COMMUI_DATA MakeCommonUiData(const _NUV_LAUNCHER_DATA& record, int32_t event) {
  _NUV_LAUNCHER_COMMUI_DATA data;
  data.appId = record.appId;
  data.payload = record.payload;
  data.uri = record.uri;
  data.callerId = record.callerId;
  data.entry = record.entry;
  data.relocateBelowApp = record.relocateBelowApp;
  data.launchRequestor = record.launchRequestor;
  data.bForceLaunch = record.bForceLaunch;
  data.bDeepLink = record.bDeepLink;
  data.bBackground = record.bBackground;
  data.index = event;
  data.cbType = record.cbType;
  data.extraDatas = record.extraDatas;
  return data;
}

}  // namespace

int nuv_launch_Pin_Popup(int /*reserved*/, int app_type, _NUV_LAUNCHER_DATA& record) try {
  CNUVGdbus* link = UsableLink(kLauncherServiceInRed);
  if (link == nullptr) return -1;
  const int32_t event = TakeLaunchEvent();
  _NUV_LAUNCHER_COMMUI_DATA data = MakeCommonUiData(record, event);
  const std::string pid = std::to_string(getpid());
  const std::string threadId = std::to_string(link->ListenerId());
  const std::string appType = std::to_string(app_type);
  data.pidText = pid.c_str();
  data.threadIdText = threadId.c_str();
  data.appTypeText = appType.c_str();
  NUV_INFO(NUV_YELLOW "ProcessId [%s],ThreadId [%s]" NUV_PLAIN, data.pidText, data.threadIdText);
  NUV_MILESTONE(NUV_GREEN
                "Send: App id [%s],callerid [%s],payload [%s],entry [%s],relocateBelowApp[%s],bForceLaunch "
                "[%d],bBackground [%d]" NUV_PLAIN,
                data.appId.c_str(), data.callerId.c_str(), data.payload.c_str(), data.entry.c_str(),
                data.relocateBelowApp.c_str(), data.bForceLaunch, data.bBackground);
  // The result may arrive before the start of the dialog has been answered.
  KeptLaunchCallback callback(event, {record.callback, record.userData});
  if (ICAul::AulLaunchPINPopup("Launch_pin_code_opr_result", data)) {
    callback.Accept();
    return 0;
  }
  NUV_ERROR(NUV_RED "Call AulLaunchPINPopup failed error" NUV_PLAIN);
  return -1;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
