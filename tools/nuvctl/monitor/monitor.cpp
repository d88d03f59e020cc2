#include "monitor/monitor.h"

#include <poll.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "bus/bus_daemon.h"
#include "bus/system_bus.h"
#include "recording/roles.h"

namespace {

using Clock = std::chrono::steady_clock;
using recording::Entry;
using recording::Kind;
using recording::kServiceNames;
using recording::TextOf;

constexpr unsigned kAskLimitMs = 3000;
constexpr unsigned kConnectLimitMs = 3000;
constexpr unsigned kRetryMs = 100;

constexpr unsigned kDrainLimitMs = 1000;

// A signal that the rules below let through.
constexpr char kMarkerPath[] = "/org/kelvo/tv/corvane/launcherclient/nuvctl";
constexpr char kMarkerInterface[] = "org.kelvo.tv.nuvctl.Marker";
constexpr char kMarker[] = "Reached";

// What the bus shows. Its own errors stand in for replies of a service that is gone.
constexpr std::array<const char*, 8> kRules = {
    "sender='org.kelvo.tv.litecorvane.server'",
    "destination='org.kelvo.tv.litecorvane.server'",
    "sender='org.kelvo.tv.corvane.server'",
    "destination='org.kelvo.tv.corvane.server'",
    "path_namespace='/org/kelvo/tv/corvane/launcherclient'",
    "path_namespace='/org/kelvo/tv/corvane/innerdbclient'",
    "type='error',sender='org.freedesktop.DBus'",
    "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged'",
};

GVariant* Rules() {
  GVariantBuilder rules;
  g_variant_builder_init(&rules, G_VARIANT_TYPE("as"));
  for (const char* rule : kRules) g_variant_builder_add(&rules, "s", rule);
  return g_variant_new("(asu)", &rules, 0);
}

bool IsUnique(const std::string& name) {
  return !name.empty() && name.front() == ':';
}

// Another user's program tells its short name only.
std::string ProgramOf(std::int64_t pid) {
  const std::string process = "/proc/" + std::to_string(pid);
  std::error_code unreadable;
  const auto path = std::filesystem::read_symlink(process + "/exe", unreadable);
  if (!unreadable) return path.filename();
  std::string name;
  std::ifstream stream(process + "/comm");
  std::getline(stream, name);
  return name;
}

Deadline Earlier(const Deadline& deadline, unsigned milliseconds) {
  const auto limit = Clock::now() + std::chrono::milliseconds(milliseconds);
  return deadline && *deadline < limit ? deadline : Deadline(limit);
}

bool IsOver(const Deadline& deadline) {
  return deadline && Clock::now() >= *deadline;
}

}  // namespace

Monitor::Monitor(const Stop& stop, const Plan& plan, Sink sink)
    : stop_(stop), plan_(plan), sink_(std::move(sink)), start_(Clock::now()) {}

std::int64_t Monitor::Elapsed() const {
  return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start_).count();
}

std::optional<Monitor::End> Monitor::Start() {
  return ConnectOnce();
}

std::optional<Monitor::End> Monitor::ConnectOnce() {
  wire_ = std::make_unique<Wire>(stop_);
  const Deadline deadline = Earlier(plan_.deadline, kConnectLimitMs);
  WireMessage reply;
  Wire::Got got = wire_->Connect(deadline);
  if (got == Wire::Got::kMessage) {
    got = wire_->Call("org.freedesktop.DBus.Monitoring", "BecomeMonitor", Rules(), deadline, reply);
  }
  if (got == Wire::Got::kStopped) return End::kStopped;
  if (got != Wire::Got::kMessage) return IsOver(plan_.deadline) ? End::kTimeOver : End::kNoBus;
  if (GError* refused = nullptr; g_dbus_message_to_gerror(reply.message.get(), &refused) != FALSE) {
    const ErrorOwner error(refused);
    g_dbus_error_strip_remote_error(error.get());
    problem_ = error->message;
    return End::kRefused;
  }
  asking_ = ConnectToSystemBus(kAskLimitMs);
  return asking_ != nullptr ? std::nullopt : std::optional(End::kNoBus);
}

