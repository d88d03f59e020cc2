#include "results.h"

namespace simulator {
namespace {

constexpr int kCallTimeoutMs = 5000;
constexpr int kFirstRetryMs = 10;
constexpr int kRetries = 7;  // 10 ms, doubled each time: 1.27 s in all

struct Delivery {
  ObjectPtr<GDBusConnection> connection;
  ResultMessage message;
  const Journal* journal;
  int tries = 0;
};
using DeliveryPtr = std::shared_ptr<Delivery>;

void Try(const DeliveryPtr& delivery);

void Report(const Delivery& delivery, const std::string& outcome) {
  const ResultMessage& m = delivery.message;
  delivery.journal->Result(m.app_id, m.outcome.event, m.outcome.result, m.event_index, outcome);
}

bool ClientMayComeYet(const GError* error) {
  constexpr GDBusError kNotThere[] = {G_DBUS_ERROR_SERVICE_UNKNOWN, G_DBUS_ERROR_NAME_HAS_NO_OWNER,
                                      G_DBUS_ERROR_UNKNOWN_METHOD, G_DBUS_ERROR_UNKNOWN_OBJECT,
                                      G_DBUS_ERROR_UNKNOWN_INTERFACE};
  for (const GDBusError code : kNotThere) {
    if (g_error_matches(error, G_DBUS_ERROR, code)) return true;
  }
  return false;
}

void Answered(GObject* source, GAsyncResult* answer, gpointer data) {
  const std::unique_ptr<DeliveryPtr> holder(static_cast<DeliveryPtr*>(data));
  const DeliveryPtr& delivery = *holder;
  Error error;
  const VariantPtr reply(g_dbus_connection_call_finish(G_DBUS_CONNECTION(source), answer, error.out()));
  if (!error) {
    Report(*delivery, "delivered");
  } else if (ClientMayComeYet(error.get()) && delivery->tries < kRetries) {
    After(kFirstRetryMs << delivery->tries++, [again = delivery] { Try(again); });
  } else if (g_error_matches(error.get(), G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY)) {
    Report(*delivery, "delivered, but the client left without an answer");
  } else {
    Report(*delivery, "lost: " + error.message());
  }
}

void Try(const DeliveryPtr& delivery) {
  const ResultMessage& m = delivery->message;
  const std::string name = "org.kelvo.tv.corvane.launcherclient." + m.object_name;
  const std::string path = "/org/kelvo/tv/corvane/launcherclient/" + m.object_name;
  const std::string interface = "org.kelvo.tv.corvane.launcherclient.interface." + m.object_name;
  if (!g_dbus_is_name(name.c_str()) || !g_variant_is_object_path(path.c_str()) ||
      !g_dbus_is_interface_name(interface.c_str())) {
    Report(*delivery, "lost: \"" + m.object_name + "\" names no client object");
    return;
  }
  GVariant* arguments = g_variant_new("(isiiiisi)", m.thread_id, m.app_id.c_str(), m.outcome.result, m.outcome.event,
                                      m.data, m.event_index, m.method_call.c_str(), m.cb_type);
  g_dbus_connection_call(delivery->connection.get(), name.c_str(), path.c_str(), interface.c_str(), "app_launch_result",
                         arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, kCallTimeoutMs, nullptr, Answered,
                         new DeliveryPtr(delivery));
}

}  // namespace

ResultMessage MakeResult(const LaunchRequest& request, LaunchResult outcome) {
  ResultMessage message;
  message.object_name = request.object_name;
  message.thread_id = request.thread_id;
  message.app_id = request.app_id;
  message.outcome = outcome;
  message.event_index = request.event_index;
  message.method_call = request.method_call;
  message.cb_type = request.cb_type;
  return message;
}

ResultMessage UnpackResult(GVariant* arguments) {
  ResultMessage message;
  const char* app_id = nullptr;
  const char* method_call = nullptr;
  g_variant_get(arguments, "(i&siiii&si)", &message.thread_id, &app_id, &message.outcome.result, &message.outcome.event,
                &message.data, &message.event_index, &method_call, &message.cb_type);
  message.app_id = app_id;
  message.method_call = method_call;
  return message;
}

void SendResult(GDBusConnection* connection, const ResultMessage& message, const Journal& journal) {
  auto delivery = std::make_shared<Delivery>();
  delivery->connection = ShareObject(connection);
  delivery->message = message;
  delivery->journal = &journal;
  Try(delivery);
}

}  // namespace simulator
