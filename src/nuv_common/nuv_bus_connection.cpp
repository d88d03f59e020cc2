#include "nuv_common/nuv_bus_connection.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace {

// GLib makes the shared connection with exit-on-close set, and nobody can clear it before the connection exists. While
// an object of this class lives, a connection that closes and would end the process waits until exit-on-close of ours
// is cleared; that of no other connection is changed. A connection that waits until the limit is not ours: GLib returns
// ours as soon as it is made.
class ClosingWaits {
 public:
  ClosingWaits()
      : m_connections(g_type_class_ref(G_TYPE_DBUS_CONNECTION)),
        m_closed(g_signal_lookup("closed", G_TYPE_DBUS_CONNECTION)),
        m_hook(g_signal_add_emission_hook(m_closed, 0, Wait, new std::shared_ptr<Connecting>(m_connecting), Release)) {}
  ~ClosingWaits() {
    m_connecting->End();
    g_signal_remove_emission_hook(m_closed, m_hook);
    g_type_class_unref(m_connections);
  }
  ClosingWaits(const ClosingWaits&) = delete;
  ClosingWaits& operator=(const ClosingWaits&) = delete;

 private:
  class Connecting {
   public:
    void End() {
      {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_over = true;
      }
      m_changed.notify_all();
    }
    void WaitForEnd() {
      std::unique_lock<std::mutex> lock(m_mutex);
      m_changed.wait_for(lock, std::chrono::seconds(1), [this] { return m_over; });
    }

   private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_over = false;
  };

  static gboolean Wait(GSignalInvocationHint*, guint, const GValue* values, gpointer connecting) {
    auto* closing = G_DBUS_CONNECTION(g_value_get_object(values));
    if (g_dbus_connection_get_exit_on_close(closing)) {
      (*static_cast<std::shared_ptr<Connecting>*>(connecting))->WaitForEnd();
    }
    return TRUE;
  }
  static void Release(gpointer connecting) { delete static_cast<std::shared_ptr<Connecting>*>(connecting); }

  std::shared_ptr<Connecting> m_connecting = std::make_shared<Connecting>();
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
  const ClosingWaits guard;
  BusConnection result;
  GError* error = nullptr;
  result.connection.reset(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, &error));
  result.error.reset(error);
  if (result.connection == nullptr) return result;
  // Cleared on a closed connection, too: its "closed" signal, which would end the process, may not be delivered yet.
  g_dbus_connection_set_exit_on_close(result.connection.get(), FALSE);
  if (g_dbus_connection_is_closed(result.connection.get())) result = ConnectPrivately();
  return result;
}
