#include "support/bus.h"

#include "support/must.h"

namespace {

fuzz::Answer& CurrentAnswer() {
  static fuzz::Answer& answer = *new fuzz::Answer;
  return answer;
}

int answers = 0;

// Any object will do: only references to it are taken and released.
GDBusConnection* Connection() {
  static gpointer const object = g_object_new(G_TYPE_OBJECT, nullptr);
  return static_cast<GDBusConnection*>(object);
}

}  // namespace

namespace fuzz {

void AnswerCalls(Answer answer) {
  CurrentAnswer() = std::move(answer);
}

GError* RemoteError(const std::string& message) {
  return g_dbus_error_new_for_dbus_error("org.kelvo.Error.Failed", message.c_str());
}

Invocation::Invocation() : m_invocation(static_cast<GDBusMethodInvocation*>(g_object_new(G_TYPE_OBJECT, nullptr))) {
  g_object_weak_ref(
      G_OBJECT(m_invocation), [](gpointer gone, GObject*) { *static_cast<bool*>(gone) = true; }, &m_gone);
}

Invocation::~Invocation() {
  if (!m_gone) g_object_unref(m_invocation);
}

int Invocation::Answers() {
  return answers;
}

}  // namespace fuzz

extern "C" {

GDBusConnection* g_bus_get_sync(GBusType, GCancellable*, GError**) {
  return static_cast<GDBusConnection*>(g_object_ref(Connection()));
}

gboolean g_dbus_connection_is_closed(GDBusConnection*) {
  return FALSE;
}

void g_dbus_connection_set_exit_on_close(GDBusConnection*, gboolean) {}

guint g_bus_own_name_on_connection(GDBusConnection*, const gchar* name, GBusNameOwnerFlags,
                                   GBusNameAcquiredCallback name_acquired, GBusNameLostCallback, gpointer data,
                                   GDestroyNotify) {
  name_acquired(Connection(), name, data);
  return 1;
}

void g_bus_unown_name(guint) {}

guint g_dbus_connection_register_object(GDBusConnection*, const gchar*, GDBusInterfaceInfo*,
                                        const GDBusInterfaceVTable*, gpointer, GDestroyNotify, GError**) {
  return 1;
}

gboolean g_dbus_connection_unregister_object(GDBusConnection*, guint) {
  return TRUE;
}

GVariant* g_dbus_connection_call_sync(GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
                                      GVariant* parameters, const GVariantType*, GDBusCallFlags, gint, GCancellable*,
                                      GError** error) {
  if (std::string(method) == "heartbeat") return g_variant_ref_sink(g_variant_new("()"));
  return CurrentAnswer()({method, parameters}, error);
}

void g_dbus_method_invocation_return_value(GDBusMethodInvocation* invocation, GVariant* parameters) {
  MUST(parameters == nullptr);
  ++answers;
  g_object_unref(invocation);
}

}  // extern "C"
