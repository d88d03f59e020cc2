#include "nuv_launcher_api/nuv_launcher_client.h"

#include <nuv/nuv_app_database.h>
#include <nuv/nuv_launcher_api.h>
#include <nuv_common/nuv_log.h>
#include <nuv_platform/platform_settings.h>

#include "nuv_launcher_api/nuv_callback_guard.h"
#include "nuv_launcher_api/nuv_launch_callbacks.h"
#include "nuv_launcher_api/nuv_launch_fail.h"
#include "nuv_launcher_api/nuv_launch_request.h"
#include "nuv_launcher_api/nuv_launch_result.h"

// "check_dbus_connection" is part of it although it is never answered: the document is what the service knows.
const char* const launcher_introspection_xml =
    "<node>"
    "  <interface name='org.kelvo.tv.corvane.launcherclient.interface.%s'>"
    "        <method name='check_dbus_connection'>"
    "            <arg name='result' direction='out' type='s'/>"
    "        </method>"
    "        <method name='app_launch_result'>"
    "            <arg name='thread_id' direction='in' type='i'/>"
    "            <arg name='app_id' direction='in' type='s'/>"
    "            <arg name='Res' direction='in' type='i'/>"
    "            <arg name='eventtype' direction='in' type='i'/>"
    "            <arg name='iData' direction='in' type='i'/>"
    "            <arg name='event_index' direction='in' type='i'/>"
    "            <arg name='method_call' direction='in' type='s'/>"
    "            <arg name='cbtype' direction='in' type='i'/>"
    "        </method>"
    "  </interface>"
    "</node>";

const GDBusInterfaceVTable launcher_vtable = {nuv_launcher_handle_event, nullptr, nullptr, {}};

namespace {

constexpr int kLaunchTimeoutMs = 15000;

ProcessLifetimeLink launcherLink("launcher", "litecorvane", [] {
  CloseGate();
  launcherLink.Release();
});

// One "launch_app" call, with a request that may be null. True when the service accepted it.
bool SendLaunch(CNUVGdbus& link, const CNUVGdbus::Endpoint& endpoint, GVariant* request, int* isTimeOutError) {
  if (request == nullptr) return false;
  GVariant* reply = nullptr;
  const int called = link.MethodCall(endpoint, "launch_app", request, &reply, kLaunchTimeoutMs, isTimeOutError);
  const GVariantHandle released(reply);
  return called == 1;
}

void ReportFailedLaunch(const _NUV_LAUNCHER_DATA& data, int isTimeOutError) {
  NUV_ERROR("Launch app[%s], isTimeOutError[%d] error", data.appId.c_str(), isTimeOutError);
  nuv_set_launch_fail(LaunchFailText(data.appId, LaunchFailReason::kCallFailed));
  // Whatever shape the callback has: callers of the other one have learnt to read these arguments.
  CallUserCallback<nuv_launch_notify_cb>(
      data.callback, data.appId.c_str(), NUV_NOTIFY_LAUNCH_FAILED, 0,
      static_cast<int>(isTimeOutError == 1 ? NUV_LAUNCH_STATUS_TIMED_OUT : NUV_LAUNCH_STATUS_FAILED), data.userData);
}

}  // namespace

CNUVGdbus* get_launcher_proxy() {
  return launcherLink.get();
}

CNUVGdbus* UsableLauncherProxy() {
  CNUVGdbus* link = get_launcher_proxy();
  return link->GetProxy(launcher_introspection_xml, launcher_vtable) == 1 ? link : nullptr;
}

namespace {

CNUVGdbus* UsableLauncherProxy(CNUVGdbus::Endpoint& endpoint) {
  CNUVGdbus* link = get_launcher_proxy();
  return link->GetProxy(launcher_introspection_xml, launcher_vtable, endpoint) == 1 ? link : nullptr;
}

}  // namespace

