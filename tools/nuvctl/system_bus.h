// The system bus as nuvctl sees it, on connections of its own: the library's stay untouched.
#pragma once

#include <string>

#include "glib_handles.h"

// Null where the platform names no system bus.
TextOwner SystemBusAddress();

// How a connection to a message bus is made.
constexpr GDBusConnectionFlags kBusConnection = static_cast<GDBusConnectionFlags>(
    G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT | G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);

// A new connection, or null when there is none within the limit, also where the bus takes the call and says nothing.
ConnectionOwner ConnectToSystemBus(unsigned limit_ms);

// The bus name that this process's requests go to.
std::string ServiceName();

// The bus name under which the library receives this process's launch results.
std::string ClientName();
