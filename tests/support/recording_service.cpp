#include "recording_service.h"

#include <stdexcept>

namespace {

std::shared_ptr<GVariant> Owned(GVariant* value) {
  return value == nullptr ? nullptr : std::shared_ptr<GVariant>(g_variant_take_ref(value), g_variant_unref);
}

void RequestName(GDBusConnection* connection, const std::string& name) {
  GVariant* reply = g_dbus_connection_call_sync(
      connection, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus", "RequestName",
      g_variant_new("(su)", name.c_str(), 4u), G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
  guint32 answer = 0;
  if (reply != nullptr) {
    g_variant_get(reply, "(u)", &answer);
    g_variant_unref(reply);
  }
  if (answer != 1) throw std::runtime_error("cannot own " + name);
}

GVariant* ResultArguments(const LaunchRequest& launch, const SentResult& result) {
  return g_variant_new("(isiiiisi)", launch.thread_id + result.thread_offset, launch.texts.at(0).c_str(), result.res,
                       result.event_type, 0, launch.event + result.event_offset, launch.method_call.c_str(),
                       result.cb_type);
}

std::string Text(GVariant* tuple, size_t index) {
  GVariant* child = g_variant_get_child_value(tuple, index);
  std::string text = g_variant_get_string(child, nullptr);
  g_variant_unref(child);
  return text;
}

int32_t Number(GVariant* tuple, size_t index) {
  GVariant* child = g_variant_get_child_value(tuple, index);
  const int32_t number = g_variant_get_int32(child);
  g_variant_unref(child);
  return number;
}

}  // namespace

std::string RecordedCall::Signature() const {
  return body == nullptr ? "" : g_variant_get_type_string(body.get());
}

std::string RecordedCall::Text() const {
  if (body == nullptr) return "";
  char* text = g_variant_print(body.get(), FALSE);
  std::string result = text;
  g_free(text);
  return result;
}

LaunchRequest UnpackLaunch(const RecordedCall& call) {
  GVariant* tuple = call.body.get();
  LaunchRequest request;
  request.object_name = Text(tuple, 0);
  request.thread_id = Number(tuple, 1);
  for (size_t i = 2; i <= 8; ++i) request.texts.push_back(Text(tuple, i));
  request.event = Number(tuple, 9);
  request.method_call = Text(tuple, 10);
  for (size_t i = 11; i <= 21; ++i) request.flags.push_back(Number(tuple, i));
  GVariant* blocks = g_variant_get_child_value(tuple, 22);
  for (size_t i = 0; i < g_variant_n_children(blocks); ++i) {
    GVariant* block = g_variant_get_child_value(blocks, i);
    request.extra_datas.emplace_back(static_cast<const char*>(g_variant_get_data(block)), g_variant_get_size(block));
    g_variant_unref(block);
  }
  g_variant_unref(blocks);
  return request;
}

RecordingService::RecordingService(const std::string& address, std::vector<std::string> servers)
    : owned_(address), connection_(owned_.get()) {
  if (connection_ == nullptr) throw std::runtime_error("no bus at " + address);
  g_dbus_connection_add_filter(connection_, Filter, this, nullptr);
  for (const std::string& server : servers) RequestName(connection_, "org.kelvo.tv." + server + ".server");
}

RecordingService::~RecordingService() = default;

void RecordingService::AnswerTo(const std::string& method, Answer answer) {
  const std::lock_guard<std::mutex> lock(mutex_);
  answers_[method] = std::move(answer);
}

void RecordingService::FallSilent() {
  const std::lock_guard<std::mutex> lock(mutex_);
  silent_ = true;
}

void RecordingService::Before(const std::string& method, std::function<void(const RecordedCall&)> hook) {
  const std::lock_guard<std::mutex> lock(mutex_);
  before_[method] = std::move(hook);
}

void RecordingService::OnCall(std::function<void(const RecordedCall&)> hook) {
  const std::lock_guard<std::mutex> lock(mutex_);
  on_call_ = std::move(hook);
}

void RecordingService::OnAnswered(std::function<void(const RecordedCall&)> hook) {
  const std::lock_guard<std::mutex> lock(mutex_);
  on_answered_ = std::move(hook);
}

std::vector<RecordedCall> RecordingService::Calls() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return calls_;
}

std::vector<RecordedCall> RecordingService::CallsOf(const std::string& method) const {
  std::vector<RecordedCall> result;
  for (const RecordedCall& call : Calls()) {
    if (call.method == method) result.push_back(call);
  }
  return result;
}

std::vector<LaunchRequest> RecordingService::Launches() const {
  std::vector<LaunchRequest> result;
  for (const RecordedCall& call : CallsOf("launch_app")) result.push_back(UnpackLaunch(call));
  return result;
}

