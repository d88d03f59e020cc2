// What the inner side asks the service, over a link of its own.
#include <nuv/nuv_inner_database.h>
#include <nuv_common/nuv_log.h>

#include "nuv_common/nuv_proxy.h"
#include "nuv_common/nuv_service_call.h"

namespace {

constexpr const char* kIntrospectionXml =
    "<node>  <interface name='org.kelvo.tv.corvane.nuvinnerdbclient.interface.%s'>  </interface></node>";
constexpr GDBusInterfaceVTable kNoMethods = {nullptr, nullptr, nullptr, {}};

ProcessLifetimeLink innerLink("innerdb", "corvane", [] { innerLink.Release(); });

CNUVGdbus* UsableInnerProxy() {
  CNUVGdbus* link = innerLink.get();
  return link->GetProxy(kIntrospectionXml, kNoMethods) == 1 ? link : nullptr;
}

constexpr ServiceLink kInnerService = {UsableInnerProxy, "get inner db proxy error"};

// Calls a method that answers with a state, which may be negative, and is logged for the caller: the state, or -1.
int AskForState(const char* method, CallArguments& arguments, const char* label, const LogOrigin& origin = Here()) {
  const ServiceReply answer = AskService(kInnerService, method, arguments, origin);
  GVariant* reply = answer.Of("(i)");
  if (reply == nullptr) return -1;
  int state = -1;
  g_variant_get(reply, "(i)", &state);
  NUV_INFO_FROM(origin, "%s [%d]", label, state);
  return state;
}

}  // namespace

int nuv_dbus_update_app_count(const std::string& app_id) {
  NUV_INFO("Start, appid [%s]", app_id.c_str());
  return AskForState("nuv_update_app_count", CallArguments().Text(app_id.c_str()), "update app count state:");
}

int nuv_dbus_update_app_version(const std::string& app_id, const std::string& version) {
  NUV_INFO("Start appid [%s]", app_id.c_str());
  return AskForState("nuv_update_app_version", CallArguments().Text(app_id.c_str()).Text(version.c_str()),
                     "update app version state :");
}

int nuv_dbus_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key) {
  NUV_INFO("Start app[%s], key[%d]", app_id.c_str(), static_cast<int>(key));
  return AskForState("nuv_update_app_by_key", CallArguments().Text(app_id.c_str()).Number(key),
                     "update app info by key state :");
}

int nuv_dbus_nuv_command(int command, const std::string& app_id, const std::string& pkg_path, const std::string& data) {
  NUV_INFO("Start cmd[%d] app_id[%s] pkg_path[%s] data[%s]", command, app_id.c_str(), pkg_path.c_str(), data.c_str());
  CallArguments arguments;
  arguments.Number(command).Text(app_id.c_str()).Text(pkg_path.c_str()).Text(data.c_str());
  return AskService(kInnerService, "nuv_command", arguments).asked ? 0 : -1;  // callers are not told of a failed call
}
