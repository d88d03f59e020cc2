#include "scenario.h"

#include <algorithm>
#include <functional>
#include <map>

namespace simulator {
namespace {

constexpr int kLongestDelayMs = 3600 * 1000;
constexpr int kMostRepeats = 10000;
constexpr const char* kPinDialog = "pin_dialog";  // stands for a method

// One reader per key; the tables below are the whole format.
template <typename T>
using Readers = std::map<std::string, std::function<void(const Json&, T&)>>;

int ReadNumber(const Json& value, int low = INT32_MIN, int high = INT32_MAX) {
  const std::optional<std::int64_t> number = value.Integer();
  if (number && *number >= low && *number <= high) return static_cast<int>(*number);
  value.Refuse("has to be an integer from " + std::to_string(low) + " to " + std::to_string(high));
}

Answer ReadAnswer(const Json& value) {
  static const std::map<std::string, Answer> answers = {{"normal", Answer::kNormal},
                                                        {"none", Answer::kNone},
                                                        {"error", Answer::kError},
                                                        {"exit", Answer::kExit},
                                                        {"exit_after_reply", Answer::kExitAfterReply}};
  const auto found = answers.find(value.Text());
  if (found != answers.end()) return found->second;
  value.Refuse("has to be one of normal, none, error, exit, exit_after_reply");
}

PinAnswer ReadPinAnswer(const Json& value) {
  if (const auto answer = ParsePinAnswer(value.Text())) return *answer;
  std::string names;
  for (const std::string& name : PinAnswerNames()) names += (names.empty() ? "" : ", ") + name;
  value.Refuse("has to be one of " + names);
}

std::string ReadErrorName(const Json& value) {
  std::string name = value.Text();
  if (!g_dbus_is_interface_name(name.c_str())) value.Refuse("has to be a D-Bus error name");
  return name;
}

std::string ReadReply(const Json& value) {
  std::string text = value.Text();
  std::string error;
  if (!ParseReply(text, &error)) value.Refuse(error);
  return text;
}

template <typename T>
T ReadObject(const Json& value, const Readers<T>& readers) {
  T object;
  for (const auto& [key, member] : value.Members()) {
    const auto reader = readers.find(key);
    if (reader == readers.end()) throw JsonError(member.place() + ": there is no such key");
    reader->second(member, object);
  }
  return object;
}

template <typename T>
std::vector<T> ReadList(const Json& value, const Readers<T>& readers) {
  std::vector<T> list;
  for (const Json& member : value.Elements()) list.push_back(ReadObject(member, readers));
  return list;
}

const Readers<ScriptedResult>& ResultReaders() {
  using R = ScriptedResult;
  static const Readers<R> readers = {
      {"event", [](const Json& v, R& r) { r.event = ReadNumber(v); }},
      {"res", [](const Json& v, R& r) { r.result = ReadNumber(v); }},
      {"delay_ms", [](const Json& v, R& r) { r.delay_ms = ReadNumber(v, 0, kLongestDelayMs); }},
      {"times", [](const Json& v, R& r) { r.times = ReadNumber(v, 0, kMostRepeats); }},
      {"before_reply", [](const Json& v, R& r) { r.before_reply = v.Flag(); }},
      {"thread_id_offset", [](const Json& v, R& r) { r.thread_id_offset = ReadNumber(v); }},
      {"event_index_offset", [](const Json& v, R& r) { r.event_index_offset = ReadNumber(v); }},
      {"cbtype", [](const Json& v, R& r) { r.cb_type = ReadNumber(v); }},
  };
  return readers;
}

const Readers<Rule>& RuleReaders() {
  static const Readers<Rule> readers = {
      {"method", [](const Json& v, Rule& r) { r.method = v.Text(); }},
      {"app", [](const Json& v, Rule& r) { r.app = v.Text(); }},
      {"count", [](const Json& v, Rule& r) { r.count = ReadNumber(v, 0); }},
      {"delay_ms", [](const Json& v, Rule& r) { r.delay_ms = ReadNumber(v, 0, kLongestDelayMs); }},
      {"answer", [](const Json& v, Rule& r) { r.answer = ReadAnswer(v); }},
      {"error_name", [](const Json& v, Rule& r) { r.error_name = ReadErrorName(v); }},
      {"error_message", [](const Json& v, Rule& r) { r.error_message = v.Text(); }},
      {"reply", [](const Json& v, Rule& r) { r.reply = ReadReply(v); }},
      {"start", [](const Json& v, Rule& r) { r.start = v.Flag(); }},
      {"results", [](const Json& v, Rule& r) { r.results = ReadList(v, ResultReaders()); }},
      {"pin", [](const Json& v, Rule& r) { r.pin = ReadPinAnswer(v); }},
  };
  return readers;
}

// A rule for the dialog says what to answer, and no other rule does.
void CheckPins(const Json& document, const std::vector<Rule>& rules) {
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (rules[i].pin.has_value() == (rules[i].method == kPinDialog)) continue;
    throw JsonError(document.place() + "[" + std::to_string(i) +
                    "].pin belongs to the method pin_dialog, and to no other");
  }
}

// The places too, which nobody can read from a value afterwards.
void CheckMethods(const Json& document, std::vector<Rule>& rules, const Scenario::IsMethod& is_method) {
  for (std::size_t i = 0; i < rules.size(); ++i) {
    Rule& rule = rules[i];
    rule.place = document.place() + "[" + std::to_string(i) + "]";
    if (!rule.method || !is_method || *rule.method == kPinDialog || is_method(*rule.method)) continue;
    throw JsonError(rule.place + ".method: the service has no method \"" + *rule.method + "\"");
  }
}

// Whether the rule is for the application, and, if so, one use of it.
bool Use(Rule& rule, const std::string& app) {
  if (rule.app.value_or(app) != app || rule.count == 0) return false;
  if (rule.count) --*rule.count;
  rule.matched = true;
  return true;
}

// The bus drops whoever sends it a longer signature, or one that nests deeper.
constexpr std::size_t kLongestSignature = 255;
constexpr int kDeepest = 32;

bool NestsTooDeep(const std::string& type) {
  int structures = -1;  // the whole tuple is none
  int arrays = 0;
  for (const char c : type) {
    structures += c == '(' || c == '{' ? 1 : 0;
    structures -= c == ')' || c == '}' ? 1 : 0;
    arrays = c == 'a' ? arrays + 1 : 0;
    if (structures > kDeepest || arrays > kDeepest) return true;
  }
  return false;
}

// What GLib can describe in a text, but the bus does not carry: optional values, open files, structures of nothing.
bool CanTravel(GVariant* reply, std::string* error) {
  const std::string type = g_variant_get_type_string(reply);
  const ObjectPtr<GDBusMessage> message(g_dbus_message_new_signal("/", "a.b", "c"));
  Error failure;
  if (type.size() - 2 > kLongestSignature || NestsTooDeep(type) || type.find("()", 1) != std::string::npos ||
      type.find('h') != std::string::npos || g_variant_is_signature(type.c_str()) == FALSE) {
    *error = "cannot travel on the bus: it has the type " + type;
    return false;
  }
  g_dbus_message_set_body(message.get(), reply);
  gsize size = 0;
  const StringPtr blob(reinterpret_cast<char*>(
      g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, failure.out())));
  if (!blob) *error = "cannot travel on the bus: " + failure.message();
  return blob != nullptr;
}

}  // namespace

