// A component with a GLib main loop of its own, which no launch ever holds up: the loop ticks on while a slow service
// makes up its mind. C++17, GLib.
//
//   c++ -std=c++17 main_loop.cpp $(pkg-config --cflags --libs nuv-launcher-api glib-2.0) -o main_loop
//   nuv-session -- ./main_loop org.kelvo.app.clock
#include <glib.h>
// snippet: main-loop
#include <iostream>
#include <nuv/nuv_launch.hpp>

struct Component {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  int ticks = 0;
  nuv::LaunchOutcome outcome;
  ~Component() { g_main_loop_unref(loop); }

  void Launch(const std::string& app_id) {
    // Returns at once. The outcome comes on this loop's thread, at the latest after ten seconds, once: the component
    // lives until then.
    nuv::launch_in(nullptr, app_id, {}, std::chrono::seconds(10), [this](const nuv::LaunchOutcome& told) {
      outcome = told;
      g_main_loop_quit(loop);
    });
  }
};
// end of snippet

gboolean Tick(gpointer component) {
  ++static_cast<Component*>(component)->ticks;
  return TRUE;
}

int main(int argc, char** argv) {
  Component component;
  g_timeout_add(10, Tick, &component);
  component.Launch(argc > 1 ? argv[1] : "org.kelvo.app.clock");
  g_main_loop_run(component.loop);
  std::cout << component.outcome.text() << ", while the loop " << (component.ticks > 9 ? "ran" : "stood") << "\n";
  return component.outcome.ok() ? 0 : 1;
}
