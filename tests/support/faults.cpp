#include "faults.h"

#include <dlfcn.h>
#include <errno.h>
#include <gio/gio.h>
#include <pthread.h>

namespace faults {

bool pthread_create_fails = false;
bool bus_get_fails_without_error = false;
bool main_context_new_fails = false;
bool register_object_returns_zero = false;
void (*before_register_object)() = nullptr;

}  // namespace faults

namespace {

template <typename Function>
Function* Real(Function*, const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*body)(void*), void* data) {
  if (faults::pthread_create_fails) return EAGAIN;
  static auto* const real = Real(pthread_create, "pthread_create");
  return real(thread, attributes, body, data);
}

GDBusConnection* g_bus_get_sync(GBusType type, GCancellable* cancellable, GError** error) {
  if (faults::bus_get_fails_without_error) return nullptr;
  static auto* const real = Real(g_bus_get_sync, "g_bus_get_sync");
  return real(type, cancellable, error);
}

GMainContext* g_main_context_new() {
  if (faults::main_context_new_fails) return nullptr;
  static auto* const real = Real(g_main_context_new, "g_main_context_new");
  return real();
}

guint g_dbus_connection_register_object(GDBusConnection* connection, const gchar* path, GDBusInterfaceInfo* info,
                                        const GDBusInterfaceVTable* vtable, gpointer data, GDestroyNotify release,
                                        GError** error) {
  if (faults::register_object_returns_zero) return 0;
  if (faults::before_register_object != nullptr) faults::before_register_object();
  static auto* const real = Real(g_dbus_connection_register_object, "g_dbus_connection_register_object");
  return real(connection, path, info, vtable, data, release, error);
}

}  // extern "C"
