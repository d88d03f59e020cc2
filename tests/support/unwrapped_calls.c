// A library that is linked with --wrap calls these functions. They are for a program that wraps no calls itself, and do
// what the calls do (cmake/NuvCoverage.cmake).
#include <gio/gio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

void* __wrap_malloc(size_t bytes);
void* __wrap_calloc(size_t count, size_t bytes);
char* __wrap_strdup(const char* text);
void __wrap_free(void* block);
time_t __wrap_time(time_t* result);
guint __wrap_g_bus_own_name_on_connection(GDBusConnection* connection, const gchar* name, GBusNameOwnerFlags flags,
                                          GBusNameAcquiredCallback on_name, GBusNameLostCallback on_loss, gpointer data,
                                          GDestroyNotify release);

void* __wrap_malloc(size_t bytes) {
  return malloc(bytes);
}

void* __wrap_calloc(size_t count, size_t bytes) {
  return calloc(count, bytes);
}

char* __wrap_strdup(const char* text) {
  return strdup(text);
}

void __wrap_free(void* block) {
  free(block);
}

time_t __wrap_time(time_t* result) {
  return time(result);
}

guint __wrap_g_bus_own_name_on_connection(GDBusConnection* connection, const gchar* name, GBusNameOwnerFlags flags,
                                          GBusNameAcquiredCallback on_name, GBusNameLostCallback on_loss, gpointer data,
                                          GDestroyNotify release) {
  return g_bus_own_name_on_connection(connection, name, flags, on_name, on_loss, data, release);
}
