// Which process connected to the bus. GLib's bus thread does not exist in a child of fork(), so such a child can use
// neither its parent's connection nor a new one.
#pragma once

// Notes that this process is about to connect; true when it is the first time. Undone when it did not come to that.
bool NoteBusProcess();
void ForgetBusProcess();

// Whether the caller is a forked child of the process that connected; says so in the log.
bool RefuseInForkedChild();
bool IsForkedChild();
