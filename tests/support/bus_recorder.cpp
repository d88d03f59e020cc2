#include "bus_recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "recording/message.h"

namespace {

constexpr const char* kBus = "org.freedesktop.DBus";
constexpr const char* kServiceNames[] = {"org.kelvo.tv.litecorvane.server", "org.kelvo.tv.corvane.server"};
constexpr const char* kMarker = "EndOfRecording";

GDBusConnection* Connect(const PrivateBus& bus) {
  return g_dbus_connection_new_for_address_sync(
      bus.address().c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr, nullptr);
}

std::string Text(const char* text) {
  return text == nullptr ? "" : text;
}

std::vector<unsigned char> BytesOf(GDBusMessage* message) {
  gsize size = 0;
  guchar* bytes = g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
  std::vector<unsigned char> copy(bytes, bytes + size);
  g_free(bytes);
  return copy;
}

bool Matters(GDBusMessage* message) {
  if (g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_ERROR) return true;
  return Text(g_dbus_message_get_destination(message)) != kBus && Text(g_dbus_message_get_sender(message)) != kBus;
}

}  // namespace

BusRecorder::BusRecorder(const PrivateBus& bus, const std::string& path) : bus_(bus), monitor_(Connect(bus)) {
  EXPECT_EQ(writer_.Open(path, recording::Writer::Existing::kReplace), "");
  recording::Header header;
  header.library = "test";
  header.bus = bus.address();
  header.started = recording::Now();
  EXPECT_EQ(writer_.Write(header), "");
  for (const char* name : kServiceNames) {
    GVariant* owner = g_dbus_connection_call_sync(monitor_, kBus, "/org/freedesktop/DBus", kBus, "GetNameOwner",
                                                  g_variant_new("(s)", name), G_VARIANT_TYPE("(s)"),
                                                  G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr);
    if (owner == nullptr) continue;
    const char* unique = nullptr;
    g_variant_get(owner, "(&s)", &unique);
    TakeOwner(name, unique);
    g_variant_unref(owner);
  }
  g_dbus_connection_add_filter(monitor_, Filter, this, nullptr);
  GVariant* reply = g_dbus_connection_call_sync(
      monitor_, kBus, "/org/freedesktop/DBus", "org.freedesktop.DBus.Monitoring", "BecomeMonitor",
      g_variant_new_parsed("(@as [], @u 0)"), nullptr, G_DBUS_CALL_FLAGS_NONE, 10000, nullptr, nullptr);
  EXPECT_NE(reply, nullptr);
  if (reply != nullptr) g_variant_unref(reply);
}

BusRecorder::~BusRecorder() {
  End();
  g_object_unref(monitor_);
}

// The bus passes messages on in one order: what came before the marker came here before it, too.
void BusRecorder::End() {
  if (ended_) return;
  GDBusConnection* sender = Connect(bus_);
  g_dbus_connection_emit_signal(sender, nullptr, "/", "org.example.Recorder", kMarker, nullptr, nullptr);
  g_dbus_connection_flush_sync(sender, nullptr, nullptr);
  {
    std::unique_lock<std::mutex> lock(mutex_);
    EXPECT_TRUE(changed_.wait_for(lock, std::chrono::seconds(30), [this] { return marked_; }));
    EXPECT_EQ(writer_.End(Time(), "interrupted"), "");
    ended_ = true;
  }
  g_dbus_connection_close_sync(sender, nullptr, nullptr);
  g_object_unref(sender);
  g_dbus_connection_close_sync(monitor_, nullptr, nullptr);
}

// Nothing that the monitor sees is for it: an answer to any of it would end its connection.
GDBusMessage* BusRecorder::Filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self) {
  if (incoming == FALSE) return message;
  static_cast<BusRecorder*>(self)->Take(message);
  const bool own = g_dbus_message_get_reply_serial(message) != 0 && Text(g_dbus_message_get_sender(message)) == kBus;
  if (own) return message;
  g_object_unref(message);
  return nullptr;
}

void BusRecorder::Take(GDBusMessage* message) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (ended_) return;
  const std::string member = Text(g_dbus_message_get_member(message));
  if (member == kMarker) {
    marked_ = true;
    changed_.notify_all();
  } else if (member == "NameOwnerChanged" && Text(g_dbus_message_get_sender(message)) == kBus) {
    const char* name = nullptr;
    const char* owner = nullptr;
    g_variant_get(g_dbus_message_get_body(message), "(&s&s&s)", &name, nullptr, &owner);
    for (const char* service : kServiceNames) {
      if (std::string(service) == name) TakeOwner(name, owner);
    }
  } else if (Matters(message)) {
    EXPECT_EQ(writer_.Write(recording::EntryOf(Time(), message, BytesOf(message))), "");
  }
}

void BusRecorder::TakeOwner(const std::string& name, const std::string& owner) {
  recording::Entry entry;
  entry.t_us = Time();
  entry.kind = recording::Kind::kOwner;
  entry.name = name;
  entry.owner = owner;
  EXPECT_EQ(writer_.Write(entry), "");
}
