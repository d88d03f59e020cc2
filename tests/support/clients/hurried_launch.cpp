// Linked into a program that uses the library: its "launch_app" call runs out of time at once, whatever limit the
// library gives it. Prints that limit.
#include <dlfcn.h>
#include <gio/gio.h>

#include <cstdio>
#include <cstring>

extern "C" GVariant* g_dbus_connection_call_sync(GDBusConnection* connection, const gchar* bus_name, const gchar* path,
                                                 const gchar* interface, const gchar* method, GVariant* parameters,
                                                 const GVariantType* reply_type, GDBusCallFlags flags, gint timeout_ms,
                                                 GCancellable* cancellable, GError** error) {
  constexpr gint kAtOnceMs = 20;
  static auto* const real =
      reinterpret_cast<decltype(&g_dbus_connection_call_sync)>(dlsym(RTLD_NEXT, "g_dbus_connection_call_sync"));
  const bool launches = strcmp(method, "launch_app") == 0;
  if (launches) fprintf(stderr, "launch_app within %d ms\n", timeout_ms);
  return real(connection, bus_name, path, interface, method, parameters, reply_type, flags,
              launches ? kAtOnceMs : timeout_ms, cancellable, error);
}
