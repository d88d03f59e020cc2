#include "recording/message.h"

#include <utility>

namespace recording {
namespace {

// Of fixed fields, with which each message begins.
constexpr std::size_t kHeaderSize = 16;

Kind KindOf(GDBusMessage* message) {
  switch (g_dbus_message_get_message_type(message)) {
    case G_DBUS_MESSAGE_TYPE_METHOD_RETURN:
      return Kind::kReply;
    case G_DBUS_MESSAGE_TYPE_ERROR:
      return Kind::kError;
    case G_DBUS_MESSAGE_TYPE_SIGNAL:
      return Kind::kSignal;
    default:
      return Kind::kCall;
  }
}

}  // namespace

MessageOwner MessageOf(const std::vector<unsigned char>& bytes) {
  if (bytes.size() < kHeaderSize) return nullptr;
  // GLib does not write to them.
  auto* blob = const_cast<guchar*>(bytes.data());
  return MessageOwner(g_dbus_message_new_from_blob(blob, bytes.size(), G_DBUS_CAPABILITY_FLAGS_NONE, nullptr));
}

MessageOwner MessageOf(const Entry& entry) {
  return MessageOf(entry.bytes);
}

Entry EntryOf(std::int64_t t_us, GDBusMessage* message, std::vector<unsigned char> bytes) {
  Entry entry;
  entry.t_us = t_us;
  entry.kind = KindOf(message);
  entry.sender = TextOf(g_dbus_message_get_sender(message));
  entry.destination = TextOf(g_dbus_message_get_destination(message));
  entry.serial = g_dbus_message_get_serial(message);
  entry.reply_to = g_dbus_message_get_reply_serial(message);
  entry.path = TextOf(g_dbus_message_get_path(message));
  entry.interface = TextOf(g_dbus_message_get_interface(message));
  entry.member = TextOf(g_dbus_message_get_member(message));
  entry.error = TextOf(g_dbus_message_get_error_name(message));
  entry.signature = TextOf(g_dbus_message_get_signature(message));
  entry.bytes = std::move(bytes);
  return entry;
}

}  // namespace recording
