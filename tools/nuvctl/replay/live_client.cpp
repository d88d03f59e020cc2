#include "replay/live_client.h"

#include <algorithm>
#include <utility>

#include "recording/roles.h"
#include "service/heartbeat.h"

namespace {

constexpr char kClientNames[] = "org.kelvo.tv.corvane.launcherclient.";
constexpr int kBusLimitMs = 10000;
constexpr std::chrono::milliseconds kLook(200);

constexpr guint kAllowReplacement = 1;
constexpr guint kReplace = 2;
constexpr guint kDoNotQueue = 4;
constexpr guint kExists = 3;

}  // namespace

void Bell::Ring() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++rings_;
  }
  rung_.notify_all();
}

void Bell::RingForTheEnd() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ended_ = true;
  }
  rung_.notify_all();
}

bool Bell::Ended() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return ended_;
}

bool Bell::WaitUntil(Clock::time_point limit, const std::function<bool()>& condition) {
  for (;;) {
    unsigned heard = 0;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (ended_) return false;
      heard = rings_;
    }
    if (condition()) return true;
    if (Clock::now() >= limit) return false;
    std::unique_lock<std::mutex> lock(mutex_);
    rung_.wait_until(lock, std::min(limit, Clock::now() + kLook), [&] { return ended_ || rings_ != heard; });
  }
}

LiveClient::LiveClient(ConnectionOwner connection, GlibOwner<GMainContext> context, std::shared_ptr<Bell> bell)
    : context_(std::move(context)), connection_(std::move(connection)), inbox_(std::make_shared<Inbox>()) {
  inbox_->bell = std::move(bell);
  using Shared = std::shared_ptr<Inbox>;
  filter_ = g_dbus_connection_add_filter(connection_.get(), Filter, new Shared(inbox_),
                                         [](gpointer inbox) { delete static_cast<Shared*>(inbox); });
}

LiveClient::~LiveClient() {
  g_dbus_connection_remove_filter(connection_.get(), filter_);
  g_dbus_connection_close_sync(connection_.get(), nullptr, nullptr);
  // What tells of the end holds the connection and its descriptors until it was heard.
  while (g_main_context_iteration(context_.get(), FALSE) != FALSE) {
  }
}

// On the connection's own thread. A result is acknowledged here: no object of GLib's has to know its type.
GDBusMessage* LiveClient::Filter(GDBusConnection* connection, GDBusMessage* message, gboolean incoming, gpointer data) {
  if (incoming == FALSE || g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_SIGNAL) return message;
  Inbox& inbox = **static_cast<std::shared_ptr<Inbox>*>(data);
  const bool result = !recording::ObjectOfResult(message).empty();
  if (result) {
    const recording::MessageOwner answer(g_dbus_message_new_method_reply(message));
    g_dbus_connection_send_message(connection, answer.get(), G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  }
  {
    const std::lock_guard<std::mutex> lock(inbox.mutex);
    inbox.messages.emplace_back(static_cast<GDBusMessage*>(g_object_ref(message)));
  }
  inbox.bell->Ring();
  if (!result) return message;
  g_object_unref(message);
  return nullptr;
}

guint32 LiveClient::Send(GDBusMessage* call) {
  guint32 serial = 0;
  const bool sent = g_dbus_connection_send_message(connection_.get(), call, G_DBUS_SEND_MESSAGE_FLAGS_NONE, &serial,
                                                   nullptr) != FALSE;
  return sent ? serial : 0;
}

bool LiveClient::Own(const std::string& object_name, bool from_another_client) {
  const guint flags = kAllowReplacement | kDoNotQueue | (from_another_client ? kReplace : 0);
  const VariantOwner reply(g_dbus_connection_call_sync(
      connection_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", (kClientNames + object_name).c_str(), flags), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE,
      kBusLimitMs, nullptr, nullptr));
  if (reply == nullptr) return false;
  guint answer = kExists;
  g_variant_get(reply.get(), "(u)", &answer);
  return answer != kExists;
}

bool LiveClient::Settle(unsigned limit_ms) {
  return SendHeartbeat(connection_.get(), limit_ms, nullptr).microseconds.has_value();
}

recording::MessageOwner LiveClient::Take() {
  const std::lock_guard<std::mutex> lock(inbox_->mutex);
  if (inbox_->messages.empty()) return nullptr;
  recording::MessageOwner message = std::move(inbox_->messages.front());
  inbox_->messages.pop_front();
  return message;
}
