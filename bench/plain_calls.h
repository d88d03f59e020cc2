// What a component would write without the library: the same calls, straight to GIO.
#pragma once

#include <gio/gio.h>

#include "launch_case.h"

namespace bench {

// The shared connection. The program ends where there is none.
GDBusConnection* SystemBus();

struct PlainLaunch {
  const char* app_id = kAppId;
  const char* object = "obj0";  // the client object that a result is sent to
  int event = 0;
  const ExtraDatas* extra_datas = nullptr;
};

// Each call sends, waits and releases the reply. The program ends where a call fails.
void PlainHeartbeat(GDBusConnection* connection);
void PlainLaunchApp(GDBusConnection* connection, const PlainLaunch& launch);

// A heartbeat of the inner side's service, and a launch that it counts: its answer.
int PlainUpdate(GDBusConnection* connection, const char* app_id);

}  // namespace bench