bool Monitor::TellOwners() {
  now_ = Elapsed();
  for (const char* name : kServiceNames) {
    const BusReply reply = AskBus(asking_.get(), "GetNameOwner", g_variant_new("(s)", name), kAskLimitMs);
    const char* owner = "";
    if (reply.value != nullptr && g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(s)"))) {
      g_variant_get(reply.value.get(), "(&s)", &owner);
    }
    if (!TellOwner(name, owner)) return false;
  }
  return true;
}

// What was heard already as an answer may be heard again as a change.
bool Monitor::TellOwner(const std::string& name, const std::string& owner) {
  const auto known = owners_.find(name);
  if (known != owners_.end() && known->second == owner) return true;
  owners_[name] = owner;
  if (!owner.empty() && !TellClient(owner)) return false;
  Entry entry;
  entry.kind = Kind::kOwner;
  entry.name = name;
  entry.owner = owner;
  return Give(std::move(entry));
}

Monitor::End Monitor::Run() {
  for (;;) {
    std::optional<End> end = TellOwners() ? Follow() : End::kSinkEnded;
    if (!end && !plan_.reconnect) end = End::kBusGone;
    if (!end) end = Reconnect();
    if (!end) continue;
    return *end == End::kStopped || *end == End::kTimeOver ? Drain(*end) : *end;
  }
}

// The bus shows messages in the order in which it got them: behind this one nothing is missing. To this program itself,
// so that nobody else gets it.
Monitor::End Monitor::Drain(End end) {
  if (asking_ == nullptr || g_dbus_connection_is_closed(asking_.get()) != FALSE) return end;
  const char* self = g_dbus_connection_get_unique_name(asking_.get());
  g_dbus_connection_emit_signal(asking_.get(), self, kMarkerPath, kMarkerInterface, kMarker, nullptr, nullptr);
  wire_->IgnoreStop();
  const Deadline deadline = Clock::now() + std::chrono::milliseconds(kDrainLimitMs);
  WireMessage message;
  while (wire_->Next(deadline, message) == Wire::Got::kMessage) {
    if (TextOf(g_dbus_message_get_interface(message.message.get())) == kMarkerInterface &&
        TextOf(g_dbus_message_get_sender(message.message.get())) == self) {
      break;
    }
    if (!Take(message)) return End::kSinkEnded;
  }
  return end;
}

std::optional<Monitor::End> Monitor::Follow() {
  for (;;) {
    WireMessage message;
    switch (wire_->Next(plan_.deadline, message)) {
      case Wire::Got::kMessage:
        if (!Take(message)) return End::kSinkEnded;
        break;
      case Wire::Got::kStopped:
        return End::kStopped;
      case Wire::Got::kTimeOver:
        return End::kTimeOver;
      case Wire::Got::kClosed:
        return std::nullopt;
    }
  }
}

// Nobody can tell how much passed in between, and the names of connections begin anew.
std::optional<Monitor::End> Monitor::Reconnect() {
  asking_.reset();
  connections_.Clear();
  open_calls_.Clear();
  now_ = Elapsed();
  if (!TellLost(0, "")) return End::kSinkEnded;
  for (const char* name : kServiceNames) {
    if (!TellOwner(name, "")) return End::kSinkEnded;
  }
  for (;;) {
    const std::optional<End> failed = ConnectOnce();
    if (!failed || *failed != End::kNoBus) return failed;
    pollfd stop = {stop_.number(), POLLIN, 0};
    poll(&stop, 1, kRetryMs);
  }
}

bool Monitor::Take(WireMessage& message) {
  now_ = Elapsed();
  GDBusMessage* const taken = message.message.get();
  const bool from_bus = TextOf(g_dbus_message_get_sender(taken)) == kBusName;
  switch (g_dbus_message_get_message_type(taken)) {
    case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
      return TakeCall(message);
    case G_DBUS_MESSAGE_TYPE_METHOD_RETURN:
    case G_DBUS_MESSAGE_TYPE_ERROR:
      return TakeReply(message);
    case G_DBUS_MESSAGE_TYPE_SIGNAL:
      return from_bus ? TakeNameOwnerChanged(message) : Tell(message);
    default:
      return true;
  }
}