bool Rule::TakesEffect() const {
  return start.value_or(answer == Answer::kNormal);
}

Scenario::Scenario(const Json& rules, const IsMethod& is_method) : rules_(ReadList(rules, RuleReaders())) {
  CheckMethods(rules, rules_, is_method);
  CheckPins(rules, rules_);
}

Rule Scenario::Match(const std::string& method, const std::string& app) {
  for (Rule& rule : rules_) {
    if (rule.method.value_or(method) == method && Use(rule, app)) return rule;
  }
  return {};
}

bool Scenario::AnswersPins() const {
  return std::any_of(rules_.begin(), rules_.end(), [](const Rule& rule) { return rule.pin.has_value(); });
}

std::optional<PinScript> Scenario::MatchPin(const std::string& app) {
  for (Rule& rule : rules_) {
    if (rule.pin && Use(rule, app)) return PinScript{*rule.pin, rule.delay_ms, rule.place};
  }
  return std::nullopt;
}

VariantPtr ParseReply(const std::string& text, std::string* error) {
  Error failure;
  GVariant* parsed = g_variant_parse(nullptr, text.c_str(), nullptr, nullptr, failure.out());
  if (parsed == nullptr) {
    *error = "is no GVariant text: " + failure.message();
    return nullptr;
  }
  VariantPtr reply(g_variant_take_ref(parsed));
  if (!g_variant_is_of_type(reply.get(), G_VARIANT_TYPE_TUPLE)) {
    *error = "has to be a tuple, such as ('text', 5)";
    return nullptr;
  }
  return CanTravel(reply.get(), error) ? std::move(reply) : nullptr;
}

}  // namespace simulator
