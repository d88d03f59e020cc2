// Calls of the service's own side: all applications, the extra application.
#include <nuv/nuv_service_api.h>
#include <nuv_common/nuv_log.h>

#include "nuv_common/nuv_service_call.h"
#include "nuv_launcher_api/nuv_launcher_client.h"

int nuv_terminate_allApps_internal(const std::string& caller_id, const std::string& reason) {
  NUV_ERROR("Terminate all apps start, caller id:[%s], reason:[%s], .", caller_id.c_str(), reason.c_str());
  int result = -1;
  CNUVGdbus* link = UsableLauncherProxy();
  if (link == nullptr) {
    NUV_ERROR("get_launcher_proxy() error");
    return result;
  }
  CallArguments arguments;
  arguments.Text(caller_id.c_str()).Text(reason.c_str());
  if (CallService(*link, "terminate_allapp", arguments).succeeded) {
    NUV_INFO("call terminate_allapp success.");
    result = 0;
  } else {
    NUV_ERROR("call terminate_allapp error.");
  }
  NUV_INFO("Terminate all apps end!!!");
  return result;
}

int nuv_get_extra_app(std::string& app_id) {
  CNUVGdbus* link = UsableLauncherProxy();
  if (link == nullptr) {
    NUV_ERROR(NUV_RED "get_launcher_proxy() error." NUV_PLAIN);
    return -1;
  }
  const ServiceReply answer = CallService(*link, "get_extra_app");
  ReportMissingReply(answer);
  GVariant* reply = answer.Of("(s)");
  if (reply == nullptr) return -1;
  const char* text = nullptr;
  g_variant_get(reply, "(&s)", &text);
  app_id = text;
  NUV_INFO("Get_extra_app app id [%s].", app_id.c_str());
  return 0;
}

int nuv_notify_extra_app_changed(std::string app_id) {
  CNUVGdbus* link = UsableLauncherProxy();
  if (link == nullptr) {
    NUV_ERROR(NUV_RED "get_launcher_proxy() error." NUV_PLAIN);
    return -1;
  }
  CallArguments arguments;
  arguments.Text(app_id.c_str());
  const ServiceReply answer = CallService(*link, "notify_extra_app_changed", arguments);
  ReportMissingReply(answer);
  return answer.succeeded && answer.reply != nullptr ? 0 : -1;
}
