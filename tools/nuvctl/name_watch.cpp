#include "name_watch.h"

#include <utility>

namespace {

constexpr char kBusName[] = "org.freedesktop.DBus";
constexpr char kBusPath[] = "/org/freedesktop/DBus";
constexpr char kOwnerChanged[] = "NameOwnerChanged";

std::string MatchRule(const std::string& name) {
  return std::string("type='signal',sender='") + kBusName + "',path='" + kBusPath + "',interface='" + kBusName +
         "',member='" + kOwnerChanged + "',arg0='" + name + "'";
}

}  // namespace

NameWatch::NameWatch(GDBusConnection* bus, const std::string& name, OwnerFunction on_owner)
    : bus_(bus), on_owner_(std::move(on_owner)), asking_(g_cancellable_new()) {
  // The match rule is this watch's own: GLib's way to add one takes a closed connection for a programming error.
  subscription_ = g_dbus_connection_signal_subscribe(bus_, kBusName, kBusName, kOwnerChanged, kBusPath, name.c_str(),
                                                     G_DBUS_SIGNAL_FLAGS_NO_MATCH_RULE, OnOwnerChanged, this, nullptr);
  g_dbus_connection_call(bus_, kBusName, kBusPath, kBusName, "AddMatch", g_variant_new("(s)", MatchRule(name).c_str()),
                         nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  g_dbus_connection_call(bus_, kBusName, kBusPath, kBusName, "NameHasOwner", g_variant_new("(s)", name.c_str()),
                         G_VARIANT_TYPE("(b)"), G_DBUS_CALL_FLAGS_NONE, -1, asking_.get(), OnFirstAnswer, this);
}

NameWatch::~NameWatch() {
  g_cancellable_cancel(asking_.get());
  g_dbus_connection_signal_unsubscribe(bus_, subscription_);
}

void NameWatch::OnFirstAnswer(GObject* bus, GAsyncResult* result, gpointer watch) {
  const VariantOwner reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, nullptr));
  if (reply == nullptr) return;  // cancelled, when there is no watch any more, or no bus
  gboolean present = FALSE;
  g_variant_get(reply.get(), "(b)", &present);
  static_cast<NameWatch*>(watch)->on_owner_(present != FALSE);
}

void NameWatch::OnOwnerChanged(GDBusConnection*, const char*, const char*, const char*, const char*,
                               GVariant* arguments, gpointer watch) {
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sss)"))) return;
  const char* before = nullptr;
  const char* after = nullptr;
  g_variant_get(arguments, "(&s&s&s)", nullptr, &before, &after);
  const auto* self = static_cast<NameWatch*>(watch);
  if (*before != '\0') self->on_owner_(false);
  if (*after != '\0') self->on_owner_(true);
}
