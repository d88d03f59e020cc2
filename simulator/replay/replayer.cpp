#include "replay/replayer.h"

#include <glib-unix.h>
#include <signal.h>

#include <cmath>
#include <cstdio>
#include <utility>

#include "launch_request.h"
#include "raw_reply.h"
#include "recording/message.h"
#include "results.h"
#include "service_methods.h"

namespace simulator {
namespace {

constexpr const char* kProbe = "heartbeat";
constexpr const char* kNotInRecording = "org.kelvo.tv.NuvSimulator1.Error.NotInRecording";

// The number as the live client knows it: as far from its own as the recorded service's was from the recorded client's.
int Moved(int recorded, int recorded_client, int client) {
  return static_cast<int>(static_cast<unsigned>(recorded) - static_cast<unsigned>(recorded_client) +
                          static_cast<unsigned>(client));
}

std::string AppIn(const std::string& method, GVariant* arguments) {
  const ServiceMethod* known = FindServiceMethod(method);
  if (known == nullptr || known->app_argument < 0) return "";
  return TextOf(arguments, static_cast<gsize>(known->app_argument));
}

std::string CallerIn(const std::string& method, GVariant* arguments) {
  const ServiceMethod* known = FindServiceMethod(method);
  if (known == nullptr || known->caller_argument < 0) return "";
  return TextOf(arguments, static_cast<gsize>(known->caller_argument));
}

void PrintCounts(const char* what, const std::map<std::string, std::size_t>& counts) {
  std::size_t all = 0;
  std::string methods;
  for (const auto& [method, count] : counts) {
    all += count;
    methods.append(methods.empty() ? ": " : ", ").append(method).append(" ").append(std::to_string(count));
  }
  std::printf("%-9s %zu%s\n", what, all, methods.c_str());
}

}  // namespace

// An exchange on its way. The invocation is used up with the answer.
struct Replayer::Playback {
  std::shared_ptr<const RecordedExchange> exchange;
  std::size_t next = 0;
  gint64 begin_us = 0;
  ObjectPtr<GDBusMethodInvocation> invocation;
  ObjectPtr<GDBusConnection> connection;
  ResultAddress address;
  std::string app_id;
};

Replayer::Replayer(const Options& options, const Journal& journal)
    : options_(options), journal_(journal), recorded_(options.replay), calls_(recorded_.count()) {
  for (const std::string& warning : recorded_.warnings()) Warn(warning);
}

CallHandler& Replayer::Prepare() {
  const auto tell = +[](gpointer self) -> gboolean {
    static_cast<Replayer*>(self)->TellUse();
    return G_SOURCE_CONTINUE;
  };
  asked_ = g_unix_signal_add(SIGUSR1, tell, this);
  return *this;
}

Replayer::~Replayer() {
  if (asked_ != 0) g_source_remove(asked_);
}

void Replayer::ShutDown() {
  if (asked_ != 0) TellUse();
}

BusLink::About Replayer::About() const {
  return {options_.directory, false};
}

std::string Replayer::Describe() const {
  char speed[32];
  std::snprintf(speed, sizeof speed, "%g times as fast", options_.speed);
  const std::string pace = options_.speed == 0 ? "without delays" : options_.speed == 1 ? "as fast as recorded" : speed;
  return "from " + options_.replay + ": " + std::to_string(calls_) +
         (calls_ == 1 ? " recorded call" : " recorded calls") + ", " + pace;
}

void Replayer::Answer(GDBusMethodInvocation* invocation) {
  ObjectPtr<GDBusMethodInvocation> owner(invocation);
  const std::string method = g_dbus_method_invocation_get_method_name(invocation);
  GVariant* arguments = g_dbus_method_invocation_get_parameters(invocation);
  auto playback = std::make_shared<Playback>();
  playback->app_id = AppIn(method, arguments);
  journal_.Request(method, playback->app_id, CallerIn(method, arguments));
  const std::string key = KeyOf(method, arguments);
  playback->exchange = recorded_.Take(key);
  if (playback->exchange == nullptr) return Refuse(owner.release(), method, key);
  ++matched_[method];
  playback->begin_us = g_get_monotonic_time();
  playback->connection = ShareObject(g_dbus_method_invocation_get_connection(invocation));
  playback->invocation = std::move(owner);
  playback->address = AddressIn(method, arguments).value_or(ResultAddress());
  Continue(playback);
}

// How often a client probes the service is up to its own course of time.
void Replayer::Refuse(GDBusMethodInvocation* invocation, const std::string& method, const std::string& key) {
  if (method == kProbe) return g_dbus_method_invocation_return_value(invocation, nullptr);
  ++unmatched_[method];
  const std::string call = CallInWords(method, g_dbus_method_invocation_get_parameters(invocation));
  const std::string why =
      (recorded_.Knows(key) ? "no more such calls in the recording: " : "not in the recording: ") + call;
  Warn(why);
  journal_.Reply(method, "", std::string("error ") + kNotInRecording);
  g_dbus_method_invocation_return_dbus_error(invocation, kNotInRecording, why.c_str());
}

// One after the other, so that the order is the recorded one whatever the timers do.
void Replayer::Continue(const std::shared_ptr<Playback>& playback) const {
  const auto& acts = playback->exchange->acts;
  for (; playback->next < acts.size(); ++playback->next) {
    const RecordedAct& act = acts[playback->next];
    const double due_us = options_.speed == 0 ? 0 : static_cast<double>(act.delay_us) / options_.speed;
    const double left_us = due_us - static_cast<double>(g_get_monotonic_time() - playback->begin_us);
    if (left_us > 0) {
      constexpr double kLongestMs = 86400000;  // a day; then it looks again
      After(static_cast<int>(std::min(std::ceil(left_us / 1000), kLongestMs)),
            [this, playback] { Continue(playback); });
      return;
    }
    Act(*playback, act);
  }
  if (playback->invocation != nullptr) journal_.Reply(playback->exchange->method, playback->app_id, "none");
  playback->invocation.reset();
}

void Replayer::Act(Playback& playback, const RecordedAct& act) const {
  if (act.reached_nobody) return;
  const recording::MessageOwner message = recording::MessageOf(act.message);
  if (g_dbus_message_get_message_type(message.get()) == G_DBUS_MESSAGE_TYPE_METHOD_CALL) {
    SendResult(playback, message.get());
  } else {
    SendAnswer(playback, message.get());
  }
}

void Replayer::SendAnswer(Playback& playback, GDBusMessage* recorded) const {
  GDBusMessage* call = g_dbus_method_invocation_get_message(playback.invocation.get());
  const char* error = g_dbus_message_get_error_name(recorded);
  const ObjectPtr<GDBusMessage> answer(error == nullptr ? g_dbus_message_new_method_reply(call)
                                                        : g_dbus_message_new_method_error_literal(call, error, ""));
  g_dbus_message_set_body(answer.get(), g_dbus_message_get_body(recorded));
  SendRaw(playback.invocation.release(), answer.get());
  journal_.Reply(playback.exchange->method, playback.app_id,
                 error == nullptr ? "reply" : std::string("error ") + error);
}

void Replayer::SendResult(const Playback& playback, GDBusMessage* recorded) const {
  const ResultAddress& then = playback.exchange->address;
  ResultMessage message = UnpackResult(g_dbus_message_get_body(recorded));
  message.object_name = playback.address.object_name;
  message.thread_id = Moved(message.thread_id, then.thread_id, playback.address.thread_id);
  message.event_index = Moved(message.event_index, then.event_index, playback.address.event_index);
  simulator::SendResult(playback.connection.get(), message, journal_);
}

void Replayer::TellUse() const {
  PrintCounts("matched", matched_);
  PrintCounts("unmatched", unmatched_);
  PrintCounts("unused", recorded_.Unused());
  std::fflush(stdout);
}

}  // namespace simulator
