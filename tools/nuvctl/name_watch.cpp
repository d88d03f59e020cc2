#include "name_watch.h"

#include <utility>

namespace {

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";

}  // namespace

NameWatch::NameWatch(GDBusConnection* bus, const std::string& name, OwnerFunction on_owner)
    : on_owner_(std::move(on_owner)),
      asking_(g_cancellable_new()),
      changes_(bus, {kBusName, kBusPath, kBusName, "NameOwnerChanged", name},
               [this](const char*, GVariant* arguments) { OnOwnerChanged(arguments); }) {
  g_dbus_connection_call(bus, kBusName, kBusPath, kBusName, "NameHasOwner", g_variant_new("(s)", name.c_str()),
                         G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, asking_.get(), OnFirstAnswer, this);
}

NameWatch::~NameWatch() {
  g_cancellable_cancel(asking_.get());
}

void NameWatch::OnFirstAnswer(GObject* bus, GAsyncResult* result, gpointer watch) {
  const VariantOwner reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
  if (reply == nullptr) return;  // cancelled, when there is no watch any more, or no bus
  gboolean present = FALSE;
  g_variant_get(reply.get(), "(b)", &present);
  static_cast<NameWatch*>(watch)->on_owner_(present != FALSE);
}

void NameWatch::OnOwnerChanged(GVariant* arguments) const {
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sss)"))) return;
  const char* before = nullptr;
  const char* after = nullptr;
  g_variant_get(arguments, "(&s&s&s)", nullptr, &before, &after);
  if (*before != '\0') on_owner_(false);
  if (*after != '\0') on_owner_(true);
}
