#include "replay/recorded_service.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <utility>

#include "recording/message.h"
#include "recording/reader.h"
#include "recording/roles.h"

namespace simulator {
namespace {

constexpr const char* kResultMethod = "app_launch_result";
constexpr const char* kServiceInterfaces[] = {"org.kelvo.tv.litecorvane.server.interface",
                                              "org.kelvo.tv.corvane.server.interface", "org.kelvo.tv.NuvSimulator1"};

using Sent = std::pair<std::string, guint32>;  // sender and serial

// Puts the messages together into exchanges.
class Assembly {
 public:
  struct Keyed {
    std::string key;
    std::shared_ptr<RecordedExchange> exchange;
  };

  void Owner(const std::string& name, const std::string& owner) {
    if (recording::IsServiceName(name) && !owner.empty()) services_.insert(owner);
  }

  void Message(std::int64_t t_us, GDBusMessage* message, std::vector<unsigned char> bytes) {
    switch (g_dbus_message_get_message_type(message)) {
      case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
        if (IsServiceCall(message)) return Call(t_us, message);
        if (IsResult(message)) return Result(t_us, message, std::move(bytes));
        return;
      case G_DBUS_MESSAGE_TYPE_METHOD_RETURN:
      case G_DBUS_MESSAGE_TYPE_ERROR:
        return Answer(t_us, message, std::move(bytes));
      default:
        return;
    }
  }

  std::vector<Keyed>& calls() { return calls_; }

 private:
  bool IsServiceCall(GDBusMessage* message) const {
    const std::string destination = recording::TextOf(g_dbus_message_get_destination(message));
    if (!recording::IsServiceName(destination) && services_.count(destination) == 0) return false;
    const std::string interface = recording::TextOf(g_dbus_message_get_interface(message));
    return std::find(std::begin(kServiceInterfaces), std::end(kServiceInterfaces), interface) !=
           std::end(kServiceInterfaces);
  }

  static bool IsResult(GDBusMessage* message) {
    return recording::TextOf(g_dbus_message_get_member(message)) == kResultMethod &&
           !recording::ObjectOfResult(message).empty() && recording::ResultIn(message) != nullptr;
  }

  void Call(std::int64_t t_us, GDBusMessage* message) {
    const std::string method = recording::TextOf(g_dbus_message_get_member(message));
    GVariant* body = g_dbus_message_get_body(message);
    const VariantPtr arguments(body != nullptr ? g_variant_ref(body) : g_variant_ref_sink(g_variant_new("()")));
    auto exchange = std::make_shared<RecordedExchange>();
    exchange->method = method;
    exchange->t_us = t_us;
    if (const auto address = AddressIn(method, arguments.get())) {
      exchange->address = *address;
      launches_[address->object_name].push_back(exchange);
    }
    unanswered_[{recording::TextOf(g_dbus_message_get_sender(message)), g_dbus_message_get_serial(message)}] = exchange;
    calls_.push_back({KeyOf(method, arguments.get()), exchange});
  }

  void Answer(std::int64_t t_us, GDBusMessage* message, std::vector<unsigned char> bytes) {
    const Sent call = {recording::TextOf(g_dbus_message_get_destination(message)),
                       g_dbus_message_get_reply_serial(message)};
    if (const auto exchange = unanswered_.extract(call); !exchange.empty()) {
      Add(*exchange.mapped(), t_us, std::move(bytes));
    } else if (const auto result = results_.extract(call); !result.empty()) {
      result.mapped().first->acts[result.mapped().second].reached_nobody = recording::SaysNobodyIsThere(message);
    }
  }

  void Result(std::int64_t t_us, GDBusMessage* message, std::vector<unsigned char> bytes) {
    const auto exchange = LaunchOf(message);
    if (exchange == nullptr) return;
    results_[{recording::TextOf(g_dbus_message_get_sender(message)), g_dbus_message_get_serial(message)}] = {
        exchange, exchange->acts.size()};
    Add(*exchange, t_us, std::move(bytes));
  }

