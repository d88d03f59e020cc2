// One synchronous method call of the service.
#include <libintl.h>
#include <nuv_common/nuv_cancellation.h>
#include <nuv_common/nuv_log.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "nuv_common/nuv_process.h"
#include "nuv_common/nuv_proxy.h"

namespace {

constexpr int kDescriptorsOfACall = 1;

// Methods that are of no use unless the service already runs: the bus must not start it for them.
constexpr std::array<std::string_view, 3> kMethodsWithoutAutoStart = {"heartbeat", "notify_app_launch_status",
                                                                      "notify_special_app"};

GDBusCallFlags FlagsOf(const std::string& method) {
  if (std::find(kMethodsWithoutAutoStart.begin(), kMethodsWithoutAutoStart.end(), method) ==
      kMethodsWithoutAutoStart.end()) {
    return G_DBUS_CALL_FLAGS_NONE;
  }
  NUV_INFO("set G_DBUS_CALL_FLAGS_NO_AUTO_START to[%s]", method.c_str());
  return G_DBUS_CALL_FLAGS_NO_AUTO_START;
}

// A time-out of our own call is recognised by GLib's error code, because GLib translates the text. A time-out that the
// service relays has only the text, in English or in this process's language.
bool RanOutOfTime(const GError& error) {
  constexpr const char* kText = "Timeout was reached";
  if (g_dbus_error_is_remote_error(&error)) {
    return strstr(error.message, kText) != nullptr || strstr(error.message, dgettext("glib20", kText)) != nullptr;
  }
  return g_error_matches(&error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE;
}

void ReportCallError(const GError& error, int* isTimeOutError) {
  if (RanOutOfTime(error)) {
    NUV_ERROR("gdbus timeout");
    if (isTimeOutError != nullptr) *isTimeOutError = 1;
  }
  const GTextHandle name(g_dbus_error_encode_gerror(&error));
  NUV_ERROR("method call false.%s, detail[message:%s, code:%d] ", name.get(), error.message, error.code);
}

}  // namespace

int CNUVGdbus::MethodCall(std::string method, GVariant* parameters, GVariant** reply, int timeoutMs,
                          int* isTimeOutError) {
  // The parent's other threads may have held any lock of the link when this process was forked.
  if (RefuseInForkedChild()) {
    const GVariantHandle consumed = OwnVariant(parameters);
    return 0;
  }
  return MethodCall(CurrentEndpoint(), method, parameters, reply, timeoutMs, isTimeOutError);
}

int CNUVGdbus::MethodCall(const Endpoint& endpoint, const std::string& method, GVariant* parameters, GVariant** reply,
                          int timeoutMs, int* isTimeOutError) {
  const GVariantHandle owned = OwnVariant(parameters);
  NUV_INFO("obj %s , method call %s", endpoint.objectName.c_str(), method.c_str());
  if (endpoint.connection == nullptr) {
    NUV_ERROR("connection is NULL");
    return 0;
  }
  const GDBusCallFlags flags = FlagsOf(method);
  const CancellationOff guard;
  if (!DescriptorsAreFree(kDescriptorsOfACall)) return 0;
  GError* error = nullptr;
  *reply = g_dbus_connection_call_sync(endpoint.connection.get(), m_service.busName.c_str(),
                                       m_service.objectPath.c_str(), m_service.interface.c_str(), method.c_str(),
                                       owned.get(), nullptr, flags, timeoutMs, nullptr, &error);
  NUV_INFO("method call end");
  if (error == nullptr) return 1;
  ReportCallError(*GErrorHandle(error), isTimeOutError);
  return 0;
}
