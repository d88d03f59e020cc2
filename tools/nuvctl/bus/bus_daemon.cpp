#include "bus/bus_daemon.h"

namespace {

BusReply ErrorOf(const GError& error) {
  BusReply reply;
  const TextOwner name(g_dbus_error_get_remote_error(&error));
  const GlibOwner<GError> stripped(g_error_copy(&error));
  g_dbus_error_strip_remote_error(stripped.get());
  if (name != nullptr) reply.error_name = name.get();
  reply.error_text = stripped->message;
  return reply;
}

// The only member of the reply, or nothing where it is another type.
VariantOwner OnlyMember(const VariantOwner& reply, const char* type) {
  if (reply == nullptr || !g_variant_is_of_type(reply.get(), G_VARIANT_TYPE(type))) return nullptr;
  return VariantOwner(g_variant_get_child_value(reply.get(), 0));
}

VariantOwner AskOfName(GDBusConnection* bus, const char* method, const std::string& name, const char* reply_type,
                       unsigned limit_ms) {
  return OnlyMember(AskBus(bus, method, g_variant_new("(s)", name.c_str()), limit_ms).value, reply_type);
}

std::optional<guint32> NumberOf(GDBusConnection* bus, const char* method, const std::string& name, unsigned limit_ms) {
  const VariantOwner number = AskOfName(bus, method, name, "(u)", limit_ms);
  return number != nullptr ? std::optional(g_variant_get_uint32(number.get())) : std::nullopt;
}

}  // namespace

BusReply CallOnBus(GDBusConnection* bus, const std::string& destination, const std::string& path,
                   const std::string& interface, const char* method, GVariant* arguments, unsigned limit_ms) {
  GError* failed = nullptr;
  VariantOwner value(g_dbus_connection_call_sync(bus, destination.c_str(), path.c_str(), interface.c_str(), method,
                                                 arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START,
                                                 static_cast<int>(limit_ms), nullptr, &failed));
  const GlibOwner<GError> error(failed);
  return error != nullptr ? ErrorOf(*error) : BusReply{std::move(value), "", ""};
}

BusReply AskBus(GDBusConnection* bus, const char* method, GVariant* arguments, unsigned limit_ms) {
  return CallOnBus(bus, kBusName, kBusPath, kBusName, method, arguments, limit_ms);
}

std::optional<bool> HasOwner(GDBusConnection* bus, const std::string& name, unsigned limit_ms) {
  const VariantOwner owned = AskOfName(bus, "NameHasOwner", name, "(b)", limit_ms);
  return owned != nullptr ? std::optional(g_variant_get_boolean(owned.get()) != FALSE) : std::nullopt;
}

std::optional<bool> IsActivatable(GDBusConnection* bus, const std::string& name, unsigned limit_ms) {
  const VariantOwner names = OnlyMember(AskBus(bus, "ListActivatableNames", nullptr, limit_ms).value, "(as)");
  if (names == nullptr) return std::nullopt;
  for (gsize i = 0; i < g_variant_n_children(names.get()); ++i) {
    const VariantOwner item(g_variant_get_child_value(names.get(), i));
    if (name == g_variant_get_string(item.get(), nullptr)) return true;
  }
  return false;
}

std::optional<unsigned> UserOf(GDBusConnection* bus, const std::string& name, unsigned limit_ms) {
  return NumberOf(bus, "GetConnectionUnixUser", name, limit_ms);
}

std::optional<int> ProcessOf(GDBusConnection* bus, const std::string& name, unsigned limit_ms) {
  return NumberOf(bus, "GetConnectionUnixProcessID", name, limit_ms);
}
