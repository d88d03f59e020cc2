// A connection to the system bus for as long as it lives.
#pragma once

#include <functional>

#include "glib_handles.h"

// Connects without holding up the default main context, on which it also tells what becomes of the connection: a bus
// that hangs must not stop the timers and signals of the program.
class LiveBus {
 public:
  struct Listener {
    std::function<void(GDBusConnection*)> on_connected;
    std::function<void()> on_unreachable;
    std::function<void()> on_closed;
  };

  explicit LiveBus(Listener listener);
  ~LiveBus();
  LiveBus(const LiveBus&) = delete;
  LiveBus& operator=(const LiveBus&) = delete;

 private:
  static void OnConnected(GObject* source, GAsyncResult* result, gpointer bus);
  static void OnClosed(GDBusConnection* connection, gboolean, GError*, gpointer bus);
  void Keep(ConnectionOwner connection);

  const Listener listener_;
  Timer no_address_;
  CancellableOwner connecting_;
  ConnectionOwner connection_;
  gulong closed_handler_ = 0;
};
