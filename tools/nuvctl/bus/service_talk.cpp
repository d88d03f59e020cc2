#include "bus/service_talk.h"

#include <map>
#include <mutex>

#include "glib_handles.h"

namespace {

// The library sends a heartbeat before most calls; its answer says nothing about the call itself.
constexpr char kHeartbeat[] = "heartbeat";
constexpr char kServiceInterfaceEnd[] = ".server.interface";

// Reads the messages of the connection. Lives to the end of the process, as the connection's thread does.
class ServiceTalk {
 public:
  void Listen();
  std::optional<CallError> last_error();
  std::string last_answerer();
  bool unanswered();
  void Flush();

 private:
  static GDBusMessage* OnMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer talk);
  void Sent(GDBusMessage* message);
  void Received(GDBusMessage* message);

  std::mutex mutex_;
  ConnectionOwner connection_;
  std::map<guint32, std::string> open_calls_;  // method by serial
  std::optional<CallError> last_error_;
  std::string last_answerer_;
};

ServiceTalk& Talk() {
  static auto& talk = *new ServiceTalk;
  return talk;
}

void ServiceTalk::Listen() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (connection_ != nullptr) return;
  }
  ConnectionOwner connection(g_bus_get_sync(G_BUS_TYPE_SYSTEM, nullptr, nullptr));
  if (connection == nullptr) return;
  g_dbus_connection_set_exit_on_close(connection.get(), FALSE);
  g_dbus_connection_add_filter(connection.get(), OnMessage, this, nullptr);
  const std::lock_guard<std::mutex> lock(mutex_);
  connection_ = std::move(connection);
}

std::optional<CallError> ServiceTalk::last_error() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return last_error_;
}

std::string ServiceTalk::last_answerer() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return last_answerer_;
}

bool ServiceTalk::unanswered() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !open_calls_.empty();
}

void ServiceTalk::Flush() {
  GDBusConnection* connection = nullptr;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    connection = connection_.get();
  }
  if (connection != nullptr) g_dbus_connection_flush_sync(connection, nullptr, nullptr);
}

void ServiceTalk::Sent(GDBusMessage* message) {
  if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL) return;
  const char* interface = g_dbus_message_get_interface(message);
  const std::string member = g_dbus_message_get_member(message);
  if (interface == nullptr || g_str_has_suffix(interface, kServiceInterfaceEnd) == FALSE || member == kHeartbeat)
    return;
  const std::lock_guard<std::mutex> lock(mutex_);
  open_calls_[g_dbus_message_get_serial(message)] = member;
  last_error_.reset();
  last_answerer_.clear();
}

void ServiceTalk::Received(GDBusMessage* message) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (open_calls_.erase(g_dbus_message_get_reply_serial(message)) == 0) return;
  const char* sender = g_dbus_message_get_sender(message);
  last_answerer_ = sender != nullptr ? sender : "";
  const char* name = g_dbus_message_get_error_name(message);
  if (g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_ERROR || name == nullptr) return;
  const char* text = g_dbus_message_get_arg0(message);
  last_error_ = CallError{name, text != nullptr ? text : ""};
}

GDBusMessage* ServiceTalk::OnMessage(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer talk) {
  auto* self = static_cast<ServiceTalk*>(talk);
  incoming != FALSE ? self->Received(message) : self->Sent(message);
  return message;
}

}  // namespace

void ListenToServiceTalk() {
  Talk().Listen();
}

std::optional<CallError> LastCallError() {
  return Talk().last_error();
}

std::string LastAnswerer() {
  return Talk().last_answerer();
}

bool CallIsUnanswered() {
  return Talk().unanswered();
}

void FlushServiceTalk() {
  Talk().Flush();
}
