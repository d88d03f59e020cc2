#include "monitor/message_lines.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <vector>

#include "glib_handles.h"
#include "monitor/extra_data.h"
#include "report/text.h"
#include "service/meanings.h"

namespace {

using recording::Entry;
using recording::Kind;

constexpr char kClientObjects[] = "/org/kelvo/tv/corvane/launcherclient/";
constexpr char kHeartbeat[] = "heartbeat";
constexpr char kEveryPrograms[] = "org.freedesktop.DBus.";
// That a request has these says nothing to whoever reads a line.
constexpr const char* kOnlyInJson[] = {"object", "thread", "method_call", "cb_type", "data"};

bool StartsWith(const std::string& text, const std::string& start) {
  return text.rfind(start, 0) == 0;
}

bool IsOnlyInJson(const char* name) {
  return std::any_of(std::begin(kOnlyInJson), std::end(kOnlyInJson),
                     [name](const char* other) { return std::strcmp(name, other) == 0; });
}

std::string NameOf(Show show, int number) {
  const Meaning* meaning = nullptr;
  if (show == Show::kPopup) meaning = nuv_find_number(NUV_NUMBER_POPUP, number);
  if (show == Show::kNamed) meaning = FindMeaning(number);
  return meaning != nullptr ? meaning->name : "";
}

int NumberOf(GVariant* value) {
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)) return static_cast<int>(g_variant_get_uint32(value));
  if (g_variant_is_of_type(value, G_VARIANT_TYPE_BOOLEAN)) return g_variant_get_boolean(value) != FALSE ? 1 : 0;
  return g_variant_get_int32(value);
}

void AddNumber(WatchLine& line, const Part& part, int number) {
  const std::string name = NameOf(part.show, number);
  line.fields[part.name] = number;
  if (part.show != Show::kNumber) line.fields[std::string(part.name) + "_name"] = name.empty() ? Value() : Value(name);
  if (IsOnlyInJson(part.name)) return;
  line.text += std::string(" ") + part.name + "=" + std::to_string(number);
  if (!name.empty()) line.text += " (" + name + ")";
}

void AddText(WatchLine& line, const Part& part, const std::string& text) {
  line.fields[part.name] = text;
  if (IsOnlyInJson(part.name) || (text.empty() && part.show != Show::kApp)) return;
  line.text += std::string(" ") + part.name + "=" + Quoted(text);
}

void AddPairs(WatchLine& line, const Part& part, const ExtraData& pairs) {
  List list;
  std::string text;
  list.reserve(pairs.size());
  for (const auto& [key, value] : pairs) {
    list.emplace_back(Fields{{"key", key}, {"value", value}});
    text += text.empty() ? "" : ", ";
    text += Quoted(key);
    text += "=";
    text += Quoted(value);
  }
  line.fields[part.name] = list;
  if (!pairs.empty()) line.text += std::string(" ") + part.name + "={" + text + "}";
}

// The flags come as words of one list.
struct Flags {
  bool any = false;
  std::vector<std::string> set;

  void Add(const Part& part, GVariant* value) {
    any = true;
    if (NumberOf(value) != 0) set.emplace_back(part.name);
  }
  void Put(WatchLine& line) const {
    if (!any) return;
    line.fields["flags"] = ListOf(set);
    if (set.empty()) return;
    line.text += " flags=";
    for (const std::string& flag : set) line.text += (&flag == &set.front() ? "" : ",") + flag;
  }
};

// Fills in the application, where one is named.
void AddParts(WatchLine& line, const std::vector<Part>& parts, GVariant* body, std::string& app) {
  Flags flags;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const Part& part = parts[i];
    const VariantOwner value(g_variant_get_child_value(body, i));
    switch (part.show) {
      case Show::kApp:
        app = g_variant_get_string(value.get(), nullptr);
        [[fallthrough]];
      case Show::kText:
      case Show::kSecret:
        AddText(line, part, g_variant_get_string(value.get(), nullptr));
        break;
      case Show::kPin:
        AddText(line, part, "****");
        break;
      case Show::kFlag:
        flags.Add(part, value.get());
        break;
      case Show::kPairs:
      case Show::kTextPairs:
        AddPairs(line, part, ExtraDataOf(value.get()));
        break;
      case Show::kNumber:
      case Show::kNamed:
      case Show::kPopup:
        AddNumber(line, part, NumberOf(value.get()));
        break;
    }
  }
  flags.Put(line);
}

void AddUnknown(WatchLine& line, GVariant* body) {
  if (body == nullptr) return;
  const TextOwner text(g_variant_print(body, FALSE));
  line.text += " arguments=" + Printable(text.get());
  line.fields["arguments"] = text.get();
}

std::string SignatureOf(GVariant* body) {
  if (body == nullptr) return "";
  const std::string type = g_variant_get_type_string(body);
  return type.substr(1, type.size() - 2);
}

int IntegerAt(GVariant* body, gsize place) {
  const VariantOwner value(g_variant_get_child_value(body, place));
  return g_variant_get_int32(value.get());
}

