// Launching by the name under which an application is started.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv_common/nuv_log.h>

#include "nuv_launcher_api/nuv_launch_body.h"
#include "nuv_launcher_api/nuv_launch_fail.h"
#include "nuv_launcher_api/nuv_trace_marker.h"

namespace {

struct TitleLaunch {
  const char* runTitle;
  const char* payload;
  const char* callerId;
  uintptr_t callback;
  void* userData;
};

// False, with the popup raised, when no application has the run title.
bool FindTitle(const TitleLaunch& launch, nuv_app_info_s& info, const LogOrigin& origin = Here()) {
  void* callback = reinterpret_cast<void*>(launch.callback);
  NUV_ERROR_FROM(origin,
                 NUV_YELLOW "Start: app runtitle:[%s], payload:[%s],callerid [%s], cb [%p],user_data:[%p]." NUV_PLAIN,
                 launch.runTitle, launch.payload, launch.callerId, callback, launch.userData);
  LeaveTraceMarker("[BEGIN]Start: app runtitle:[%s], callerid [%s], cb [%p],user_data:[%p].", launch.runTitle,
                   launch.callerId, callback, launch.userData);
  if (nuv_get_app_info_by_runtitle(launch.runTitle, &info) == 0) return true;
  nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_UNKNOWN_TITLE);
  return false;
}

int LaunchFound(const nuv_app_info_s& info, const TitleLaunch& launch, int32_t cbType) {
  return nuv_launch_app_internal_(info.app_id, launch.payload, launch.callerId, launch.callback, launch.userData,
                                  {0, 0, cbType, 0, 0});
}

}  // namespace

int nuv_launch_app_by_runtitle(const char* runtitle, const char* payload, nuv_launch_result_cb callback,
                               void* user_data) {
  return nuv_launch_app_by_runtitle_with_param(runtitle, payload, nullptr, callback, user_data);
}

int nuv_launch_app_by_runtitle_with_param(const char* runtitle, const char* payload, const char* caller_id,
                                          nuv_launch_result_cb callback, void* user_data) {
  const TitleLaunch launch = {runtitle, payload, caller_id, reinterpret_cast<uintptr_t>(callback), user_data};
  nuv_app_info_s info = {};
  if (FindTitle(launch, info)) return LaunchFound(info, launch, kResultCallback);
  NUV_ERROR(NUV_RED "get app info by runtitle failed" NUV_PLAIN);
  return -1;
}

int nuv_launch_webapp_by_runtitle(const char* runtitle, const char* payload, const char* caller_id,
                                  nuv_launch_notify_cb callback, void* user_data) {
  const TitleLaunch launch = {runtitle, payload, caller_id, reinterpret_cast<uintptr_t>(callback), user_data};
  nuv_app_info_s info = {};
  if (FindTitle(launch, info)) return LaunchFound(info, launch, kNotifyCallback);
  NUV_ERROR(NUV_RED "nuv_get_app_info failed" NUV_PLAIN);
  nuv_set_launch_fail(LaunchFailText(runtitle, LaunchFailReason::kUnknownApp));  // a null title throws, as documented
  return -1;
}
