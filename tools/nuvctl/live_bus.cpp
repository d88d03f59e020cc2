#include "live_bus.h"

#include <utility>

#include "system_bus.h"

LiveBus::LiveBus(Listener listener) : listener_(std::move(listener)), connecting_(g_cancellable_new()) {
  if (const TextOwner address = SystemBusAddress()) {
    g_dbus_connection_new_for_address(address.get(), kBusConnection, nullptr, connecting_.get(), OnConnected, this);
  } else {
    no_address_.Start(0, listener_.on_unreachable);
  }
}

LiveBus::~LiveBus() {
  g_cancellable_cancel(connecting_.get());
  if (closed_handler_ != 0) g_signal_handler_disconnect(connection_.get(), closed_handler_);
}

// A cancelled attempt ends when the owner is gone already.
void LiveBus::OnConnected(GObject*, GAsyncResult* result, gpointer bus) {
  GError* error = nullptr;
  ConnectionOwner connection(g_dbus_connection_new_for_address_finish(result, &error));
  const GlibOwner<GError> owned(error);
  if (g_error_matches(error, G_IO_ERROR, G_IO_ERROR_CANCELLED)) return;
  auto* self = static_cast<LiveBus*>(bus);
  if (connection == nullptr) return self->listener_.on_unreachable();
  self->Keep(std::move(connection));
}

void LiveBus::Keep(ConnectionOwner connection) {
  connection_ = std::move(connection);
  closed_handler_ = g_signal_connect(connection_.get(), "closed", G_CALLBACK(OnClosed), this);
  // A connection that is gone already tells nothing any more.
  if (g_dbus_connection_is_closed(connection_.get())) return listener_.on_closed();
  listener_.on_connected(connection_.get());
}

void LiveBus::OnClosed(GDBusConnection*, gboolean, GError*, gpointer bus) {
  static_cast<LiveBus*>(bus)->listener_.on_closed();
}