std::string TextAt(GVariant* body, gsize place) {
  const VariantOwner value(g_variant_get_child_value(body, place));
  return g_variant_get_string(value.get(), nullptr);
}

std::string TextField(const Fields& fields, const char* key) {
  for (const Field& field : fields) {
    if (field.key != key) continue;
    const auto* text = std::get_if<std::string>(&field.value);
    return text != nullptr ? *text : "";
  }
  return "";
}

std::string WithMicroseconds(GDateTime* time, const char* format) {
  const TextOwner seconds(g_date_time_format(time, format));
  char fraction[16];
  std::snprintf(fraction, sizeof fraction, ".%06d", g_date_time_get_microsecond(time));
  return std::string(seconds.get()) + fraction;
}

std::string RawOf(const Entry& entry) {
  const recording::MessageOwner message = recording::MessageOf(entry);
  if (message == nullptr) return "";
  const TextOwner printed(g_dbus_message_print(message.get(), 2));
  std::istringstream lines(printed.get());
  std::string raw;
  for (std::string line; std::getline(lines, line);) {
    raw += '\n';
    raw += Printable(line);
  }
  return raw;
}

GDateTime* TimeOf(const std::string& started) {
  GDateTime* time = g_date_time_new_from_iso8601(started.c_str(), nullptr);
  return time != nullptr ? time : g_date_time_new_from_unix_utc(0);
}

}  // namespace

MessageLines::MessageLines(const std::string& started, LineFilter filter, Form form)
    : started_(TimeOf(started), g_date_time_unref), filter_(std::move(filter)), form_(form) {}

std::optional<std::string> MessageLines::LineOf(const Entry& entry) {
  Keep(entry);
  const std::optional<Shown> shown = ShownOf(entry);
  if (!shown || !IsWanted(*shown, entry)) return std::nullopt;
  return Whole(*shown, entry);
}

void MessageLines::Keep(const Entry& entry) {
  if (entry.kind == Kind::kClient) clients_[entry.name] = {entry.pid, entry.program};
  if (entry.kind == Kind::kOwner) owners_[entry.name] = entry.owner;
}

std::optional<MessageLines::Shown> MessageLines::ShownOf(const Entry& entry) {
  if (entry.kind == Kind::kOwner) return ShownOfOwner(entry);
  if (entry.kind == Kind::kEnd) {
    return Shown{{"end reason=" + Quoted(entry.reason), {{"kind", "end"}, {"reason", entry.reason}}}, "", "", "", ""};
  }
  if (entry.kind == Kind::kLost) {
    Shown shown{{"lost", {{"kind", "lost"}, {"count", static_cast<std::int64_t>(entry.count)}}}, "", "", "", ""};
    shown.line.text += entry.count != 0 ? " count=" + std::to_string(entry.count) : " count=unknown";
    if (!entry.sender.empty()) AddEnd(shown.line, "from", entry.sender);
    return shown;
  }
  if (!recording::IsMessage(entry.kind)) return std::nullopt;
  const recording::MessageOwner message = recording::MessageOf(entry);
  if (message == nullptr) return std::nullopt;
  GVariant* const body = g_dbus_message_get_body(message.get());
  if (entry.kind == Kind::kCall) return ShownOfCall(entry, body);
  if (entry.kind != Kind::kSignal) return ShownOfAnswer(entry, body);
  if (entry.interface != kSimulatorInterface || body == nullptr || owners_[kSimulatorName] != entry.sender) {
    return std::nullopt;
  }
  const std::optional<WatchLine> line = LineOfSignal(entry.member, body);
  if (!line) return std::nullopt;
  return Shown{*line, TextField(line->fields, "app"), TextField(line->fields, "method"), "", ""};
}

std::optional<MessageLines::Shown> MessageLines::ShownOfOwner(const Entry& entry) const {
  if (entry.name != kSimulatorName) return std::nullopt;
  return Shown{LineOfService(!entry.owner.empty()), "", "", "", ""};
}

std::optional<MessageLines::Shown> MessageLines::ShownOfCall(const Entry& entry, GVariant* body) {
  Shown shown{{"call " + Printable(entry.member), {{"kind", "call"}, {"method", entry.member}}},
              "",
              entry.member,
              entry.interface,
              ""};
  AddEnds(shown.line, entry);
  const Method* known = FindMethod(entry.member, SignatureOf(body));
  if (known != nullptr && body != nullptr) AddParts(shown.line, known->arguments, body, shown.app);
  if (known == nullptr) AddUnknown(shown.line, body);
  const Call call = {entry.t_us, entry.sender, entry.member, entry.interface, shown.app, known};
  calls_[{entry.sender, entry.serial}] = call;
  if (known == nullptr) return shown;
  if (entry.member == "launch_app") launches_[{TextAt(body, 0), IntegerAt(body, 9)}] = call;
  if (entry.member == "app_launch_result" && StartsWith(entry.path, kClientObjects)) {
    const Call* launch = launches_.Find({entry.path.substr(std::strlen(kClientObjects)), IntegerAt(body, 5)});
    if (launch != nullptr) {
      shown.to = launch->caller;
      AddEnd(shown.line, "to", launch->caller);
      shown.line.text += " of=" + launch->method;
      shown.line.fields["of"] = launch->method;
      AddAfter(shown.line, launch->t_us, entry.t_us);
    }
  }
  return shown;
}

