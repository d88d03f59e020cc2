// The system-bus connection of a host that holds it beside the library.
#pragma once

#include <gio/gio.h>

#include <algorithm>

#include "process.h"

// A host's own reference to the shared connection. The number of references shows whether the link has released its
// own. GLib's worker thread takes a reference for each message; with the host's, its release is never the last one.
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
