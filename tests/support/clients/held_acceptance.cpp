// Linked into a program that uses the library: the answer to its "launch_app" call reaches the library only once the
// file is there that NUV_HELD_UNTIL names.
#include <dlfcn.h>
#include <gio/gio.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr useconds_t kBetweenLooksUs = 5000;
constexpr int kMostLooks = 6000;

void AwaitFile(const char* path) {
  for (int look = 0; look < kMostLooks && access(path, F_OK) != 0; ++look) usleep(kBetweenLooksUs);
}

}  // namespace

extern "C" GVariant* g_dbus_connection_call_sync(GDBusConnection* connection, const gchar* bus_name, const gchar* path,
                                                 const gchar* interface, const gchar* method, GVariant* parameters,
                                                 const GVariantType* reply_type, GDBusCallFlags flags, gint timeout_ms,
                                                 GCancellable* cancellable, GError** error) {
  static auto* const real =
      reinterpret_cast<decltype(&g_dbus_connection_call_sync)>(dlsym(RTLD_NEXT, "g_dbus_connection_call_sync"));
  GVariant* answer = real(connection, bus_name, path, interface, method, parameters, reply_type, flags, timeout_ms,
                          cancellable, error);
  if (strcmp(method, "launch_app") == 0) AwaitFile(getenv("NUV_HELD_UNTIL"));
  return answer;
}
