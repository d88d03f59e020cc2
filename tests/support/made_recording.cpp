#include "made_recording.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

#include "recording/message.h"

MadeRecording::MadeRecording(const std::string& path, bool redacted) {
  EXPECT_EQ(writer_.Open(path, recording::Writer::Existing::kReplace), "");
  recording::Header header;
  header.library = "test";
  header.bus = "unix:path=/none";
  header.started = recording::Now();
  header.redacted = redacted;
  EXPECT_EQ(writer_.Write(header), "");
  recording::Entry owner;
  owner.kind = recording::Kind::kOwner;
  owner.name = kServiceName;
  owner.owner = kService;
  EXPECT_EQ(writer_.Write(owner), "");
}

MadeRecording& MadeRecording::At(std::int64_t t_us) {
  t_us_ = t_us;
  return *this;
}

guint32 MadeRecording::Call(const std::string& client, const std::string& method, GVariant* arguments) {
  GDBusMessage* call = g_dbus_message_new_method_call(kServiceName, "/org/kelvo/tv/litecorvane/server",
                                                      "org.kelvo.tv.litecorvane.server.interface", method.c_str());
  if (arguments != nullptr) g_dbus_message_set_body(call, arguments);
  Add(call, client);
  return serial_;
}

guint32 MadeRecording::CallControl(const std::string& client, const std::string& method, GVariant* arguments) {
  GDBusMessage* call = g_dbus_message_new_method_call("org.kelvo.tv.corvane.server", "/org/kelvo/tv/NuvSimulator",
                                                      "org.kelvo.tv.NuvSimulator1", method.c_str());
  if (arguments != nullptr) g_dbus_message_set_body(call, arguments);
  Add(call, client);
  return serial_;
}

void MadeRecording::Reply(const std::string& client, guint32 serial, GVariant* body) {
  GDBusMessage* reply = g_dbus_message_new();
  g_dbus_message_set_message_type(reply, G_DBUS_MESSAGE_TYPE_METHOD_RETURN);
  g_dbus_message_set_reply_serial(reply, serial);
  g_dbus_message_set_destination(reply, client.c_str());
  if (body != nullptr) g_dbus_message_set_body(reply, body);
  Add(reply, kService);
}

void MadeRecording::Error(const std::string& client, guint32 serial, const std::string& name, const std::string& text,
                          const std::string& sender) {
  GDBusMessage* error = g_dbus_message_new();
  g_dbus_message_set_message_type(error, G_DBUS_MESSAGE_TYPE_ERROR);
  g_dbus_message_set_reply_serial(error, serial);
  g_dbus_message_set_error_name(error, name.c_str());
  g_dbus_message_set_destination(error, client.c_str());
  g_dbus_message_set_body(error, g_variant_new("(s)", text.c_str()));
  Add(error, sender);
}

guint32 MadeRecording::Result(const std::string& object, GVariant* arguments) {
  const std::string suffix = "org.kelvo.tv.corvane.launcherclient.";
  GDBusMessage* call = g_dbus_message_new_method_call((suffix + object).c_str(),
                                                      ("/org/kelvo/tv/corvane/launcherclient/" + object).c_str(),
                                                      (suffix + "interface." + object).c_str(), "app_launch_result");
  g_dbus_message_set_body(call, arguments);
  Add(call, kService);
  return serial_;
}

void MadeRecording::Acknowledge(const std::string& client, guint32 serial) {
  GDBusMessage* reply = g_dbus_message_new();
  g_dbus_message_set_message_type(reply, G_DBUS_MESSAGE_TYPE_METHOD_RETURN);
  g_dbus_message_set_reply_serial(reply, serial);
  g_dbus_message_set_destination(reply, kService);
  Add(reply, client);
}

void MadeRecording::Signal(std::size_t bytes) {
  GDBusMessage* signal =
      g_dbus_message_new_signal("/org/kelvo/tv/NuvSimulator", "org.kelvo.tv.NuvSimulator1", "Request");
  const std::string text(bytes, 'x');
  g_dbus_message_set_body(signal, g_variant_new("(sss)", text.c_str(), "", ""));
  Add(signal, kService);
}

void MadeRecording::Left(const std::string& client) {
  recording::Entry entry;
  entry.t_us = t_us_;
  entry.kind = recording::Kind::kLeft;
  entry.name = client;
  EXPECT_EQ(writer_.Write(entry), "");
}

void MadeRecording::Lost(std::uint64_t count) {
  recording::Entry entry;
  entry.t_us = t_us_;
  entry.kind = recording::Kind::kLost;
  entry.count = count;
  EXPECT_EQ(writer_.Write(entry), "");
}

void MadeRecording::End() {
  EXPECT_EQ(writer_.End(t_us_, "interrupted"), "");
}

void MadeRecording::Add(GDBusMessage* message, const std::string& sender) {
  const recording::MessageOwner owner(message);
  g_dbus_message_set_serial(message, ++serial_);
  g_dbus_message_set_sender(message, sender.c_str());
  gsize size = 0;
  guchar* bytes = g_dbus_message_to_blob(message, &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr);
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(writer_.Write(recording::EntryOf(t_us_, message, {bytes, bytes + size})), "");
  g_free(bytes);
}

GVariant* ResultArguments(int thread_id, const std::string& app, int result, int event, int index, int cb_type) {
  return g_variant_new("(isiiiisi)", thread_id, app.c_str(), result, event, 0, index, "nuv_launch_app", cb_type);
}
