// What the bus itself knows of names, asked over a connection that is there.
#pragma once

#include <optional>
#include <string>

#include "glib_handles.h"

constexpr char kBusName[] = "org.freedesktop.DBus";  // and its interface's
constexpr char kBusPath[] = "/org/freedesktop/DBus";

struct BusReply {
  VariantOwner value;      // null where there is none
  std::string error_name;  // of the D-Bus error, or empty where the bus did not answer in time
  std::string error_text;
};

// A call of any object. Starts no service.
BusReply CallOnBus(GDBusConnection* bus, const std::string& destination, const std::string& path,
                   const std::string& interface, const char* method, GVariant* arguments, unsigned limit_ms);
// A call of the bus.
BusReply AskBus(GDBusConnection* bus, const char* method, GVariant* arguments, unsigned limit_ms);

// Nothing where the bus does not tell: it did not answer, or the name has no owner.
std::optional<bool> HasOwner(GDBusConnection* bus, const std::string& name, unsigned limit_ms);
std::optional<bool> IsActivatable(GDBusConnection* bus, const std::string& name, unsigned limit_ms);
std::optional<unsigned> UserOf(GDBusConnection* bus, const std::string& name, unsigned limit_ms);
std::optional<int> ProcessOf(GDBusConnection* bus, const std::string& name, unsigned limit_ms);
