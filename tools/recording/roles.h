// Who is who in a message: the service, its clients' objects, and what says that a client is not there.
#pragma once

#include <gio/gio.h>

#include <array>
#include <string>

namespace recording {

constexpr std::array<const char*, 2> kServiceNames = {"org.kelvo.tv.litecorvane.server", "org.kelvo.tv.corvane.server"};

// Whether it is one of the service's names, by which its clients call it.
bool IsServiceName(const std::string& name);

// The name of the client's object that a call for a result goes to; empty for any other message.
std::string ObjectOfResult(GDBusMessage* message);

// What a result of a launch carries; null for any other body, or none.
GVariant* ResultIn(GDBusMessage* message);

// Whether the answer says that the client of a result is not there, or not yet: the service then tries again.
bool SaysNobodyIsThere(GDBusMessage* answer);

}  // namespace recording
