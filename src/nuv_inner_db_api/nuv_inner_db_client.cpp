// What the inner side asks the service, over a link of its own.
#include <nuv/nuv_inner_app_database.h>
#include <nuv_common/nuv_log.h>
#include <nuv_common/nuv_proxy.h>

#include "nuv_common/nuv_out_of_memory.h"
#include "nuv_common/nuv_service_call.h"

namespace {

constexpr const char* kIntrospectionXml =
    "<node>  <interface name='org.kelvo.tv.corvane.nuvinnerdbclient.interface.%s'>  </interface></node>";
constexpr GDBusInterfaceVTable kNoMethods = {nullptr, nullptr, nullptr, {}};

CNUVGdbus* get_innerdb_proxy() {
  static ProcessLifetimeLink link("innerdb", "corvane");
  return link.get();
}

// The link, usable; null, and logged for the caller, when it is not.
CNUVGdbus* UsableLink(const LogOrigin& origin = Here()) {
  CNUVGdbus* link = get_innerdb_proxy();
  if (link->GetProxy(kIntrospectionXml, kNoMethods) == 1) return link;
  NUV_ERROR_FROM(origin, "get inner db proxy error");
  return nullptr;
}

// Whether the service answered with a state, which may be negative.
bool ReadState(const ServiceReply& answer, int& state) {
  GVariant* reply = answer.Of("(i)");
  if (reply == nullptr) return false;
  g_variant_get(reply, "(i)", &state);
  return true;
}

}  // namespace

int nuv_dbus_update_app_count(const std::string& app_id) try {
  NUV_INFO("Start, appid [%s]", app_id.c_str());
  CNUVGdbus* link = UsableLink();
  if (link == nullptr) return -1;
  CallArguments arguments;
  arguments.Text(app_id.c_str());
  int state = -1;
  if (ReadState(CallService(*link, "nuv_update_app_count", arguments), state))
    NUV_INFO("update app count state: [%d]", state);
  return state;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_dbus_update_app_version(const std::string& app_id, const std::string& version) try {
  NUV_INFO("Start appid [%s]", app_id.c_str());
  CNUVGdbus* link = UsableLink();
  if (link == nullptr) return -1;
  CallArguments arguments;
  arguments.Text(app_id.c_str()).Text(version.c_str());
  int state = -1;
  if (ReadState(CallService(*link, "nuv_update_app_version", arguments), state))
    NUV_INFO("update app version state : [%d]", state);
  return state;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_dbus_update_app_by_key(const std::string& app_id, APPSINFO_UPDATE_KEY_e key) try {
  NUV_INFO("Start app[%s], key[%d]", app_id.c_str(), static_cast<int>(key));
  CNUVGdbus* link = UsableLink();
  if (link == nullptr) return -1;
  CallArguments arguments;
  arguments.Text(app_id.c_str()).Number(key);
  int state = -1;
  if (ReadState(CallService(*link, "nuv_update_app_by_key", arguments), state))
    NUV_INFO("update app info by key state : [%d]", state);
  return state;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}

int nuv_dbus_nuv_command(int command, const std::string& app_id, const std::string& pkg_path,
                         const std::string& data) try {
  NUV_INFO("Start cmd[%d] app_id[%s] pkg_path[%s] data[%s]", command, app_id.c_str(), pkg_path.c_str(), data.c_str());
  CNUVGdbus* link = UsableLink();
  if (link == nullptr) return -1;
  CallArguments arguments;
  arguments.Number(command).Text(app_id.c_str()).Text(pkg_path.c_str()).Text(data.c_str());
  CallService(*link, "nuv_command", arguments);
  return 0;
} catch (const std::bad_alloc&) {
  return OutOfMemory();
}
