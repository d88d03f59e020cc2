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
  BusConnection result;
  GError* error = nullptr;
  result.connection.reset(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  result.error.reset(error);
  if (result.connection != nullptr && g_dbus_connection_is_closed(result.connection.get())) {
    result = ConnectPrivately();
  }
  // GLib makes the shared connection so that a lost bus ends the process.
  if (result.connection != nullptr) g_dbus_connection_set_exit_on_close(result.connection.get(), FALSE);
  return result;
}
