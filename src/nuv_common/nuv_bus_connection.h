// Connects to the system bus, also when the process's shared connection has closed.
#pragma once

#include "nuv_common/nuv_handles.h"

// Makes a context the calling thread's default for a while.
class ThreadDefaultContext {
 public:
  explicit ThreadDefaultContext(GMainContext* context) : m_context(context) {
    g_main_context_push_thread_default(m_context);
  }
  ~ThreadDefaultContext() { g_main_context_pop_thread_default(m_context); }
  ThreadDefaultContext(const ThreadDefaultContext&) = delete;
  ThreadDefaultContext& operator=(const ThreadDefaultContext&) = delete;

 private:
  GMainContext* m_context;
};

struct BusConnection {
  GConnectionHandle connection;  // null on failure
  GMainContextHandle context;    // set for a private connection: the context that its signals are delivered in
  GErrorHandle error;            // why there is no connection, where GLib said so
};

// The process's shared connection to the system bus. Where that has closed, and GLib keeps handing it out because
// somebody still holds it, a private connection to the same bus. Neither ends the process when the bus goes.
BusConnection ConnectToSystemBus();