  // The client's last launch with the result's number, or its last launch at all: a service may mistake the number.
  std::shared_ptr<RecordedExchange> LaunchOf(GDBusMessage* result) const {
    const auto launches = launches_.find(recording::ObjectOfResult(result));
    if (launches == launches_.end()) return nullptr;
    const VariantPtr index = ChildOf(g_dbus_message_get_body(result), 5);
    const int number = g_variant_get_int32(index.get());
    const auto& all = launches->second;
    const auto found = std::find_if(all.rbegin(), all.rend(),
                                    [&](const auto& launch) { return launch->address.event_index == number; });
    return found == all.rend() ? all.back() : *found;
  }

  static void Add(RecordedExchange& exchange, std::int64_t t_us, std::vector<unsigned char> bytes) {
    exchange.acts.push_back({t_us - exchange.t_us, std::move(bytes)});
  }

  std::set<std::string> services_;  // unique names
  std::vector<Keyed> calls_;
  std::map<Sent, std::shared_ptr<RecordedExchange>> unanswered_;
  std::map<std::string, std::vector<std::shared_ptr<RecordedExchange>>> launches_;  // by object name
  std::map<Sent, std::pair<std::shared_ptr<RecordedExchange>, std::size_t>> results_;
};

void ReadEntry(Assembly& assembly, recording::Entry& entry, const std::string& where) {
  if (entry.kind == recording::Kind::kOwner) return assembly.Owner(entry.name, entry.owner);
  if (!recording::IsMessage(entry.kind)) return;
  const recording::MessageOwner message = recording::MessageOf(entry);
  if (message == nullptr) throw RecordingError(where + ": the bytes are no message of the bus");
  assembly.Message(entry.t_us, message.get(), std::move(entry.bytes));
}

std::string Missing(std::uint64_t lost) {
  return std::to_string(lost) + (lost == 1 ? " message is" : " messages are") + " missing from the recording";
}

}  // namespace

RecordedService::RecordedService(const std::string& path) {
  recording::Reader reader(path);
  recording::Header header;
  if (!reader.Open(header)) throw RecordingError(reader.Problem());
  if (header.redacted) {
    throw RecordingError(path + ": a redacted recording cannot be replayed: the texts to compare are not in it");
  }
  Assembly assembly;
  std::uint64_t lost = 0;
  recording::Entry entry;
  auto what = reader.Next(entry);
  while (what == recording::Reader::What::kEntry) {
    if (entry.kind == recording::Kind::kLost) lost += entry.count;
    ReadEntry(assembly, entry, path + ":" + std::to_string(reader.line()));
    what = reader.Next(entry);
  }
  if (what == recording::Reader::What::kBroken) throw RecordingError(reader.Problem());
  if (what == recording::Reader::What::kCut) {
    warnings_.push_back(path + ": the recording was cut short; what is there is replayed");
  }
  if (lost != 0) warnings_.push_back(path + ": " + Missing(lost));
  for (auto& call : assembly.calls()) exchanges_[call.key].push_back(std::move(call.exchange));
  count_ = assembly.calls().size();
  if (count_ == 0) throw RecordingError(path + ": the recording has no calls of the service");
}

std::shared_ptr<const RecordedExchange> RecordedService::Take(const std::string& key) {
  const auto found = exchanges_.find(key);
  if (found == exchanges_.end() || found->second.empty()) return nullptr;
  auto exchange = std::move(found->second.front());
  found->second.pop_front();
  return exchange;
}

std::map<std::string, std::size_t> RecordedService::Unused() const {
  std::map<std::string, std::size_t> unused;
  for (const auto& [key, left] : exchanges_) {
    for (const auto& exchange : left) ++unused[exchange->method];
  }
  return unused;
}

}  // namespace simulator
