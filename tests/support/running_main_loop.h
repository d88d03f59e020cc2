// A host whose main thread's default context runs in the background, as a GLib program's does.
#pragma once

#include <gio/gio.h>

#include <thread>

#include "process.h"

class RunningMainLoop {
 public:
  RunningMainLoop() : loop_(g_main_loop_new(nullptr, FALSE)), thread_([this] { g_main_loop_run(loop_); }) {
    WaitUntil([this] { return g_main_loop_is_running(loop_) != FALSE; });
  }
  ~RunningMainLoop() {
    g_main_loop_quit(loop_);
    thread_.join();
    g_main_loop_unref(loop_);
  }

 private:
  GMainLoop* loop_;
  std::thread thread_;
};
