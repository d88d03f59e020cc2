// The entry points: each fixes the options of what does the work. Their start lines are error lines, which filters
// show.
#include <nuv/nuv_app_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv/nuv_service_api.h>
#include <nuv/nuv_service_launch.h>
#include <nuv_common/nuv_log.h>

#include "nuv_launcher_api/nuv_cpu_inheritance.h"
#include "nuv_launcher_api/nuv_launch_body.h"

namespace {

//                                        deep link, force, callback shape, extra option, background
constexpr _NUV_LAUNCHER_OPS kLaunch = {0, 0, kResultCallback, 0, 0};
constexpr _NUV_LAUNCHER_OPS kForceLaunch = {0, 1, kResultCallback, 0, 0};
constexpr _NUV_LAUNCHER_OPS kLaunchWebapp = {0, 0, kNotifyCallback, 0, 0};
constexpr _NUV_LAUNCHER_OPS kForceLaunchWebapp = {0, 1, kNotifyCallback, 0, 0};
constexpr _NUV_LAUNCHER_OPS kBackgroundLaunchWebapp = {0, 0, kNotifyCallback, 0, 1};
constexpr _NUV_LAUNCHER_OPS kDeepLinkWebapp = {1, 1, kNotifyCallback, 0, 0};
constexpr _NUV_LAUNCHER_OPS kBackgroundDeepLinkWebapp = {1, 1, kNotifyCallback, 0, 1};

constexpr int kTerminate = 0;
constexpr int kTerminateWithPreload = 1;

template <typename Callback>
int Launch(const _NUV_LAUNCHER_OPS& options, const char* app_id, const char* payload, const char* caller_id,
           Callback callback, void* user_data) {
  return nuv_launch_app_internal_(app_id, payload, caller_id, reinterpret_cast<uintptr_t>(callback), user_data,
                                  options);
}

}  // namespace

int nuv_launch_app(const char* app_id, const char* payload, nuv_launch_result_cb callback, void* user_data) {
  return nuv_launch_app_with_param(app_id, payload, nullptr, callback, user_data);
}

int nuv_launch_app_with_param(const char* app_id, const char* payload, const char* caller_id,
                              nuv_launch_result_cb callback, void* user_data) {
  return Launch(kLaunch, app_id, payload, caller_id, callback, user_data);
}

int nuv_force_launch_app(const char* app_id, const char* payload, nuv_launch_result_cb callback, void* user_data) {
  return nuv_force_launch_app_with_param(app_id, payload, nullptr, callback, user_data);
}

int nuv_force_launch_app_with_param(const char* app_id, const char* payload, const char* caller_id,
                                    nuv_launch_result_cb callback, void* user_data) {
  return Launch(kForceLaunch, app_id, payload, caller_id, callback, user_data);
}

int nuv_launch_webapp(const char* app_id, const char* payload, const char* caller_id, nuv_launch_notify_cb callback,
                      void* user_data) {
  return Launch(kLaunchWebapp, app_id, payload, caller_id, callback, user_data);
}

int nuv_force_launch_webapp(const char* app_id, const char* payload, const char* caller_id,
                            nuv_launch_notify_cb callback, void* user_data) {
  return Launch(kForceLaunchWebapp, app_id, payload, caller_id, callback, user_data);
}

int nuv_background_launch_webapp(const char* app_id, const char* payload, const char* caller_id,
                                 nuv_launch_notify_cb callback, void* user_data) {
  return Launch(kBackgroundLaunchWebapp, app_id, payload, caller_id, callback, user_data);
}

int nuv_launch_webapp_for_deeplink(const char* app_id, const char* payload, const char* caller_id,
                                   nuv_launch_notify_cb callback, void* user_data) {
  return Launch(kDeepLinkWebapp, app_id, payload, caller_id, callback, user_data);
}

int nuv_background_launch_webapp_for_deeplink(const char* app_id, const char* payload, const char* caller_id,
                                              nuv_launch_notify_cb callback, void* user_data) {
  NUV_ERROR(NUV_YELLOW "nuv_background_launch_webapp_for_deeplink: app id:[%s], payload:[%s],callerid [%s]." NUV_PLAIN,
            app_id, payload, caller_id);
  return Launch(kBackgroundDeepLinkWebapp, app_id, payload, caller_id, callback, user_data);
}

int nuv_launch_webapp_for_preload(const char* app_id, const char* payload, const char* /*caller_id*/,
                                  nuv_launch_notify_cb callback, void* user_data) {
  Launch_Opinion preload = {1, 0, 1, 1, 0, {}};
  return nuv_launch_app_internal(app_id, payload, callback, user_data, preload);
}

int nuv_terminate_app(const char* app_id) {
  NUV_ERROR(NUV_YELLOW "Start,id:%s" NUV_PLAIN, app_id);
  return nuv_terminate_app_client(app_id, kTerminate, "", "");
}

int nuv_terminate_app_with_preload(const char* app_id) {
  NUV_ERROR(NUV_YELLOW "Start,id:%s" NUV_PLAIN, app_id);
  return nuv_terminate_app_client(app_id, kTerminateWithPreload, "", "");
}

int nuv_terminate_app_by_runtitle(const char* runtitle) {
  NUV_ERROR(NUV_YELLOW "Start,runtitle:%s." NUV_PLAIN, runtitle);
  return nuv_terminate_app_by_runtitle_client(runtitle);
}

int nuv_send_appexec_kpi(int log_type, const char* app_id, const char* caller_id, int preload_type, const char* pt) {
  const CpuInheritance inheritance;
  nuv_app_info_s info = {};
  // Where the database stays busy (-2), the event is reported with an empty id.
  if (app_id == nullptr || m_nuv_get_app_info(app_id, &info) == -1) {
    NUV_ERROR(NUV_RED "Fail to get app info by [%s]." NUV_PLAIN, app_id == nullptr ? "NULL" : app_id);
    return -1;
  }
  NUV_ERROR(NUV_YELLOW
            "Start: send appexec kpi,logType[%d], appid:[%s],callerid [%s], preloadtype:[%d], pt:[%s]." NUV_PLAIN,
            log_type, app_id, caller_id == nullptr ? "" : caller_id, preload_type, pt);
  return nuv_send_appexec_kpi_client(log_type, info.app_id, caller_id, preload_type, pt);
}

int nuv_get_isp_bound_widget_list(nuv_app_info_s** list, int* count) {
  NUV_ERROR(NUV_YELLOW "IN" NUV_PLAIN);
  return nuv_get_key_list("is_ispbound ", 0, list, count);  // the blank is in the log and in the statement
}

int nuv_get_hybrid_widget_list(nuv_app_info_s** list, int* count) {
  NUV_ERROR(NUV_YELLOW "IN" NUV_PLAIN);
  return nuv_get_key_list("is_hybrid_tv", 0, list, count);
}
