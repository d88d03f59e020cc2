#include "nuv_common/nuv_bus_connection.h"

#include <utility>

namespace {

// Makes a context the calling thread's default for a while.
class ThreadDefaultContext {
 public:
  explicit ThreadDefaultContext(GMainContext* context) : m_context(context) {
    g_main_context_push_thread_default(m_context);
  }
  ~ThreadDefaultContext() { g_main_context_pop_thread_default(m_context); }
  ThreadDefaultContext(const ThreadDefaultContext&) = delete;
  ThreadDefaultContext& operator=(const ThreadDefaultContext&) = delete;

 private:
  GMainContext* m_context;
};

// GLib makes the shared connection so that a lost bus ends the process, and lets nobody say otherwise before it is
// made. As long as one of these lives, a connection that closes ends nothing.
class ClosingEndsNothing {
 public:
  ClosingEndsNothing()
      : m_connections(g_type_class_ref(G_TYPE_DBUS_CONNECTION)),
        m_closed(g_signal_lookup("closed", G_TYPE_DBUS_CONNECTION)),
        m_hook(g_signal_add_emission_hook(m_closed, 0, Forgive, nullptr, nullptr)) {}
  ~ClosingEndsNothing() {
    g_signal_remove_emission_hook(m_closed, m_hook);
    g_type_class_unref(m_connections);
  }
  ClosingEndsNothing(const ClosingEndsNothing&) = delete;
  ClosingEndsNothing& operator=(const ClosingEndsNothing&) = delete;

 private:
  static gboolean Forgive(GSignalInvocationHint*, guint, const GValue* values, gpointer) {
    g_dbus_connection_set_exit_on_close(G_DBUS_CONNECTION(g_value_get_object(values)), FALSE);
    return TRUE;
  }

  gpointer m_connections;
  guint m_closed;
  gulong m_hook;
};

// A closing connection is kept alive until its "closed" signal has been delivered in the context it was made in. A
// host may never run its default context, so a private connection gets one that the listener runs.
BusConnection ConnectPrivately() {
  BusConnection result;
  GError* error = nullptr;
  const GTextHandle address(g_dbus_address_get_for_bus_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  if (address != nullptr) {
    result.context.reset(g_main_context_new());
    const ThreadDefaultContext guard(result.context.get());
    result.connection.reset(g_dbus_connection_new_for_address_sync(
        address.get(),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, &error));
  }
  result.error.reset(error);
  return result;
}

}  // namespace

BusConnection ConnectToSystemBus() {
  const ClosingEndsNothing guard;
  BusConnection result;
  GError* error = nullptr;
  result.connection.reset(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  result.error.reset(error);
  if (result.connection != nullptr && g_dbus_connection_is_closed(result.connection.get())) {
    result = ConnectPrivately();
  }
  if (result.connection != nullptr) g_dbus_connection_set_exit_on_close(result.connection.get(), FALSE);
  return result;
}
