// Entries of a recording that no bus has seen, with real messages, in memory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "recording/message.h"
#include "recording/writer.h"

class MadeEntries {
 public:
  static constexpr char kService[] = ":1.3";
  static constexpr char kServiceName[] = "org.kelvo.tv.corvane.server";
  static constexpr char kSimulator[] = "org.kelvo.tv.NuvSimulator1";

  recording::Header header = {"1.0.0", "2.5", "unix:path=/run/bus", "2024-02-29T12:00:00.000001Z", false};

  const std::vector<recording::Entry>& entries() const { return entries_; }

  void Client(std::int64_t t, const std::string& name, int pid, const std::string& program) {
    recording::Entry& entry = Add(t, recording::Kind::kClient);
    entry.name = name;
    entry.pid = pid;
    entry.program = program;
  }
  void Owner(std::int64_t t, const std::string& owner, const std::string& name = kServiceName) {
    recording::Entry& entry = Add(t, recording::Kind::kOwner);
    entry.name = name;
    entry.owner = owner;
  }
  void Lost(std::int64_t t, std::uint64_t count, const std::string& sender = "") {
    recording::Entry& entry = Add(t, recording::Kind::kLost);
    entry.count = count;
    entry.sender = sender;
  }
  void Unreadable(std::int64_t t) { Add(t, recording::Kind::kCall).bytes = {1, 2, 3}; }
  void End(std::int64_t t, const std::string& reason = "interrupted") { Add(t, recording::Kind::kEnd).reason = reason; }

  // The service, as it is at the start of most recordings.
  void StartWithService() {
    Owner(0, kService);
    Client(0, kService, 100, "nuv-simulator");
  }

  // These return the serial.
  guint32 Call(std::int64_t t, const std::string& from, const std::string& member, GVariant* body = nullptr,
               const std::string& path = "/org/kelvo/tv/corvane/server", const std::string& to = kServiceName) {
    recording::MessageOwner message(
        g_dbus_message_new_method_call(to.c_str(), path.c_str(), "org.kelvo.tv.some", member.c_str()));
    return Send(t, from, message.get(), body);
  }
  guint32 Launch(std::int64_t t, const std::string& from, const std::string& object, const std::string& app,
                 int event_index) {
    GVariant* body = g_variant_new("(sisssssssisiiiiiiiiiiiaay)", object.c_str(), 7, app.c_str(), "", "", "", "", "",
                                   "", event_index, "nuv_launch_app", 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, nullptr);
    return Call(t, from, "launch_app", body);
  }
  guint32 Result(std::int64_t t, const std::string& object, const std::string& app, int event, int status,
                 int event_index, const std::string& from = kService) {
    GVariant* body = g_variant_new("(isiiiisi)", 7, app.c_str(), status, event, 0, event_index, "nuv_launch_app", 1);
    return Call(t, from, "app_launch_result", body, "/org/kelvo/tv/corvane/launcherclient/" + object,
                "org.kelvo.tv.corvane.launcherclient." + object);
  }
  void Reply(std::int64_t t, const std::string& to, guint32 serial, const std::string& from = kService) {
    Answer(t, to, serial, from, G_DBUS_MESSAGE_TYPE_METHOD_RETURN, nullptr);
  }
  void Error(std::int64_t t, const std::string& to, guint32 serial, const std::string& name,
             const std::string& from = kService) {
    Answer(t, to, serial, from, G_DBUS_MESSAGE_TYPE_ERROR, name.c_str());
  }
  void Signal(std::int64_t t, const std::string& member, GVariant* body, const std::string& from = kService,
              const std::string& interface = kSimulator) {
    recording::MessageOwner message(
        g_dbus_message_new_signal("/org/kelvo/tv/NuvSimulator", interface.c_str(), member.c_str()));
    Send(t, from, message.get(), body);
  }
  // A call and its reply so much later.
  void Exchange(std::int64_t t, std::int64_t duration, const std::string& from, const std::string& member,
                GVariant* body = nullptr) {
    const guint32 serial = Call(t, from, member, body);
    Reply(t + duration, from, serial);
  }

  void WriteTo(const std::string& path) const {
    recording::Writer writer;
    ASSERT_EQ(writer.Open(path, recording::Writer::Existing::kReplace), "");
    ASSERT_EQ(writer.Write(header), "");
    for (const recording::Entry& entry : entries_) ASSERT_EQ(writer.Write(entry), "");
  }

 private:
  recording::Entry& Add(std::int64_t t, recording::Kind kind) {
    recording::Entry& entry = entries_.emplace_back();
    entry.t_us = t;
    entry.kind = kind;
    return entry;
  }
  void Answer(std::int64_t t, const std::string& to, guint32 serial, const std::string& from, GDBusMessageType type,
              const char* error) {
    recording::MessageOwner message(g_dbus_message_new());
    g_dbus_message_set_message_type(message.get(), type);
    g_dbus_message_set_destination(message.get(), to.c_str());
    g_dbus_message_set_reply_serial(message.get(), serial);
    if (error != nullptr) g_dbus_message_set_error_name(message.get(), error);
    Send(t, from, message.get(), nullptr);
  }
  guint32 Send(std::int64_t t, const std::string& from, GDBusMessage* message, GVariant* body) {
    g_dbus_message_set_sender(message, from.c_str());
    g_dbus_message_set_serial(message, ++serial_);
    if (body != nullptr) g_dbus_message_set_body(message, body);
    gsize size = 0;
    GError* error = nullptr;
    guchar* blob = g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_NONE, &error);
    EXPECT_NE(blob, nullptr) << (error != nullptr ? error->message : "");
    entries_.push_back(recording::EntryOf(t, message, {blob, blob + size}));
    g_free(blob);
    return serial_;
  }

  std::vector<recording::Entry> entries_;
  guint32 serial_ = 0;
};
