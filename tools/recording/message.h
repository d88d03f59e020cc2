// A message of the bus, as an entry of a recording.
#pragma once

#include <gio/gio.h>

#include <memory>
#include <optional>
#include <string>

#include "recording/format.h"

namespace recording {

struct ReleaseMessage {
  void operator()(GDBusMessage* message) const { g_object_unref(message); }
};
using MessageOwner = std::unique_ptr<GDBusMessage, ReleaseMessage>;

// A field of a message; empty where it has none.
inline std::string TextOf(const char* field) {
  return field != nullptr ? field : "";
}

// Null where the bytes are no message.
MessageOwner MessageOf(const std::vector<unsigned char>& bytes);
MessageOwner MessageOf(const Entry& entry);

// The entry of the message that came as these bytes.
Entry EntryOf(std::int64_t t_us, GDBusMessage* message, std::vector<unsigned char> bytes);

}  // namespace recording