void RecordingService::Forget() {
  const std::lock_guard<std::mutex> lock(mutex_);
  calls_.clear();
}

bool RecordingService::SendResult(const LaunchRequest& launch, const SentResult& result, int timeout_ms) const {
  GError* error = nullptr;
  const auto reply =
      CallClient(launch.object_name, "app_launch_result", ResultArguments(launch, result), timeout_ms, &error);
  g_clear_error(&error);
  return reply != nullptr && g_variant_is_of_type(reply.get(), G_VARIANT_TYPE_UNIT);
}

std::shared_ptr<GVariant> RecordingService::CallClient(const std::string& object_name, const char* method,
                                                       GVariant* arguments, int timeout_ms, GError** error) const {
  const std::string name = "org.kelvo.tv.corvane.launcherclient." + object_name;
  const std::string path = "/org/kelvo/tv/corvane/launcherclient/" + object_name;
  const std::string interface = "org.kelvo.tv.corvane.launcherclient.interface." + object_name;
  return Owned(g_dbus_connection_call_sync(connection_, name.c_str(), path.c_str(), interface.c_str(), method,
                                           arguments, nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, timeout_ms, nullptr,
                                           error));
}

void RecordingService::SendToClient(const LaunchRequest& launch, const SentResult& result) const {
  const std::string name = "org.kelvo.tv.corvane.launcherclient." + launch.object_name;
  const std::string path = "/org/kelvo/tv/corvane/launcherclient/" + launch.object_name;
  const std::string interface = "org.kelvo.tv.corvane.launcherclient.interface." + launch.object_name;
  g_dbus_connection_call(connection_, name.c_str(), path.c_str(), interface.c_str(), "app_launch_result",
                         ResultArguments(launch, result), nullptr, G_DBUS_CALL_FLAGS_NO_AUTO_START, 5000, nullptr,
                         nullptr, nullptr);
}

bool RecordingService::IsForTheService(GDBusMessage* message) const {
  const char* interface = g_dbus_message_get_interface(message);
  if (interface == nullptr) return false;
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::string(interface).rfind("org.kelvo.tv.", 0) == 0 ||
         answers_.count(g_dbus_message_get_member(message)) != 0;
}

GDBusMessage* RecordingService::Filter(GDBusConnection*, GDBusMessage* message, gboolean incoming, gpointer self) {
  auto* service = static_cast<RecordingService*>(self);
  if (!incoming || g_dbus_message_get_message_type(message) != G_DBUS_MESSAGE_TYPE_METHOD_CALL ||
      !service->IsForTheService(message)) {
    return message;
  }
  service->Handle(message);
  g_object_unref(message);
  return nullptr;
}

void RecordingService::Handle(GDBusMessage* message) {
  RecordedCall call;
  call.method = g_dbus_message_get_member(message);
  call.destination = g_dbus_message_get_destination(message);
  call.path = g_dbus_message_get_path(message);
  call.interface = g_dbus_message_get_interface(message);
  call.sender = g_dbus_message_get_sender(message);
  call.no_auto_start = (g_dbus_message_get_flags(message) & G_DBUS_MESSAGE_FLAGS_NO_AUTO_START) != 0;
  if (GVariant* body = g_dbus_message_get_body(message)) call.body = Owned(g_variant_ref(body));
  Answer answer;
  std::function<void(const RecordedCall&)> on_call;
  std::function<void(const RecordedCall&)> before;
  std::function<void(const RecordedCall&)> on_answered;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    calls_.push_back(call);
    const auto found = answers_.find(call.method);
    if (found != answers_.end()) answer = found->second;
    if (silent_) answer.kind = Answer::kSilence;
    on_call = on_call_;
    on_answered = on_answered_;
    const auto hook = before_.find(call.method);
    if (hook != before_.end()) before = hook->second;
  }
  if (on_call) on_call(call);
  if (before) before(call);
  Reply(message, answer);
  if (on_answered) on_answered(call);
}

void RecordingService::Reply(GDBusMessage* message, const Answer& answer) const {
  if (answer.kind == Answer::kSilence) return;
  GDBusMessage* reply = nullptr;
  if (answer.kind == Answer::kError) {
    reply = g_dbus_message_new_method_error_literal(message, answer.error_name.c_str(), answer.text.c_str());
  } else {
    reply = g_dbus_message_new_method_reply(message);
    GVariant* body = g_variant_parse(nullptr, answer.text.c_str(), nullptr, nullptr, nullptr);
    g_dbus_message_set_body(reply, body);
    g_variant_unref(body);
  }
  g_dbus_connection_send_message(connection_, reply, G_DBUS_SEND_MESSAGE_FLAGS_NONE, nullptr, nullptr);
  g_object_unref(reply);
}
