#include "timeline/gather.h"

#include <algorithm>
#include <cstdlib>

#include "bus/bus_daemon.h"
#include "glib_handles.h"
#include "recording/message.h"
#include "service/meanings.h"
#include "service/method_table.h"
#include "service/watch_lines.h"

namespace timeline {

namespace {

using recording::TextOf;

constexpr char kObjectPrefix[] = "obj";

struct SignalKind {
  const char* name;
  Mark::Kind kind;
};

constexpr SignalKind kSignals[] = {
    {"AppStarted", Mark::Kind::kStarted},
    {"AppStopped", Mark::Kind::kStopped},
};

// The messages themselves show what these repeat.
constexpr const char* kRepeating[] = {"Request", "Reply", "Result"};

// Empty where the argument is none, or no text.
std::string TextArgument(GDBusMessage* message, gsize index) {
  GVariant* body = g_dbus_message_get_body(message);
  if (body == nullptr || index >= g_variant_n_children(body)) return "";
  const VariantOwner argument(g_variant_get_child_value(body, index));
  const bool text = g_variant_is_of_type(argument.get(), G_VARIANT_TYPE_STRING) != FALSE;
  return text ? g_variant_get_string(argument.get(), nullptr) : "";
}

std::optional<int> NumberArgument(GDBusMessage* message, gsize index) {
  GVariant* body = g_dbus_message_get_body(message);
  if (body == nullptr || index >= g_variant_n_children(body)) return std::nullopt;
  const VariantOwner argument(g_variant_get_child_value(body, index));
  if (!g_variant_is_of_type(argument.get(), G_VARIANT_TYPE_INT32)) return std::nullopt;
  return g_variant_get_int32(argument.get());
}

// The application that a call is about, where it is about one.
std::string SubjectOf(GDBusMessage* message) {
  const Method* method =
      FindMethod(TextOf(g_dbus_message_get_member(message)), TextOf(g_dbus_message_get_signature(message)));
  const auto app = method != nullptr ? AppArgument(*method) : std::nullopt;
  return app ? TextArgument(message, *app) : "";
}

bool IsResult(GDBusMessage* message) {
  return TextOf(g_dbus_message_get_member(message)) == "app_launch_result";
}

std::string NameOfNumber(int number, const char* otherwise) {
  const Meaning* meaning = FindMeaning(number);
  return meaning != nullptr ? meaning->name : otherwise + std::to_string(number);
}

// The last part of a path or of a name.
std::string LastPart(const std::string& text, char delimiter) {
  return text.substr(text.find_last_of(delimiter) + 1);
}

Mark MarkOfResult(int event, int status, std::string app) {
  const Meaning* meaning = FindMeaning(event);
  const bool success = meaning != nullptr && meaning->sense == NUV_NUMBER_SUCCESS;
  Mark mark;
  mark.kind = success ? Mark::Kind::kSuccess : Mark::Kind::kFailure;
  mark.name = NameOfNumber(event, "event ");
  if (status != 0) mark.name += " " + NameOfNumber(status, "result ");
  mark.detail = std::move(app);
  return mark;
}

// What overlaps the window stays.
bool Within(const Cut& cut, Micros begin, Micros end) {
  return begin <= cut.to && end >= cut.from;
}

// New numbers for what is kept of a list: an arrow whose bar or mark has none is dropped.
using Numbers = std::vector<std::optional<size_t>>;

template <typename Item, typename Keep>
Numbers KeepSome(const std::vector<Item>& from, std::vector<Item>& to, Keep keep) {
  Numbers numbers(from.size());
  for (size_t i = 0; i < from.size(); ++i) {
    if (!keep(from[i])) continue;
    numbers[i] = to.size();
    to.push_back(from[i]);
  }
  return numbers;
}

template <typename Item>
void MarkUsed(const std::vector<Item>& items, std::vector<bool>& used) {
  for (const Item& item : items) used[item.lane] = true;
}

template <typename Item>
void MoveToLanes(std::vector<Item>& items, const std::vector<size_t>& places) {
  for (Item& item : items) item.lane = places[item.lane];
}

// The bus, the service and the clients, each in the order in which they came; without the lanes that stayed empty.
void SortLanes(const std::vector<Lane>& all, Timeline& timeline) {
  std::vector<bool> used(all.size());
  MarkUsed(timeline.bars, used);
  MarkUsed(timeline.marks, used);
  std::vector<size_t> places(all.size());
  for (const Lane::Kind kind : {Lane::Kind::kBus, Lane::Kind::kService, Lane::Kind::kClient}) {
    for (size_t i = 0; i < all.size(); ++i) {
      if (!used[i] || all[i].kind != kind) continue;
      places[i] = timeline.lanes.size();
      timeline.lanes.push_back(all[i]);
    }
  }
  MoveToLanes(timeline.bars, places);
  MoveToLanes(timeline.marks, places);
}

}  // namespace

void Gatherer::Add(const recording::Entry& entry) {
  last_ = std::max(last_, entry.t_us);
  switch (entry.kind) {
    case recording::Kind::kClient:
      clients_[entry.name] = {entry.pid, entry.program};
      return;
    case recording::Kind::kOwner:
      return AddOwner(entry.t_us, entry.name, entry.owner);
    case recording::Kind::kLost:
      return AddLost(entry);
    case recording::Kind::kLeft:
    case recording::Kind::kEnd:
      return;
    default:
      break;
  }
  if (const recording::MessageOwner message = recording::MessageOf(entry)) {
    AddMessage(entry.t_us, message.get());
  } else {
    AddTrouble(entry.t_us, BusLane(), "not a message");
  }
}

// What is told first of a name is how it was at the start, and no change.
void Gatherer::AddOwner(Micros time, const std::string& name, const std::string& owner) {
  if (!owner.empty()) services_.insert(owner);
  const auto known = owners_.find(name);
  const bool changed = known != owners_.end() && known->second != owner;
  owners_[name] = owner;
  if (!changed || time > cut_.to) return;
  Mark mark;
  mark.lane = BusLane();
  mark.time = time;
  mark.kind = owner.empty() ? Mark::Kind::kNoOwner : Mark::Kind::kOwner;
  mark.name = name;
  mark.detail = owner.empty() ? "has no owner" : "is owned by " + owner;
  all_.marks.push_back(std::move(mark));
}

void Gatherer::AddTrouble(Micros time, size_t lane, std::string what) {
  if (time > cut_.to) return;
  Mark mark;
  mark.lane = lane;
  mark.time = time;
  mark.kind = Mark::Kind::kLost;
  mark.name = std::move(what);
  all_.marks.push_back(std::move(mark));
}

void Gatherer::AddLost(const recording::Entry& entry) {
  AddTrouble(entry.t_us, entry.sender.empty() ? BusLane() : LaneOf(entry.sender),
             std::to_string(entry.count) + (entry.count == 1 ? " message lost" : " messages lost"));
}

void Gatherer::AddMessage(Micros time, GDBusMessage* message) {
  switch (g_dbus_message_get_message_type(message)) {
    case G_DBUS_MESSAGE_TYPE_METHOD_CALL:
      return AddCall(time, message);
    case G_DBUS_MESSAGE_TYPE_SIGNAL:
      return AddSignal(time, message);
    default:
      return AddAnswer(time, message);
  }
}

bool Gatherer::Wanted(Micros time) {
  if (time > cut_.to) return false;
  if (time < cut_.from) return true;
  if (all_.messages < cut_.most) {
    ++all_.messages;
    return true;
  }
  ++all_.left_out;
  if (!all_.left_out_from) all_.left_out_from = time;
  return false;
}

size_t Gatherer::LaneOf(const std::string& connection) {
  const auto client = clients_.find(connection);
  const Process process = client != clients_.end() ? client->second : Process{};
  const std::string key = process.pid > 0 ? std::to_string(process.pid) : connection;
  const auto [place, is_new] = lane_of_.emplace(key, all_.lanes.size());
  if (is_new) {
    Lane lane;
    lane.name = process.program.empty() ? connection : process.program;
    lane.pid = process.pid;
    all_.lanes.push_back(std::move(lane));
  }
  if (services_.count(connection) != 0) all_.lanes[place->second].kind = Lane::Kind::kService;
  return place->second;
}

size_t Gatherer::BusLane() {
  const auto [place, is_new] = lane_of_.emplace(kBusName, all_.lanes.size());
  if (is_new) {
    Lane lane;
    lane.kind = Lane::Kind::kBus;
    lane.name = "bus";
    all_.lanes.push_back(std::move(lane));
  }
  return place->second;
}

void Gatherer::AddCall(Micros time, GDBusMessage* message) {
  if (!Wanted(time)) return;
  const std::string sender = TextOf(g_dbus_message_get_sender(message));
  Bar bar;
  bar.lane = LaneOf(sender);
  bar.begin = bar.end = time;
  bar.name = TextOf(g_dbus_message_get_member(message));
  bar.detail = SubjectOf(message);
  bar.from = sender;
  bar.to = TextOf(g_dbus_message_get_destination(message));
  const size_t number = all_.bars.size();
  if ((g_dbus_message_get_flags(message) & G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED) != 0) {
    bar.ending = Bar::Ending::kNoReplyWanted;
  } else {
    unanswered_[{sender, g_dbus_message_get_serial(message)}] = number;
  }
  if (bar.name == "launch_app") {
    const std::string object = TextArgument(message, 0);
    objects_[object] = sender;
    if (const auto event = NumberArgument(message, 9)) launches_[{object, *event}] = number;
  }
  all_.bars.push_back(std::move(bar));
  if (IsResult(message)) AddResult(time, message, number);
}

// An answer counts as a message of its own, but always ends the call that is shown.
void Gatherer::AddAnswer(Micros time, GDBusMessage* message) {
  const std::string caller = TextOf(g_dbus_message_get_destination(message));
  const auto call = unanswered_.find({caller, g_dbus_message_get_reply_serial(message)});
  if (call == unanswered_.end()) {
    Wanted(time);
    return;
  }
  if (time >= cut_.from && time <= cut_.to) ++all_.messages;
  Bar& bar = all_.bars[call->second];
  bar.end = time;
  bar.ending = Bar::Ending::kReply;
  if (g_dbus_message_get_message_type(message) == G_DBUS_MESSAGE_TYPE_ERROR) {
    bar.ending = Bar::Ending::kError;
    bar.error = TextOf(g_dbus_message_get_error_name(message));
  }
  unanswered_.erase(call);
}

void Gatherer::AddSignal(Micros time, GDBusMessage* message) {
  const std::string sender = TextOf(g_dbus_message_get_sender(message));
  if (sender == kBusName || !Wanted(time)) return;  // of the bus's own, the owners are told
  const std::string member = TextOf(g_dbus_message_get_member(message));
  const bool from_simulator = TextOf(g_dbus_message_get_interface(message)) == kSimulatorInterface;
  const auto repeats = [&member](const char* name) { return member == name; };
  if (from_simulator && std::any_of(std::begin(kRepeating), std::end(kRepeating), repeats)) return;
  Mark mark;
  mark.lane = LaneOf(sender);
  mark.time = time;
  mark.name = member;
  if (from_simulator) mark.detail = TextArgument(message, 0);
  for (const SignalKind& signal : kSignals) {
    if (from_simulator && member == signal.name) mark.kind = signal.kind;
  }
  all_.marks.push_back(std::move(mark));
}

// Who launched tells which of its objects waits. A result for an object of which no launch was recorded goes to the
// process whose id the object's name has.
size_t Gatherer::ReceiverOf(const std::string& object, const std::string& destination) {
  const auto known = objects_.find(object);
  if (known != objects_.end()) return LaneOf(known->second);
  if (object.rfind(kObjectPrefix, 0) == 0) {
    const long pid = std::strtol(object.c_str() + sizeof kObjectPrefix - 1, nullptr, 10);
    for (const auto& [connection, process] : clients_) {
      if (process.pid > 0 && process.pid == pid) return LaneOf(connection);
    }
  }
  return LaneOf(destination);
}

void Gatherer::AddResult(Micros time, GDBusMessage* message, size_t delivery) {
  const auto status = NumberArgument(message, 2);
  const auto event = NumberArgument(message, 3);
  const auto index = NumberArgument(message, 5);
  if (!status || !event || !index) return;
  const std::string object = LastPart(TextOf(g_dbus_message_get_path(message)), '/');
  Mark mark = MarkOfResult(*event, *status, TextArgument(message, 1));
  mark.lane = ReceiverOf(object, TextOf(g_dbus_message_get_destination(message)));
  mark.time = time;
  const size_t number = all_.marks.size();
  all_.marks.push_back(std::move(mark));
  all_.arrows.push_back({Arrow::Kind::kDelivery, delivery, number});
  const auto launch = launches_.find({object, *index});
  if (launch != launches_.end()) all_.arrows.push_back({Arrow::Kind::kWait, launch->second, number});
}

Timeline Gatherer::Finish() const {
  Timeline timeline;
  timeline.begin = cut_.from;
  timeline.end = std::max(cut_.from, std::min(cut_.to, last_));
  timeline.messages = all_.messages;
  timeline.left_out = all_.left_out;
  timeline.left_out_from = all_.left_out_from;
  std::vector<Bar> bars = all_.bars;
  for (const auto& [request, number] : unanswered_) bars[number].end = std::max(bars[number].end, timeline.end);
  const Numbers new_bars =
      KeepSome(bars, timeline.bars, [this](const Bar& bar) { return Within(cut_, bar.begin, bar.end); });
  const Numbers new_marks =
      KeepSome(all_.marks, timeline.marks, [this](const Mark& mark) { return Within(cut_, mark.time, mark.time); });
  for (const Arrow& arrow : all_.arrows) {
    const auto bar = new_bars[arrow.bar];
    const auto mark = new_marks[arrow.mark];
    if (bar && mark) timeline.arrows.push_back({arrow.kind, *bar, *mark});
  }
  SortLanes(all_.lanes, timeline);
  return timeline;
}

}  // namespace timeline
