// A reply whose type the interface does not know, which GLib's own reply call refuses to send.
#pragma once

#include <gio/gio.h>

namespace simulator {

// Uses the invocation up.
void SendRaw(GDBusMethodInvocation* invocation, GDBusMessage* reply);

}  // namespace simulator
