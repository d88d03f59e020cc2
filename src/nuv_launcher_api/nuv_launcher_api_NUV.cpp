// Calls of the service's own side: launching with its options, all applications, the extra application.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_out_of_memory.h>

#include "nuv_launcher_api/nuv_callback_guard.h"
#include "nuv_launcher_api/nuv_launch_fail.h"
#include "nuv_launcher_api/nuv_launcher_client.h"
#include "nuv_launcher_api/nuv_trace_marker.h"

namespace {

int ReportUnknownApp(const char* app_id, uintptr_t callback, void* user_data, const LogOrigin& origin = Here()) {
  CallUserCallback<nuv_launch_notify_cb>(callback, app_id, NUV_NOTIFY_LAUNCH_FAILED, 0,
                                         static_cast<int>(NUV_LAUNCH_STATUS_UNKNOWN_APP), user_data);
  NUV_ERROR_FROM(origin, NUV_RED "get app info by app id [%s] failed." NUV_PLAIN, app_id);
  nuv_set_launch_fail(LaunchFailText(app_id, LaunchFailReason::kUnknownApp));
  return -1;
}

_NUV_LAUNCHER_DATA MakeRecord(const char* app_id, const char* payload, const Launch_Opinion& opinion) {
  _NUV_LAUNCHER_DATA data;
  data.appId = app_id;
  data.payload = payload == nullptr ? "" : payload;
  data.callerId = opinion.callerId;
  data.reservedText = opinion.callerId;
  data.bPreLoad = opinion.bPreLoad;
  data.bOption1 = opinion.bOption1;
  data.bOption2 = opinion.bOption2;
  data.bOption3 = opinion.bOption3;
  data.bOption4 = opinion.bOption4;
  data.bForceLaunch = 0;
  return data;
}

}  // namespace

int nuv_launch_app_internal(const char* app_id, const char* payload, nuv_launch_notify_cb callback, void* user_data,
                            Launch_Opinion& opinion) try {
  const uintptr_t callbackNumber = reinterpret_cast<uintptr_t>(callback);
  // Start lines are error lines, which filters show.
  NUV_ERROR(NUV_YELLOW "Start: app id:[%s], payload:[%s], cb [%p],user_data:[%p]." NUV_PLAIN, app_id, payload,
            reinterpret_cast<void*>(callbackNumber), user_data);
  LeaveTraceMarker("[BEGIN]start");
  if (app_id == nullptr) {
    NUV_ERROR(NUV_RED "App_id == NULL" NUV_PLAIN);
    nuv_set_launch_fail(LaunchFailText("NULL", LaunchFailReason::kNoAppId));
    return -1;
  }
  nuv_app_info_s info = {};
  if (m_nuv_get_app_info(app_id, &info) != 0) return ReportUnknownApp(app_id, callbackNumber, user_data);
  NUV_INFO(NUV_YELLOW "get app info for app id [%s] success." NUV_PLAIN, info.app_id);
  _NUV_LAUNCHER_DATA data = MakeRecord(info.app_id, payload, opinion);
  data.callback = callbackNumber;
  data.userData = user_data;
  return nuv_launch_app_client(data);
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_terminate_app_internal(const char* app_id, const std::string& caller_id, const std::string& reason) {
  NUV_ERROR(NUV_YELLOW "Terminate Start, id:[%s], caller id:[%s], reason:[%s]." NUV_PLAIN, app_id, caller_id.c_str(),
            reason.c_str());
  return nuv_terminate_app_client(app_id, 0, caller_id, reason);
}

int nuv_terminate_allApps_internal(const std::string& caller_id, const std::string& reason) {
  NUV_ERROR("Terminate all apps start, caller id:[%s], reason:[%s], .", caller_id.c_str(), reason.c_str());
  const ServiceReply answer =
      AskService(kLauncherService, "terminate_allapp", CallArguments().Text(caller_id.c_str()).Text(reason.c_str()));
  const int result = ReportTerminate(answer, "terminate_allapp");
  if (answer.asked) NUV_INFO("Terminate all apps end!!!");
  return result;
}

int nuv_get_extra_app(std::string& app_id) try {
  CallArguments none;
  const ServiceReply answer = AskService(kLauncherServiceInRed, "get_extra_app", none);
  ReportMissingReply(answer);
  GVariant* reply = answer.Of("(s)");
  if (reply == nullptr) return -1;
  const char* text = nullptr;
  g_variant_get(reply, "(&s)", &text);
  app_id = text;
  NUV_INFO("Get_extra_app app id [%s].", app_id.c_str());
  return 0;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_notify_extra_app_changed(std::string app_id) {
  const ServiceReply answer =
      AskService(kLauncherServiceInRed, "notify_extra_app_changed", CallArguments().Text(app_id.c_str()));
  ReportMissingReply(answer);
  return answer.succeeded && answer.reply != nullptr ? 0 : -1;
}
