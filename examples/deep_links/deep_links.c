/*
 * An application: it is told in its environment what it is launched with, and, while it runs, of each further launch
 * and deep link. C11, GIO. On the host edition the service tells a running application by a signal; on a TV the
 * platform's application framework does, and calls on_launch() in its place.
 *
 *   cc deep_links.c $(pkg-config --cflags --libs gio-2.0) -o deep_links
 *   sh deep_links_test.sh ./deep_links
 */
// snippet: deep-links
#include <gio/gio.h>
#include <stdio.h>
#include <string.h>

static void show(const char* how, const char* payload) {
  const char* path = g_getenv("DEEP_LINKS_LOG");
  FILE* log = path != NULL ? fopen(path, "a") : stdout;
  if (log == NULL) return;
  fprintf(log, "%s %s\n", how, payload);
  if (log == stdout) {
    fflush(log);
  } else {
    fclose(log);
  }
}

/* "LaunchDelivered" of each application; ours is told apart by its id. */
static void on_launch(GDBusConnection* bus, const char* sender, const char* path, const char* interface,
                      const char* signal, GVariant* arguments, gpointer own_id) {
  const char *app_id, *payload, *caller, *uri, *extra_data;
  int pid;
  (void)bus, (void)sender, (void)path, (void)interface, (void)signal;
  if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE("(sissss)"))) return;
  g_variant_get(arguments, "(&si&s&s&s&s)", &app_id, &pid, &payload, &caller, &uri, &extra_data);
  if (strcmp(app_id, own_id) == 0) show("again with", payload);
}

int main(void) {
  const char* app_id = g_getenv("NUV_APP_ID");
  const char* payload = g_getenv("NUV_PAYLOAD");
  GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SYSTEM, NULL, NULL);
  if (app_id == NULL || bus == NULL) return 1;
  g_dbus_connection_signal_subscribe(bus, "org.kelvo.tv.corvane.server", "org.kelvo.tv.NuvSimulator1",
                                     "LaunchDelivered", "/org/kelvo/tv/NuvSimulator", app_id, G_DBUS_SIGNAL_FLAGS_NONE,
                                     on_launch, (gpointer)app_id, NULL);
  /* From the answer to this on, nothing is missed. */
  GVariant* answer = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer", "Ping",
                                                 NULL, NULL, G_DBUS_CALL_FLAGS_NONE, -1, NULL, NULL);
  if (answer != NULL) g_variant_unref(answer);
  show("started with", payload != NULL ? payload : "nothing");
  g_main_loop_run(g_main_loop_new(NULL, FALSE)); /* until the service ends it */
  return 0;
}
// end of snippet
