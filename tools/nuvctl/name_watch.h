// Whether a bus name has an owner, from the beginning and at each change.
#pragma once

#include <functional>
#include <string>

#include "glib_handles.h"
#include "signal_watch.h"

// In place of g_bus_watch_name_on_connection(), which complains aloud about a connection that closes just then. Says
// nothing about a closed connection.
class NameWatch {
 public:
  using OwnerFunction = std::function<void(bool present)>;

  // Calls on_owner from the default main context. A new owner in place of another is an absence and a presence.
  NameWatch(GDBusConnection* bus, const std::string& name, OwnerFunction on_owner);
  ~NameWatch();
  NameWatch(const NameWatch&) = delete;
  NameWatch& operator=(const NameWatch&) = delete;

 private:
  static void OnFirstAnswer(GObject* bus, GAsyncResult* result, gpointer watch);
  void OnOwnerChanged(GVariant* arguments) const;

  const OwnerFunction on_owner_;
  const CancellableOwner asking_;
  const SignalWatch changes_;  // from before the first answer on
};
