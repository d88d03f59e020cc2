// Whether a bus name has an owner, from the beginning and at each change.
#pragma once

#include <functional>
#include <string>

#include "glib_handles.h"

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
  static void OnOwnerChanged(GDBusConnection*, const char* sender, const char* path, const char* interface,
                             const char* signal, GVariant* arguments, gpointer watch);

  GDBusConnection* const bus_;
  const OwnerFunction on_owner_;
  const CancellableOwner asking_;
  guint subscription_ = 0;
};
