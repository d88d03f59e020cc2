#include "nuv_launcher_api/nuv_launch_body.h"

#include <nuv/nuv_launcher_api.h>
#include <nuv_common/nuv_lock.h>
#include <nuv_common/nuv_log.h>
#include <unistd.h>

#include "nuv_launcher_api/nuv_callback_guard.h"
#include "nuv_launcher_api/nuv_cpu_inheritance.h"
#include "nuv_launcher_api/nuv_launch_fail.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "nuv_launcher_api/nuv_payload_caller_id.h"
#include "nuv_launcher_api/nuv_trace_marker.h"

namespace {

void ReportMissingAppId(const std::string& appIdText, uintptr_t callback, void* userData, int32_t cbType) {
  nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_NO_APP_ID);
  NUV_ERROR(NUV_RED "App_id == NULL" NUV_PLAIN);
  constexpr const char* kNoApp = nullptr;
  if (cbType == kNotifyCallback) {
    CallUserCallback<nuv_launch_notify_cb>(callback, kNoApp, NUV_NOTIFY_LAUNCH_FAILED, 0,
                                           static_cast<int>(NUV_LAUNCH_STATUS_FAILED), userData);
  } else {
    CallUserCallback<nuv_launch_result_cb>(callback, userData, 0, kNoApp, static_cast<int>(NUV_LAUNCH_RESULT_FAILED));
  }
  nuv_set_launch_fail(LaunchFailText(appIdText, LaunchFailReason::kNoAppId));
}

_NUV_LAUNCHER_DATA MakeRecord(const char* appId, const char* payload, const char* callerId,
                              const _NUV_LAUNCHER_OPS& options) {
  _NUV_LAUNCHER_DATA data;
  data.appId = appId;
  nuv_ProcessPayloadCallerID_internal(kKeepPayload, payload, callerId, data.payload, data.callerId);
  data.bForceLaunch = options.bForceLaunch;
  data.bDeepLink = options.bDeepLink;
  data.cbType = options.cbType;
  data.bExtraOption = options.bExtraOption;
  data.bBackground = options.bBackground;
  return data;
}

}  // namespace

int nuv_launch_app_internal_(const char* appId, const char* payload, const char* callerId, uintptr_t callback,
                             void* userData, const _NUV_LAUNCHER_OPS& options) {
  const CNUVClientAutoLock lock(g_Mute);
  // Not a guard: where an exception leaves, the priority stays lent.
  const int tid = gettid();
  LendCpuPriority(tid);
  // Start lines are error lines in all entry points: filters show those.
  NUV_ERROR(NUV_YELLOW "Start: app id:[%s], payload:[%s],callerid [%s]." NUV_PLAIN, appId, payload, callerId);
  LeaveTraceMarker("[BEGIN]Start: app id:[%s], callerid [%s].", appId, callerId);
  if (appId == nullptr) {
    ReportMissingAppId("NULL", callback, userData, options.cbType);
    TakeCpuPriorityBack(tid);
    return -1;
  }
  // Nothing is looked up; readers of the log know the line.
  NUV_INFO(NUV_YELLOW "get app info for app id [%s] success." NUV_PLAIN, appId);
  _NUV_LAUNCHER_DATA data = MakeRecord(appId, payload, callerId, options);
  data.callback = callback;
  data.userData = userData;
  const int result = nuv_launch_app_client(data);
  TakeCpuPriorityBack(tid);
  return result;
}
