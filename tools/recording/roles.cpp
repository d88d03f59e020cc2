#include "recording/roles.h"

#include <algorithm>
#include <iterator>
#include <string_view>

#include "recording/message.h"

namespace recording {
namespace {

constexpr std::string_view kClientInterface = "org.kelvo.tv.corvane.launcherclient.interface.";

constexpr const char* kNobodyErrors[] = {
    "org.freedesktop.DBus.Error.ServiceUnknown", "org.freedesktop.DBus.Error.NameHasNoOwner",
    "org.freedesktop.DBus.Error.UnknownMethod", "org.freedesktop.DBus.Error.UnknownObject",
    "org.freedesktop.DBus.Error.UnknownInterface"};

}  // namespace

bool IsServiceName(const std::string& name) {
  return std::find(kServiceNames.begin(), kServiceNames.end(), name) != kServiceNames.end();
}

std::string ObjectOfResult(GDBusMessage* message) {
  if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return "";
  const std::string name = TextOf(g_dbus_message_get_interface(message));
  return name.rfind(kClientInterface, 0) == 0 ? name.substr(kClientInterface.size()) : "";
}

GVariant* ResultIn(GDBusMessage* message) {
  GVariant* body = g_dbus_message_get_body(message);
  return body != nullptr && g_variant_is_of_type(body, G_VARIANT_TYPE("(isiiiisi)")) != FALSE ? body : nullptr;
}

bool SaysNobodyIsThere(GDBusMessage* answer) {
  const std::string error = TextOf(g_dbus_message_get_error_name(answer));
  return std::find(std::begin(kNobodyErrors), std::end(kNobodyErrors), error) != std::end(kNobodyErrors);
}

}  // namespace recording
