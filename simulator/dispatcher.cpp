#include "dispatcher.h"

#include <unistd.h>

#include <algorithm>

#include "raw_reply.h"

namespace simulator {
namespace {

constexpr int kScriptedExit = 70;

std::string TextArgument(GVariant* arguments, int position) {
  return position < 0 ? "" : TextOf(arguments, static_cast<gsize>(position));
}

// Ends the process at once, but not before what was sent has left it.
[[noreturn]] void Die(GDBusConnection* connection, ScenarioFile& scenario) {
  scenario.End();
  g_dbus_connection_flush_sync(connection, nullptr, nullptr);
  _exit(kScriptedExit);
}

// The sum, wrapped like the 32-bit numbers that travel.
int Shift(int number, int offset) {
  return static_cast<int>(static_cast<unsigned>(number) + static_cast<unsigned>(offset));
}

void SendRawReply(GDBusMethodInvocation* invocation, GVariant* body) {
  const ObjectPtr<GDBusMessage> reply(
      g_dbus_message_new_method_reply(g_dbus_method_invocation_get_message(invocation)));
  g_dbus_message_set_body(reply.get(), body);
  SendRaw(invocation, reply.get());
}

// The message may be a text of the database, which anybody has written.
void ReturnError(GDBusMethodInvocation* invocation, const char* name, const std::string& message) {
  const StringPtr valid(g_utf8_make_valid(message.c_str(), -1));
  g_dbus_method_invocation_return_dbus_error(invocation, name, valid.get());
}

void ReturnNoSuchQuestion(GDBusMethodInvocation* invocation) {
  g_dbus_method_invocation_return_dbus_error(invocation, "org.kelvo.tv.NuvSimulator1.Error.NoSuchQuestion",
                                             "No dialog asks that question, or it was answered before");
}

ProgramInput UnpackPlainRequest(GVariant* arguments) {
  ProgramInput input;
  input.app_id = TextOf(arguments, 0);
  input.operation = TextOf(arguments, 1);
  input.uri = TextOf(arguments, 2);
  input.extra_data = UnpackPairs(ChildOf(arguments, 3).get());
  return input;
}

}  // namespace

// A call under way. Returning from the invocation, or dropping it, uses up the reference that it came with.
struct Dispatcher::Call {
  const ServiceMethod* method;
  GDBusMethodInvocation* invocation;
  VariantPtr arguments;
  ObjectPtr<GDBusConnection> connection;
  std::string app_id;
  Rule rule;

