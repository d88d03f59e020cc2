#include "probe.h"

#include <gio/gio.h>

#include <memory>

namespace session {
namespace {

struct Unref {
  void operator()(GDBusConnection* connection) const { g_object_unref(connection); }
  void operator()(GVariant* variant) const { g_variant_unref(variant); }
};

std::string TextOf(GError* error) {
  std::string text = error == nullptr ? "unknown error" : error->message;
  g_clear_error(&error);
  return text;
}

}  // namespace

std::string ProbeService(const std::string& address, bool scenario, int limit_s) {
  GError* error = nullptr;
  const std::unique_ptr<GDBusConnection, Unref> bus(g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, &error));
  if (!bus) return TextOf(error);
  for (const std::string server : {"litecorvane", "corvane"}) {
    const std::string name = "org.kelvo.tv." + server + ".server";
    const std::string path = "/org/kelvo/tv/" + server + "/server";
    const std::string interface = scenario ? "org.freedesktop.DBus.Peer" : name + ".interface";
    const std::unique_ptr<GVariant, Unref> reply(g_dbus_connection_call_sync(
        bus.get(), name.c_str(), path.c_str(), interface.c_str(), scenario ? "Ping" : "heartbeat", nullptr, nullptr,
        G_DBUS_CALL_FLAGS_NO_AUTO_START, limit_s * 1000, nullptr, &error));
    if (!reply) return TextOf(error);
  }
  return "";
}

}  // namespace session
