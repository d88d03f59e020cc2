// Two threads write one number: ours, and a callback that GLib's main loop runs. ThreadSanitizer has to say so.
#include <glib.h>

namespace {

int planted_number = 0;

gboolean WriteInCallback(gpointer loop) {
  ++planted_number;
  g_main_loop_quit(static_cast<GMainLoop*>(loop));
  return G_SOURCE_REMOVE;
}

gpointer RunLoop(gpointer loop) {
  g_main_loop_run(static_cast<GMainLoop*>(loop));
  return nullptr;
}

}  // namespace

int main() {
  GMainContext* context = g_main_context_new();
  GMainLoop* loop = g_main_loop_new(context, FALSE);
  GSource* source = g_idle_source_new();
  g_source_set_callback(source, WriteInCallback, loop, nullptr);
  g_source_attach(source, context);
  GThread* thread = g_thread_new("planted", RunLoop, loop);
  ++planted_number;
  g_thread_join(thread);
  g_source_unref(source);
  g_main_loop_unref(loop);
  g_main_context_unref(context);
  return 0;
}
