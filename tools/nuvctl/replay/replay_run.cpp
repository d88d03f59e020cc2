#include "replay/replay_run.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

#include "bus/system_bus.h"
#include "command/guard.h"
#include "obstacles/obstacles.h"
#include "recording/message.h"
#include "recording/reader.h"
#include "recording/roles.h"
#include "replay/live_client.h"
#include "replay/replay_text.h"
#include "report/text.h"

namespace {

using Clock = std::chrono::steady_clock;
using recording::Kind;
using recording::ObjectOfResult;
using recording::TextOf;

constexpr unsigned kConnectLimitMs = 3000;
constexpr size_t kMostConnections = 50;  // of a few descriptors each
constexpr size_t kPlacesCompared = 32;
constexpr size_t kLaunchesKept = 32;
constexpr size_t kUnheardKept = 1024;
// Only who waited for so long has seen that the service does not answer.
constexpr std::int64_t kSilenceUs = 2000000;
constexpr double kLongestPauseUs = 1e14;  // years; the clock does not overflow
constexpr char kServiceInterfaces[] = "org.kelvo.tv.";

std::string Counted(size_t count, const std::string& one) {
  return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

Report Refused(const std::string& why) {
  Report report;
  report.outcome = Outcome::kUsage;
  report.error = Printable(why);
  return report;
}

// What came to a client in place of the recorded one.
struct Arrived {
  size_t position;     // among all that came to it
  guint32 serial;      // of the call that it answers; 0 for a result
  std::string object;  // of a result
  int index;           // of a result
  std::string call;
  std::string words;
};

struct SentCall {
  guint32 live_serial;
  std::int64_t t_us;  // as recorded
  std::string method;
  std::string words;
  std::string place;
};

struct Launch {
  std::string object;
  int index;
  std::string words;
};

// What the recording says came to a client.
struct Expected {
  size_t position = 0;
  std::int64_t t_us = 0;
  std::string place;
  std::string client;
  std::string call;
  std::string words;
  guint32 live_serial = 0;  // of the call that it answers; 0 for a result
  std::string object;       // of a result
  int index = 0;            // of a result
};

struct Client {
  Client(ConnectionOwner connection, GlibOwner<GMainContext> context, std::shared_ptr<Bell> bell)
      : live(std::move(connection), std::move(context), std::move(bell)) {}

  LiveClient live;
  std::map<guint32, SentCall> unanswered;       // by the recorded serial
  std::map<guint32, guint32> recorded_serials;  // of those, by the live one
  std::deque<Launch> launches;                  // the last ones
  std::deque<Arrived> arrived;                  // and is not compared yet
  std::deque<Expected> unheard;                 // results that came to nobody then: the client was gone
  std::optional<std::int64_t> left_us;          // when it was, as recorded
  size_t arrivals = 0;
  std::deque<std::pair<size_t, size_t>> compared;  // places then and now of what was compared last
  size_t last_use = 0;
};

std::string LaunchOf(const Client& client, const std::string& object, int index) {
  const auto launch = std::find_if(client.launches.rbegin(), client.launches.rend(),
                                   [&](const Launch& one) { return one.object == object && one.index == index; });
  return launch == client.launches.rend() ? "" : launch->words;
}

bool IsFor(const Arrived& arrived, const Expected& expected) {
  return expected.live_serial != 0
             ? arrived.serial == expected.live_serial
             : arrived.serial == 0 && arrived.object == expected.object && arrived.index == expected.index;
}

class ReplayRun {
 public:
  ReplayRun(const ReplayPlan& plan, const std::function<void(const Difference&)>& differs)
      : plan_(plan), differs_(differs), reader_(plan.file), bell_(std::make_shared<Bell>()) {}

  Report Run();

 private:
  using Sent = std::pair<std::string, guint32>;  // sender and serial, as recorded

  void ReadAll();
  void Read(const recording::Entry& entry);
  void ReadMessage(const recording::Entry& entry, GDBusMessage* message);
  void ReadCall(const recording::Entry& entry, GDBusMessage* call);
  void ReadAnswer(const recording::Entry& entry, GDBusMessage* answer);
  std::string ServiceIn(GDBusMessage* call) const;
  void KeepResult(const recording::Entry& entry, GDBusMessage* result);
  void KeepUnheard(Expected&& expected);

  void SendCall(const recording::Entry& entry, GDBusMessage* call, const std::string& service);
  bool OwnObject(Client& client, const std::string& name, const std::string& object);
  void WaitFor(std::int64_t t_us);
  Client* ClientNamed(const std::string& name);
  void CloseIdleClient();

  void Expect(const Expected& expected);
  void Compare(Client& client, const Expected& expected, const std::deque<Arrived>::iterator& arrived);
  static std::deque<Arrived>::iterator Find(Client& client, const Expected& expected);
  static bool CameInOrder(Client& client, size_t then, size_t now);
  static void Collect(Client& client);
  bool MayComeNow(const Client& client, const Arrived& arrived) const;
  void TellTheRest();

  void Differ(const Expected& expected, std::optional<std::string> recorded, std::optional<std::string> now);
  std::string Label(const std::string& client) const;
  Clock::time_point Due(std::int64_t t_us) const;
  void KeepPace(std::int64_t t_us);
  std::string Place() const { return plan_.file + ":" + std::to_string(reader_.line()); }
  void End(Diagnosis diagnosis) {
    if (!end_) end_ = std::move(diagnosis);
  }
  Fields Details() const;

  const ReplayPlan& plan_;
  const std::function<void(const Difference&)>& differs_;
  recording::Reader reader_;
  const std::shared_ptr<Bell> bell_;
  std::vector<std::string> warnings_;

  std::map<std::string, std::string> services_;  // well-known name of the service, by its unique one
  std::map<std::string, std::string> labels_;    // of clients
  std::map<std::string, std::unique_ptr<Client>> clients_;
  std::map<std::string, std::string> owners_;  // client of each object name
  std::map<Sent, Expected> results_;           // that the recorded client has not acknowledged yet

  std::optional<std::pair<Clock::time_point, std::int64_t>> pace_;  // a moment of now, and the one of then
  size_t position_ = 0;                                             // of the entry
  std::int64_t t_us_ = 0;                                           // of the entry
  size_t seen_clients_ = 0;
  size_t calls_ = 0;
  size_t answers_ = 0;
  size_t results_seen_ = 0;
  size_t differences_ = 0;
  std::optional<Diagnosis> end_;
};

Report ReplayRun::Run() {
  recording::Header header;
  if (!reader_.Open(header)) return Refused(reader_.Problem());
  if (header.redacted) return Refused(plan_.file + ": a redacted recording cannot be replayed");
  if (const auto obstacle = WhyOutOfReach()) return ReportOf(*obstacle);
  const InterruptHandler handler([bell = bell_] { bell->RingForTheEnd(); });
  ReadAll();
  if (!end_ && calls_ == 0) End({Outcome::kUsage, plan_.file + ": the recording has no calls of the service"});
  if (!end_) TellTheRest();
  if (!end_ && differences_ != 0) End({Outcome::kFailed, "not as recorded: " + Counted(differences_, "difference")});
  Report report;
  if (end_) {
    report.outcome = end_->outcome;
    report.error = Printable(end_->message);
  }
  report.details = Details();
  report.warnings = warnings_;
  if (!end_) {
    report.text = "as recorded: " + Counted(calls_, "call") + ", " + Counted(answers_, "answer") + ", " +
                  Counted(results_seen_, "result") + ", " + Counted(seen_clients_, "client");
  }
  return report;
}

void ReplayRun::ReadAll() {
  recording::Entry entry;
  auto what = reader_.Next(entry);
  while (what == recording::Reader::What::kEntry && !end_) {
    Read(entry);
    what = reader_.Next(entry);
  }
  if (end_) return;
  if (what == recording::Reader::What::kBroken) return End({Outcome::kUsage, reader_.Problem()});
  if (what == recording::Reader::What::kCut) {
    warnings_.push_back(Printable(plan_.file) + ": the recording was cut short; what is there was replayed");
  }
  // What nobody has acknowledged was sent all the same.
  std::vector<Expected> left;
  left.reserve(results_.size());
  for (auto& [sent, expected] : results_) left.push_back(std::move(expected));
  results_.clear();
  std::sort(left.begin(), left.end(), [](const auto& a, const auto& b) { return a.position < b.position; });
  for (const Expected& expected : left) Expect(expected);
}

void ReplayRun::Read(const recording::Entry& entry) {
  ++position_;
  t_us_ = entry.t_us;
  if (entry.kind == Kind::kOwner && !entry.owner.empty() && recording::IsServiceName(entry.name)) {
    services_.insert({entry.owner, entry.name});
  } else if (entry.kind == Kind::kClient) {
    labels_[entry.name] = entry.program + ", pid " + std::to_string(entry.pid);
  } else if (entry.kind == Kind::kLeft) {
    if (const auto client = clients_.find(entry.name); client != clients_.end()) client->second->left_us = entry.t_us;
  } else if (entry.kind == Kind::kLost) {
    warnings_.push_back(Printable(Place()) + ": " + std::to_string(entry.count) + " messages are missing");
  } else if (recording::IsMessage(entry.kind)) {
    const recording::MessageOwner message = recording::MessageOf(entry);
    if (message == nullptr) return End({Outcome::kUsage, Place() + ": the bytes are no message of the bus"});
    ReadMessage(entry, message.get());
  }
}

void ReplayRun::ReadMessage(const recording::Entry& entry, GDBusMessage* message) {
  switch (g_dbus_message_get_message_type(message)) {
    case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
      return ReadCall(entry, message);
    case G_DBUS_MESSAGE_TYPE_METHOD_RETURN:
    case G_DBUS_MESSAGE_TYPE_ERROR:
      return ReadAnswer(entry, message);
    default:
      return;
  }
}

void ReplayRun::ReadCall(const recording::Entry& entry, GDBusMessage* call) {
  if (!ObjectOfResult(call).empty()) return KeepResult(entry, call);
  const std::string service = ServiceIn(call);
  if (!service.empty() && !IsFromPinDialog(call)) SendCall(entry, call, service);
}

// The service's name that the call goes to; empty where it is none of the service's own calls.
std::string ReplayRun::ServiceIn(GDBusMessage* call) const {
  if (TextOf(g_dbus_message_get_interface(call)).rfind(kServiceInterfaces, 0) != 0) return "";
  std::string destination = TextOf(g_dbus_message_get_destination(call));
  if (recording::IsServiceName(destination)) return destination;
  const auto service = services_.find(destination);
  return service == services_.end() ? "" : service->second;
}

void ReplayRun::ReadAnswer(const recording::Entry& entry, GDBusMessage* answer) {
  const Sent call = {TextOf(g_dbus_message_get_destination(answer)), g_dbus_message_get_reply_serial(answer)};
  if (auto result = results_.extract(call); !result.empty()) {
    if (recording::SaysNobodyIsThere(answer)) return KeepUnheard(std::move(result.mapped()));
    return Expect(result.mapped());
  }
  const auto client = clients_.find(call.first);
  if (client == clients_.end()) return;
  const auto sent = client->second->unanswered.find(call.second);
  if (sent == client->second->unanswered.end()) return;
  Expected expected;
  expected.position = position_;
  expected.t_us = entry.t_us;
  expected.place = Place();
  expected.client = call.first;
  expected.call = sent->second.words;
  expected.words = AnswerInWords(sent->second.method, answer);
  expected.live_serial = sent->second.live_serial;
  Expect(expected);
}

void ReplayRun::KeepResult(const recording::Entry& entry, GDBusMessage* result) {
  Expected expected;
  expected.object = ObjectOfResult(result);
  const auto owner = owners_.find(expected.object);
  if (owner == owners_.end()) return;
  expected.position = position_;
  expected.t_us = entry.t_us;
  expected.place = Place();
  expected.client = owner->second;
  expected.index = EventIndexOf(result);
  expected.words = ResultInWords(result);
  expected.call = LaunchOf(*clients_.at(expected.client), expected.object, expected.index);
  results_[{TextOf(g_dbus_message_get_sender(result)), g_dbus_message_get_serial(result)}] = std::move(expected);
}

void ReplayRun::SendCall(const recording::Entry& entry, GDBusMessage* call, const std::string& service) {
  WaitFor(entry.t_us);
  const std::string name = TextOf(g_dbus_message_get_sender(call));
  Client* client = end_ ? nullptr : ClientNamed(name);
  if (client == nullptr) return;
  const auto address = ResultAddressIn(call);
  if (address && !OwnObject(*client, name, address->object_name)) return;
  const recording::MessageOwner copy(g_dbus_message_copy(call, nullptr));
  g_dbus_message_set_sender(copy.get(), nullptr);
  g_dbus_message_set_destination(copy.get(), service.c_str());
  const guint32 serial = client->live.Send(copy.get());
  if (serial == 0) return End({Outcome::kBusGone, "the connection to the system bus broke"});
  ++calls_;
  KeepPace(entry.t_us);
  const std::string words = CallInWords(call);
  if (address) client->launches.push_back({address->object_name, address->event_index, words});
  if (client->launches.size() > kLaunchesKept) client->launches.pop_front();
  if ((g_dbus_message_get_flags(call) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) != 0) return;
  const guint32 recorded = g_dbus_message_get_serial(call);
  client->unanswered[recorded] = {serial, entry.t_us, TextOf(g_dbus_message_get_member(call)), words, Place()};
  client->recorded_serials[serial] = recorded;
}

void ReplayRun::KeepUnheard(Expected&& expected) {
  const auto client = clients_.find(expected.client);
  if (client == clients_.end()) return;
  auto& unheard = client->second->unheard;
  unheard.push_back(std::move(expected));
  if (unheard.size() > kUnheardKept) unheard.pop_front();
}

// The name is the recorded process's: the service is told it in the call, and sends its results there.
bool ReplayRun::OwnObject(Client& client, const std::string& name, const std::string& object) {
  const auto owner = owners_.find(object);
  if (owner != owners_.end() && owner->second == name) return true;
  const bool ours = owner != owners_.end() && clients_.count(owner->second) != 0;
  if (!client.live.Own(object, ours)) {
    End({Outcome::kFailed, Place() + ": the results' name of this client, org.kelvo.tv.corvane.launcherclient." +
                               object + ", is taken on this bus"});
    return false;
  }
  owners_[object] = name;
  return true;
}

Client* ReplayRun::ClientNamed(const std::string& name) {
  auto& client = clients_[name];
  if (client == nullptr) {
    CloseIdleClient();
    GlibOwner<GMainContext> context(g_main_context_new());
    ConnectionOwner connection = ConnectToSystemBus(kConnectLimitMs, nullptr, context.get());
    if (connection == nullptr) {
      clients_.erase(name);
      End(BusUnreachable());
      return nullptr;
    }
    client = std::make_unique<Client>(std::move(connection), std::move(context), bell_);
    ++seen_clients_;
  }
  client->last_use = position_;
  return client.get();
}

void ReplayRun::CloseIdleClient() {
  if (clients_.size() <= kMostConnections) return;
  auto oldest = clients_.end();
  for (auto client = clients_.begin(); client != clients_.end(); ++client) {
    if (client->second == nullptr) continue;
    if (!client->second->unanswered.empty() && !client->second->left_us) continue;
    if (oldest == clients_.end() || client->second->last_use < oldest->second->last_use) oldest = client;
  }
  if (oldest == clients_.end()) return;
  for (auto owner = owners_.begin(); owner != owners_.end();) {
    owner = owner->second == oldest->first ? owners_.erase(owner) : std::next(owner);
  }
  clients_.erase(oldest);
}

// When what happened then is due now.
Clock::time_point ReplayRun::Due(std::int64_t t_us) const {
  if (!pace_ || plan_.speed == 0) return Clock::now();
  const double later_us = static_cast<double>(t_us - pace_->second) / plan_.speed;
  return pace_->first + std::chrono::microseconds(std::llround(std::min(later_us, kLongestPauseUs)));
}

// A service that is slower than recorded does not shorten the pauses of its clients.
void ReplayRun::KeepPace(std::int64_t t_us) {
  const auto now = Clock::now();
  if (!pace_ || Due(t_us) < now) pace_ = {now, t_us};
}

void ReplayRun::WaitFor(std::int64_t t_us) {
  if (plan_.speed != 0) bell_->WaitUntil(Due(t_us), [] { return false; });
  if (bell_->Ended()) End({Outcome::kInterrupted, "interrupted"});
}

void ReplayRun::Collect(Client& client) {
  while (const recording::MessageOwner message = client.live.Take()) {
    const std::string object = ObjectOfResult(message.get());
    if (!object.empty()) {
      const int index = EventIndexOf(message.get());
      client.arrived.push_back(
          {client.arrivals++, 0, object, index, LaunchOf(client, object, index), ResultInWords(message.get())});
      continue;
    }
    const guint32 serial = g_dbus_message_get_reply_serial(message.get());
    const auto recorded = client.recorded_serials.find(serial);
    if (recorded == client.recorded_serials.end()) continue;  // of a call of the replay's own
    const SentCall& call = client.unanswered[recorded->second];
    client.arrived.push_back({client.arrivals++, serial, "", 0, call.words, AnswerInWords(call.method, message.get())});
  }
}

// The same, else the first in its place.
std::deque<Arrived>::iterator ReplayRun::Find(Client& client, const Expected& expected) {
  auto& arrived = client.arrived;
  const auto same = std::find_if(arrived.begin(), arrived.end(), [&](const Arrived& one) {
    return IsFor(one, expected) && one.words == expected.words;
  });
  if (same != arrived.end()) return same;
  return std::find_if(arrived.begin(), arrived.end(), [&](const Arrived& one) { return IsFor(one, expected); });
}

void ReplayRun::Expect(const Expected& expected) {
  if (end_) return;
  const auto found_client = clients_.find(expected.client);
  if (found_client == clients_.end()) return;
  Client& client = *found_client->second;
  const auto limit = std::max(Clock::now(), Due(expected.t_us)) + std::chrono::milliseconds(plan_.timeout_ms);
  auto arrived = client.arrived.end();
  bell_->WaitUntil(limit, [&] {
    Collect(client);
    arrived = Find(client, expected);
    return arrived != client.arrived.end() || client.live.BusIsGone();
  });
  if (bell_->Ended()) return End({Outcome::kInterrupted, "interrupted"});
  ++(expected.live_serial != 0 ? answers_ : results_seen_);
  if (arrived != client.arrived.end()) {
    Compare(client, expected, arrived);
  } else if (client.live.BusIsGone()) {
    End({Outcome::kBusGone, "the connection to the system bus broke"});
  } else {
    Differ(expected, expected.words, std::nullopt);
  }
  KeepPace(expected.t_us);
}

void ReplayRun::Compare(Client& client, const Expected& expected, const std::deque<Arrived>::iterator& arrived) {
  const bool in_order = CameInOrder(client, expected.position, arrived->position);
  if (arrived->words != expected.words) {
    Differ(expected, expected.words, arrived->words);
  } else if (!in_order) {
    Differ(expected, expected.words, arrived->words + " (in another order)");
  }
  if (const auto recorded = client.recorded_serials.extract(arrived->serial); !recorded.empty()) {
    client.unanswered.erase(recorded.mapped());
  }
  client.arrived.erase(arrived);
}

bool ReplayRun::CameInOrder(Client& client, size_t then, size_t now) {
  const bool in_order = std::all_of(client.compared.begin(), client.compared.end(),
                                    [&](const auto& other) { return (other.first < then) == (other.second < now); });
  client.compared.emplace_back(then, now);
  if (client.compared.size() > kPlacesCompared) client.compared.pop_front();
  return in_order;
}

// The recorded client was gone before it could hear whether the service says this; the client of now is still there.
bool ReplayRun::MayComeNow(const Client& client, const Arrived& arrived) const {
  if (arrived.serial == 0) {
    return std::any_of(client.unheard.begin(), client.unheard.end(), [&](const Expected& unheard) {
      return IsFor(arrived, unheard) && arrived.words == unheard.words;
    });
  }
  const auto recorded = client.recorded_serials.find(arrived.serial);
  if (recorded == client.recorded_serials.end()) return false;
  // On a bus that came back the names and numbers of the one before are given out again.
  const auto call = client.unanswered.find(recorded->second);
  if (call == client.unanswered.end()) return false;
  return client.left_us.value_or(t_us_) - call->second.t_us < kSilenceUs;
}

// What the service says beyond the recording. It may still be at it: what it sent before it answered once more is here.
void ReplayRun::TellTheRest() {
  bool answers = true;
  for (auto& [name, client] : clients_) {
    if (answers) answers = client->live.Settle(plan_.timeout_ms);
    Collect(*client);
    for (const Arrived& arrived : client->arrived) {
      if (MayComeNow(*client, arrived)) continue;
      Expected nothing;
      nothing.place = plan_.file;
      nothing.client = name;
      nothing.call = arrived.call;
      Differ(nothing, std::nullopt, arrived.words);
    }
  }
}

void ReplayRun::Differ(const Expected& expected, std::optional<std::string> recorded, std::optional<std::string> now) {
  ++differences_;
  differs_({expected.place, Label(expected.client), expected.call, std::move(recorded), std::move(now)});
}

std::string ReplayRun::Label(const std::string& client) const {
  const auto label = labels_.find(client);
  return label == labels_.end() ? client : client + " (" + label->second + ")";
}

Fields ReplayRun::Details() const {
  return {{"file", plan_.file},
          {"calls", static_cast<int>(calls_)},
          {"answers", static_cast<int>(answers_)},
          {"results", static_cast<int>(results_seen_)},
          {"clients", static_cast<int>(seen_clients_)},
          {"differences", static_cast<int>(differences_)}};
}

}  // namespace

Report Replay(const ReplayPlan& plan, const std::function<void(const Difference&)>& differs) {
  return ReplayRun(plan, differs).Run();
}
