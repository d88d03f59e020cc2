// A launch result that the service delivers on the client object.
#pragma once

#include <gio/gio.h>

// Method handler of the client object; runs on the listener thread. The invocation is the handler's.
void nuv_launcher_handle_event(GDBusConnection* connection, const char* sender, const char* objectPath,
                               const char* interfaceName, const char* methodName, GVariant* parameters,
                               GDBusMethodInvocation* invocation, void* userData);

// Answers the service and tells the caller of the launch.
void nuv_launcher_app_result(GVariant* parameters, GDBusMethodInvocation* invocation);