// Who is new on the bus is asked for at once: it may be gone when its first call is seen.
bool Monitor::TakeNameOwnerChanged(WireMessage& message) {
  GVariant* const body = g_dbus_message_get_body(message.message.get());
  if (TextOf(g_dbus_message_get_member(message.message.get())) != "NameOwnerChanged" || body == nullptr ||
      !g_variant_is_of_type(body, G_VARIANT_TYPE("(sss)"))) {
    return true;
  }
  const char* name = nullptr;
  const char* after = nullptr;
  g_variant_get(body, "(&s&s&s)", &name, nullptr, &after);
  if (IsUnique(name)) {
    if (*after == '\0') return TellLeft(name);
    Learn(name);
    connections_[name].from_its_start = true;
    return true;
  }
  return !recording::IsServiceName(name) || (TellOwner(name, after) && Tell(message));
}

// What the service and its clients say to the bus itself is the business of neither.
bool Monitor::TakeCall(WireMessage& message) {
  GDBusMessage* const call = message.message.get();
  if (TextOf(g_dbus_message_get_destination(call)) == kBusName) return true;
  const std::string sender = TextOf(g_dbus_message_get_sender(call));
  const std::uint32_t serial = g_dbus_message_get_serial(call);
  const bool answered = (g_dbus_message_get_flags(call) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) == 0;
  if (answered) open_calls_[{sender, serial}] = true;
  Learn(sender);
  Connection& connection = connections_[sender];
  if (connection.first_call == 0) connection.first_call = serial;
  return Tell(message);
}

// A reply to a call that was not seen, although its caller was watched then: the bus did not show the call.
bool Monitor::TakeReply(WireMessage& message) {
  GDBusMessage* const reply = message.message.get();
  const std::string caller = TextOf(g_dbus_message_get_destination(reply));
  const Call call = {caller, g_dbus_message_get_reply_serial(reply)};
  const bool seen = open_calls_.Find(call) != nullptr;
  if (seen) open_calls_.Erase(call);
  if (!seen && TextOf(g_dbus_message_get_sender(reply)) == kBusName) return true;
  const Connection* connection = connections_.Find(caller);
  const bool watched = connection != nullptr && (connection->from_its_start ||
                                                 (connection->first_call != 0 && call.second > connection->first_call));
  if (!seen && watched && !(TellClient(caller) && TellLost(1, caller))) return false;
  return Tell(message);
}

bool Monitor::Tell(WireMessage& message) {
  for (const char* end :
       {g_dbus_message_get_sender(message.message.get()), g_dbus_message_get_destination(message.message.get())}) {
    if (IsUnique(TextOf(end)) && !TellClient(end)) return false;
  }
  return sink_(recording::EntryOf(now_, message.message.get(), std::move(message.bytes)));
}

bool Monitor::TellClient(const std::string& name) {
  Learn(name);
  Connection& connection = connections_[name];
  if (connection.told || connection.client.name.empty()) return true;
  connection.told = true;
  return Give(connection.client);
}

// Without it a call that has no answer could be one that the service never answers.
bool Monitor::TellLeft(const std::string& name) {
  const Connection* connection = connections_.Find(name);
  const bool told = connection != nullptr && connection->told;
  connections_.Erase(name);
  if (!told) return true;
  Entry entry;
  entry.kind = Kind::kLeft;
  entry.name = name;
  return Give(std::move(entry));
}

bool Monitor::TellLost(std::uint64_t count, const std::string& sender) {
  Entry entry;
  entry.kind = Kind::kLost;
  entry.count = count;
  entry.sender = sender;
  return Give(std::move(entry));
}

bool Monitor::Give(Entry entry) {
  entry.t_us = now_;
  return sink_(entry);
}

// Asks once: who is gone is not told any more.
void Monitor::Learn(const std::string& name) {
  if (asking_ == nullptr || connections_.Find(name) != nullptr) return;
  Connection& connection = connections_[name];
  const BusReply reply =
      AskBus(asking_.get(), "GetConnectionCredentials", g_variant_new("(s)", name.c_str()), kAskLimitMs);
  if (reply.value == nullptr || !g_variant_is_of_type(reply.value.get(), G_VARIANT_TYPE("(a{sv})"))) return;
  const VariantOwner credentials(g_variant_get_child_value(reply.value.get(), 0));
  guint32 pid = 0;
  guint32 uid = 0;
  if (g_variant_lookup(credentials.get(), "ProcessID", "u", &pid) == FALSE) return;
  g_variant_lookup(credentials.get(), "UnixUserID", "u", &uid);
  connection.client.kind = Kind::kClient;
  connection.client.name = name;
  connection.client.pid = pid;
  connection.client.uid = uid;
  connection.client.program = ProgramOf(pid);
}
