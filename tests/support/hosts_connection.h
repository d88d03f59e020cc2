// The system-bus connection of a host that holds it beside the library.
#pragma once

#include <gio/gio.h>

#include <algorithm>

#include "process.h"

// A host's own reference to the shared connection: that the link has given back its own shows in their number, and the
// connection does not end where GLib's worker, which refers to it for each message, happens to be the last.
class HostsConnection {
 public:
  HostsConnection() : connection_(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr)) {
    WaitUntil([this] { return (at_first_ = std::min(at_first_, References())) == 1; }, Milliseconds(100));
  }
  ~HostsConnection() { g_object_unref(connection_); }
  HostsConnection(const HostsConnection&) = delete;
  HostsConnection& operator=(const HostsConnection&) = delete;

  bool IsLetGo() const {
    return WaitUntil([this] { return References() <= at_first_; });
  }

 private:
  guint References() const { return g_atomic_int_get(&G_OBJECT(connection_)->ref_count); }

  GDBusConnection* connection_;
  guint at_first_ = G_MAXUINT;
};