  bool IsLaunch() const { return method->name == std::string(kLaunchMethod); }
};

void Dispatcher::OnServiceCall(GDBusMethodInvocation* invocation) {
  const ServiceMethod* method = FindServiceMethod(g_dbus_method_invocation_get_method_name(invocation));
  if (method == nullptr) {
    g_dbus_method_invocation_return_dbus_error(invocation, "org.freedesktop.DBus.Error.UnknownMethod",
                                               "The interface lists it, the service does not have it");
    return;
  }
  GVariant* arguments = g_dbus_method_invocation_get_parameters(invocation);
  auto call = std::make_shared<Call>();
  call->method = method;
  call->invocation = invocation;
  call->arguments.reset(g_variant_ref(arguments));
  call->connection = ShareObject(g_dbus_method_invocation_get_connection(invocation));
  call->app_id = TextArgument(arguments, method->app_argument);
  journal_.Request(method->name, call->app_id, TextArgument(arguments, method->caller_argument));
  call->rule = scenario_.Match(method->name, call->app_id);
  if (!call->rule.place.empty()) {
    journal_.Note("rule    " + call->rule.place + " matches " + method->name + " app=\"" + call->app_id + "\"");
  }

  const int delay = std::max(call->rule.delay_ms, SendEarlyResults(*call));
  if (delay == 0) {
    AnswerCall(*call);
  } else {
    After(delay, [this, call] { AnswerCall(*call); });
  }
}

int Dispatcher::SendEarlyResults(const Call& call) const {
  int delay = 0;
  if (!call.IsLaunch() || !call.rule.results) return delay;
  for (const ScriptedResult& scripted : *call.rule.results) {
    if (!scripted.before_reply) continue;
    SendLater(call, scripted);
    delay = std::max(delay, scripted.delay_ms);
  }
  return delay;
}

void Dispatcher::AnswerCall(const Call& call) {
  switch (call.rule.answer) {
    case Answer::kExit:
      Die(call.connection.get(), scenario_);
    case Answer::kNone:
      journal_.Reply(call.method->name, call.app_id, "none");
      g_object_unref(call.invocation);
      break;
    case Answer::kError:
      journal_.Reply(call.method->name, call.app_id, "error " + call.rule.error_name);
      g_dbus_method_invocation_return_dbus_error(call.invocation, call.rule.error_name.c_str(),
                                                 call.rule.error_message.c_str());
      break;
    case Answer::kNormal:
    case Answer::kExitAfterReply:
      Reply(call);
      break;
  }
  if (call.rule.answer == Answer::kExitAfterReply) Die(call.connection.get(), scenario_);
  if (call.IsLaunch()) Launch(call);
}

void Dispatcher::Reply(const Call& call) {
  VariantPtr reply;
  try {
    reply = MakeReply(call);
  } catch (const std::exception& error) {
    Warn(std::string(call.method->name) + ": " + error.what());
    ReturnError(call.invocation, "org.freedesktop.DBus.Error.Failed", error.what());
    return;
  }
  if (call.rule.reply.empty()) {
    g_dbus_method_invocation_return_value(call.invocation, reply.get());
  } else {
    SendRawReply(call.invocation, reply.get());
  }
  journal_.Reply(call.method->name, call.app_id, "reply");
}

VariantPtr Dispatcher::MakeReply(const Call& call) {
  GVariant* made = call.method->run(service_, call.arguments.get());
  VariantPtr real(made == nullptr ? nullptr : g_variant_ref_sink(made));
  if (call.rule.reply.empty()) return real;
  std::string never;  // the text was parsed when the scenario was read
  return ParseReply(call.rule.reply, &never);
}

void Dispatcher::Launch(const Call& call) {
  const LaunchRequest request = UnpackLaunchRequest(call.arguments.get());
  const bool scripted = call.rule.results.has_value();
  if (call.rule.TakesEffect()) {
    // The connection may be closed by the time of the report; the result is then lost with it.
    const std::shared_ptr<GDBusConnection> connection = ShareObject(call.connection.get());
    service_.launcher.Launch(request, [this, request, scripted, connection](LaunchResult outcome) {
      if (!scripted) SendResult(connection.get(), MakeResult(request, outcome), journal_);
    });
  }
  if (!scripted) return;
  for (const ScriptedResult& result : *call.rule.results) {
    if (!result.before_reply) SendLater(call, result);
  }
}

void Dispatcher::SendLater(const Call& call, const ScriptedResult& scripted) const {
  ResultMessage message = MakeResult(UnpackLaunchRequest(call.arguments.get()), {scripted.event, scripted.result});
  message.thread_id = Shift(message.thread_id, scripted.thread_id_offset);
  message.event_index = Shift(message.event_index, scripted.event_index_offset);
  message.cb_type = scripted.cb_type.value_or(message.cb_type);
  const std::shared_ptr<GDBusConnection> connection = ShareObject(call.connection.get());
  const auto send = [this, message, connection, times = scripted.times] {
    for (int i = 0; i < times; ++i) SendResult(connection.get(), message, journal_);
  };
  if (scripted.delay_ms == 0) {
    send();
  } else {
    After(scripted.delay_ms, send);
  }
}

void Dispatcher::OnLaunchRequest(GDBusMethodInvocation* invocation) {
  const ProgramInput input = UnpackPlainRequest(g_dbus_method_invocation_get_parameters(invocation));
  journal_.Request("LaunchRequest", input.app_id, "");
  const std::shared_ptr<GDBusConnection> connection = ShareObject(g_dbus_method_invocation_get_connection(invocation));
  const auto report = [this, connection](const LaunchRequest& request, LaunchResult outcome) {
    SendResult(connection.get(), MakeResult(request, outcome), journal_);
  };
  pid_t pid = 0;
  std::string reason = "cannot be launched";
  try {
    pid = service_.launcher.LaunchPlain(input, report);
  } catch (const std::exception& error) {
    reason = error.what();
  }
  if (pid != 0) {
    g_dbus_method_invocation_return_value(invocation, g_variant_new("(i)", pid));
  } else {
    ReturnError(invocation, "org.kelvo.tv.NuvSimulator1.Error.NotLaunched", input.app_id + ": " + reason);
  }
}

void Dispatcher::OnRunningApps(GDBusMethodInvocation* invocation) {
  GVariantBuilder apps;
  g_variant_builder_init(&apps, G_VARIANT_TYPE("a(sii)"));
  for (const Applications::App& app : service_.applications.All()) {
    g_variant_builder_add(&apps, "(sii)", app.id.c_str(), app.pid, static_cast<int>(app.status));
  }
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(a(sii))", &apps));
}

void Dispatcher::OnStandIns(GDBusMethodInvocation* invocation) {
  GVariantBuilder apps;
  g_variant_builder_init(&apps, G_VARIANT_TYPE("as"));
  for (const Applications::App& app : service_.applications.All()) {
    if (app.stand_in) g_variant_builder_add(&apps, "s", app.id.c_str());
  }
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &apps));
}

