#include "private_connection.h"

PrivateConnection::PrivateConnection(const std::string& address) : context_(g_main_context_new()) {
  g_main_context_push_thread_default(context_);
  connection_ = g_dbus_connection_new_for_address_sync(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr);
  g_main_context_pop_thread_default(context_);
  if (connection_ == nullptr) return;
  g_signal_connect(connection_, "closed",
                   G_CALLBACK(+[](GDBusConnection*, gboolean, GError*, bool* closed) { *closed = true; }), &closed_);
}

PrivateConnection::~PrivateConnection() {
  if (connection_ != nullptr) {
    g_dbus_connection_close_sync(connection_, nullptr, nullptr);
    // The signal holds the connection until it was delivered.
    while (!closed_) g_main_context_iteration(context_, TRUE);
    g_object_unref(connection_);
  }
  g_main_context_unref(context_);
}
