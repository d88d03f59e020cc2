// Getting a connection to the system bus that really is one.
#pragma once

#include "nuv_common/nuv_handles.h"

struct BusConnection {
  GConnectionHandle connection;  // null on failure
  GMainContextHandle context;    // set for a private connection: the context that its signals are delivered in
  GErrorHandle error;            // why there is no connection, where GLib said so
};

// The process's shared system-bus connection, or, where that one has closed and somebody still holds it (it then stays
// closed for good), a private one to the same bus. Neither ends the process when the bus goes.
BusConnection ConnectToSystemBus();
