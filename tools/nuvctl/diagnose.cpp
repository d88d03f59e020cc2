#include "diagnose.h"

#include <optional>

#include "system_bus.h"
#include "text.h"

namespace {

constexpr unsigned kConnectLimitMs = 3000;
constexpr int kCallLimitMs = 2000;

VariantOwner AskBus(GDBusConnection* bus, const char* method, GVariant* arguments, const char* reply_type) {
  return VariantOwner(g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                                  "org.freedesktop.DBus", method, arguments, G_VARIANT_TYPE(reply_type),
                                                  G_DBUS_CALL_FLAGS_NONE, kCallLimitMs, nullptr, nullptr));
}

std::optional<bool> HasOwner(GDBusConnection* bus, const std::string& name) {
  const VariantOwner reply = AskBus(bus, "NameHasOwner", g_variant_new("(s)", name.c_str()), "(b)");
  if (reply == nullptr) return std::nullopt;
  gboolean owned = FALSE;
  g_variant_get(reply.get(), "(b)", &owned);
  return owned != FALSE;
}

std::optional<bool> IsActivatable(GDBusConnection* bus, const std::string& name) {
  const VariantOwner reply = AskBus(bus, "ListActivatableNames", nullptr, "(as)");
  if (reply == nullptr) return std::nullopt;
  const VariantOwner names(g_variant_get_child_value(reply.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
    const VariantOwner item(g_variant_get_child_value(names.get(), i));
    if (name == g_variant_get_string(item.get(), nullptr)) return true;
  }
  return false;
}

Diagnosis BusGone(const std::string& what) {
  const TextOwner address = SystemBusAddress();
  const std::string where = address ? " (" + Printable(address.get()) + ")" : "";
  return {Outcome::kBusGone, "the system bus " + what + where};
}

}  // namespace

Diagnosis BusUnreachable() {
  return BusGone("cannot be reached");
}

Diagnosis DiagnoseFailure() {
  const ConnectionOwner bus = ConnectToSystemBus(kConnectLimitMs);
  if (bus == nullptr) return BusUnreachable();
  const std::optional<bool> owned = HasOwner(bus.get(), ServiceName());
  const std::optional<bool> activatable = IsActivatable(bus.get(), ServiceName());
  if (!owned || !activatable) return BusGone("does not answer");
  if (*owned) return {Outcome::kFailed, "the service did not carry out the request"};
  if (*activatable) return {Outcome::kFailed, "the service does not run and could not be started"};
  return {Outcome::kServiceGone, "the service does not run (" + ServiceName() + " has no owner)"};
}