std::optional<MessageLines::Shown> MessageLines::ShownOfAnswer(const Entry& entry, GVariant* body) {
  const CallKey key = {entry.destination, entry.reply_to};
  const Call* found = calls_.Find(key);
  const std::optional<Call> call = found != nullptr ? std::optional(*found) : std::nullopt;
  calls_.Erase(key);
  const char* kind = entry.kind == Kind::kError ? "error" : "return";
  Shown shown{{kind, {{"kind", kind}}}, "", "", "", ""};
  shown.line.fields["method"] = call ? Value(call->method) : Value();
  if (call) {
    shown.app = call->app;
    shown.method = call->method;
    shown.interface = call->interface;
    shown.line.text += " " + Printable(call->method);
  }
  AddEnds(shown.line, entry);
  if (call) AddAfter(shown.line, call->t_us, entry.t_us);
  if (call && !call->app.empty()) shown.line.fields["app"] = call->app;
  if (entry.kind == Kind::kError) {
    const std::string text = SignatureOf(body).rfind('s', 0) == 0 ? TextAt(body, 0) : "";
    shown.line.text += " name=" + Printable(entry.error) + " text=" + Quoted(text);
    shown.line.fields["name"] = entry.error;
    shown.line.fields["text"] = text;
    return shown;
  }
  std::string app;
  const bool as_known = call && call->known != nullptr && SignatureOf(body) == call->known->reply_signature;
  if (as_known && body != nullptr) AddParts(shown.line, call->known->reply, body, app);
  if (!as_known) AddUnknown(shown.line, body);
  if (shown.app.empty()) shown.app = app;
  return shown;
}

void MessageLines::AddEnds(WatchLine& line, const Entry& entry) {
  AddEnd(line, "from", entry.sender);
  const Client* to = clients_.Find(entry.destination);
  if (entry.kind != Kind::kCall || to != nullptr) AddEnd(line, "to", entry.destination);
}

// The process, and where nobody knows it the name on the bus.
void MessageLines::AddEnd(WatchLine& line, const char* key, const std::string& name) {
  Fields end = {{"name", name}};
  const Client* client = clients_.Find(name);
  line.text += std::string(" ") + key + "=";
  if (client != nullptr) {
    line.text += std::to_string(client->pid) + "/" + Printable(client->program);
    end["pid"] = client->pid;
    end["program"] = client->program;
  } else {
    line.text += Printable(name);
  }
  line.fields[key] = end;
}

void MessageLines::AddAfter(WatchLine& line, std::int64_t since_us, std::int64_t t_us) const {
  const std::int64_t after = t_us - since_us;
  char text[48];
  std::snprintf(text, sizeof text, " after=%lld.%03dms", static_cast<long long>(after / 1000),
                static_cast<int>(after % 1000));
  line.text += text;
  line.fields["after_us"] = after;
}

bool MessageLines::IsWanted(const Shown& shown, const Entry& entry) {
  if (entry.t_us < filter_.since_us) return false;
  if (!recording::IsMessage(entry.kind)) return true;
  const bool common = shown.method == kHeartbeat || StartsWith(shown.interface, kEveryPrograms);
  if (common && !filter_.all && entry.kind != Kind::kError) return false;
  if (filter_.app && *filter_.app != shown.app) return false;
  if (filter_.method && *filter_.method != shown.method) return false;
  return !filter_.pid || IsOfProcess(entry.sender, *filter_.pid) || IsOfProcess(entry.destination, *filter_.pid) ||
         IsOfProcess(shown.to, *filter_.pid);
}

bool MessageLines::IsOfProcess(const std::string& name, int pid) {
  const Client* client = clients_.Find(name);
  return client != nullptr && client->pid == pid;
}

std::string MessageLines::Whole(const Shown& shown, const Entry& entry) const {
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> time(g_date_time_add(started_.get(), entry.t_us),
                                                              g_date_time_unref);
  if (form_ == Form::kJson) {
    Fields fields = {{"time", WithMicroseconds(time.get(), "%Y-%m-%dT%H:%M:%S") + "Z"}, {"t", entry.t_us}};
    fields.Update(shown.line.fields);
    return ToJson(fields);
  }
  const std::unique_ptr<GDateTime, void (*)(GDateTime*)> local(g_date_time_to_local(time.get()), g_date_time_unref);
  const std::string line = WithMicroseconds(local.get(), "%H:%M:%S") + " " + shown.line.text;
  return form_ == Form::kRaw && recording::IsMessage(entry.kind) ? line + RawOf(entry) : line;
}