void Dispatcher::OnPayloads(GDBusMethodInvocation* invocation) {
  GVariantBuilder payloads;
  g_variant_builder_init(&payloads, G_VARIANT_TYPE("a{is}"));
  for (const Applications::App& app : service_.applications.All()) {
    g_variant_builder_add(&payloads, "{is}", app.pid, app.payload.c_str());
  }
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(a{is})", &payloads));
}

// A path in it need not be UTF-8, which a text on the bus has to be.
void Dispatcher::OnPinSources(GDBusMethodInvocation* invocation) {
  GVariantBuilder sources;
  g_variant_builder_init(&sources, G_VARIANT_TYPE("as"));
  try {
    for (const std::string& source : service_.pin_gate.SourceList()) {
      const StringPtr valid(g_utf8_make_valid(source.c_str(), -1));
      g_variant_builder_add(&sources, "s", valid.get());
    }
  } catch (const DatabaseError& error) {
    g_variant_builder_clear(&sources);
    return ReturnError(invocation, "org.kelvo.tv.NuvSimulator1.Error.Database", error.what());
  }
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(as)", &sources));
}

Dispatcher::~Dispatcher() {
  for (const auto& [name, watch] : askers_) g_bus_unwatch_name(watch);
}

// Who has left the bus asks nobody any more.
void Dispatcher::OnAskForPins(GDBusMethodInvocation* invocation, bool ask) {
  const std::string name = g_dbus_method_invocation_get_sender(invocation);
  if (!ask) {
    ForgetAsker(name);
  } else if (askers_.count(name) == 0) {
    askers_[name] = g_bus_watch_name_on_connection(g_dbus_method_invocation_get_connection(invocation), name.c_str(),
                                                   G_BUS_NAME_WATCHER_FLAGS_NONE, nullptr, OnAskerGone, this, nullptr);
    service_.pin_gate.SetAskers(askers_.size());
  }
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void Dispatcher::OnAskerGone(GDBusConnection*, const char* name, gpointer self) {
  static_cast<Dispatcher*>(self)->ForgetAsker(name);
}

void Dispatcher::ForgetAsker(const std::string& name) {
  const auto asker = askers_.find(name);
  if (asker == askers_.end()) return;
  g_bus_unwatch_name(asker->second);
  askers_.erase(asker);
  service_.pin_gate.SetAskers(askers_.size());
}

void Dispatcher::OnSetRules(GDBusMethodInvocation* invocation, const char* rules) {
  try {
    scenario_.Give(rules);
  } catch (const JsonError& error) {
    return ReturnError(invocation, "org.kelvo.tv.NuvSimulator1.Error.NoRules", error.what());
  }
  journal_.Note("rules   given over the bus");
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

void Dispatcher::OnEnterPin(GDBusMethodInvocation* invocation, guint question, const char* pin) {
  const std::optional<bool> right = service_.pin_gate.Enter(question, pin);
  if (!right) return ReturnNoSuchQuestion(invocation);
  g_dbus_method_invocation_return_value(invocation, g_variant_new("(b)", *right ? TRUE : FALSE));
}

void Dispatcher::OnCancelPin(GDBusMethodInvocation* invocation, guint question) {
  if (!service_.pin_gate.Cancel(question)) return ReturnNoSuchQuestion(invocation);
  g_dbus_method_invocation_return_value(invocation, nullptr);
}

}  // namespace simulator