int nuv_launch_app_client(_NUV_LAUNCHER_DATA& data) {
  const int32_t event = TakeLaunchEvent();
  CNUVGdbus::Endpoint endpoint;
  CNUVGdbus* link = UsableLauncherProxy(endpoint);
  if (link == nullptr) {
    NUV_ERROR("get_launcher_proxy() error");
    nuv_set_launch_fail(LaunchFailText(data.appId, LaunchFailReason::kNoLink));
    return -1;
  }
  const GVariantHandle request = OwnVariant(MakeLaunchRequest(endpoint, data, event));
  // The result may arrive before the reply.
  KeptLaunchCallback callback(event, {data.callback, data.userData});
  int isTimeOutError = 0;
  if (SendLaunch(*link, endpoint, request.get(), &isTimeOutError)) {
    callback.Accept();
    NUV_MILESTONE("Call launch app [%s] success", data.appId.c_str());
    return 0;
  }
  ReportFailedLaunch(data, isTimeOutError);
  return -1;
}

int ReportTerminate(const ServiceReply& answer, const char* name, const LogOrigin& origin) {
  if (!answer.asked) return -1;
  if (answer.succeeded) {
    NUV_INFO_FROM(origin, "call %s success.", name);
    return 0;
  }
  NUV_ERROR_FROM(origin, "call %s error.", name);
  return -1;
}

int nuv_terminate_app_client(const char* app_id, int option, const std::string& caller_id, const std::string& reason) {
  nuv_app_info_s info = {};
  if (app_id == nullptr || m_nuv_get_app_info(app_id, &info) != 0) {
    NUV_ERROR("app id is null or failed to get app info!");
    return -1;
  }
  const ServiceReply answer =
      AskService(kLauncherService, "terminate_app",
                 CallArguments().Text(info.app_id).Number(option).Text(caller_id.c_str()).Text(reason.c_str()));
  return ReportTerminate(answer, "terminate_app");
}

int nuv_terminate_app_by_runtitle_client(const char* runtitle) {
  nuv_app_info_s info = {};
  if (runtitle == nullptr || nuv_get_app_info_by_runtitle(runtitle, &info) != 0) {
    NUV_ERROR("app id is null or failed to get app info!");
    return -1;
  }
  const ServiceReply answer =
      AskService(kLauncherServiceInRed, "terminate_app_by_runtitle", CallArguments().Text(runtitle));
  return ReportTerminate(answer, "terminate_app");
}

int nuv_launch_systempopup_client(LAUNCH_ERROR_POPUP_TYPE type) {
  return ReportPlainCall(AskService(kLauncherService, "launch_systempopup", CallArguments().Number(type)));
}

int nuv_send_appexec_kpi_client(int log_type, const char* app_id, const char* caller_id, int preload_type,
                                const char* pt) {
  NUV_INFO("send appexec kpi log with param");
  CallArguments arguments;
  arguments.Number(log_type).Text(app_id).Text(caller_id == nullptr ? "" : caller_id).Number(preload_type).Text(pt);
  return ReportPlainCall(AskService(kLauncherService, "send_appexec_kpi", arguments));
}

int nuv_get_android_app_status_client(const char* app_id, int& status) {
  if (app_id == nullptr) {
    NUV_ERROR(NUV_RED "in param is NULL" NUV_PLAIN);
    return -1;
  }
  const ServiceReply answer = AskService(kLauncherServiceInRed, "get_android_app_status", CallArguments().Text(app_id));
  ReportMissingReply(answer);
  GVariant* reply = answer.Of("(i)");
  if (reply == nullptr) return -1;
  g_variant_get(reply, "(i)", &status);
  NUV_INFO("get_android_app_status,app id [%s],status:[%d].", app_id, status);
  return 0;
}

int nuv_set_launch_fail(std::string text) {
  if (vconf_set_str("rtc/litenuv/webapp/launch_fail", text.c_str()) == 0) return 0;
  NUV_ERROR("set vconf of VCONF_WEBAPP_LAUNCHFAIL failed.");
  return -1;
}
