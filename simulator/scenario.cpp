#include "scenario.h"

#include <functional>
#include <map>

namespace simulator {
namespace {

using nlohmann::json;

constexpr int kLongestDelayMs = 3600 * 1000;
constexpr int kMostRepeats = 10000;
constexpr const char* kPinDialog = "pin_dialog";  // stands for a method

// One reader per key; the tables below are the whole format.
template <typename T>
using Readers = std::map<std::string, std::function<void(const json&, T&)>>;

std::string ReadText(const json& value) {
  if (!value.is_string()) throw ScenarioError("has to be a text");
  return value.get<std::string>();
}

bool ReadFlag(const json& value) {
  if (!value.is_boolean()) throw ScenarioError("has to be true or false");
  return value.get<bool>();
}

int ReadNumber(const json& value, std::int64_t low = INT32_MIN, std::int64_t high = INT32_MAX) {
  const std::string range = "has to be an integer from " + std::to_string(low) + " to " + std::to_string(high);
  if (!value.is_number_integer()) throw ScenarioError(range);
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT32_MAX) throw ScenarioError(range);
  const auto number = value.get<std::int64_t>();
  if (number < low || number > high) throw ScenarioError(range);
  return static_cast<int>(number);
}

Answer ReadAnswer(const json& value) {
  static const std::map<std::string, Answer> answers = {{"normal", Answer::kNormal},
                                                        {"none", Answer::kNone},
                                                        {"error", Answer::kError},
                                                        {"exit", Answer::kExit},
                                                        {"exit_after_reply", Answer::kExitAfterReply}};
  const auto found = answers.find(ReadText(value));
  if (found != answers.end()) return found->second;
  throw ScenarioError("has to be one of normal, none, error, exit, exit_after_reply");
}

PinAnswer ReadPinAnswer(const json& value) {
  if (const auto answer = ParsePinAnswer(ReadText(value))) return *answer;
  std::string names;
  for (const std::string& name : PinAnswerNames()) names += (names.empty() ? "" : ", ") + name;
  throw ScenarioError("has to be one of " + names);
}

std::string ReadErrorName(const json& value) {
  std::string name = ReadText(value);
  if (!g_dbus_is_interface_name(name.c_str())) throw ScenarioError("has to be a D-Bus error name");
  return name;
}

std::string ReadReply(const json& value) {
  std::string text = ReadText(value);
  std::string error;
  if (!ParseReply(text, &error)) throw ScenarioError(error);
  return text;
}

template <typename T>
T ReadObject(const json& value, const Readers<T>& readers) {
  if (!value.is_object()) throw ScenarioError(" has to be an object");
  T object;
  for (const auto& [key, member] : value.items()) {
    const auto reader = readers.find(key);
    if (reader == readers.end()) throw ScenarioError("." + key + ": there is no such key");
    try {
      reader->second(member, object);
    } catch (const ScenarioError& error) {
      const bool deeper = error.what()[0] == '[';
      throw ScenarioError("." + key + (deeper ? "" : " ") + error.what());
    }
  }
  return object;
}

template <typename T>
std::vector<T> ReadList(const json& value, const Readers<T>& readers) {
  if (!value.is_array()) throw ScenarioError("has to be a list");
  std::vector<T> list;
  for (const json& member : value) {
    try {
      list.push_back(ReadObject(member, readers));
    } catch (const ScenarioError& error) {
      throw ScenarioError("[" + std::to_string(list.size()) + "]" + error.what());
    }
  }
  return list;
}

const Readers<ScriptedResult>& ResultReaders() {
  using R = ScriptedResult;
  static const Readers<R> readers = {
      {"event", [](const json& v, R& r) { r.event = ReadNumber(v); }},
      {"res", [](const json& v, R& r) { r.result = ReadNumber(v); }},
      {"delay_ms", [](const json& v, R& r) { r.delay_ms = ReadNumber(v, 0, kLongestDelayMs); }},
      {"times", [](const json& v, R& r) { r.times = ReadNumber(v, 0, kMostRepeats); }},
      {"before_reply", [](const json& v, R& r) { r.before_reply = ReadFlag(v); }},
      {"thread_id_offset", [](const json& v, R& r) { r.thread_id_offset = ReadNumber(v); }},
      {"event_index_offset", [](const json& v, R& r) { r.event_index_offset = ReadNumber(v); }},
      {"cbtype", [](const json& v, R& r) { r.cb_type = ReadNumber(v); }},
  };
  return readers;
}

const Readers<Rule>& RuleReaders() {
  static const Readers<Rule> readers = {
      {"method", [](const json& v, Rule& r) { r.method = ReadText(v); }},
      {"app", [](const json& v, Rule& r) { r.app = ReadText(v); }},
      {"count", [](const json& v, Rule& r) { r.count = ReadNumber(v, 0); }},
      {"delay_ms", [](const json& v, Rule& r) { r.delay_ms = ReadNumber(v, 0, kLongestDelayMs); }},
      {"answer", [](const json& v, Rule& r) { r.answer = ReadAnswer(v); }},
      {"error_name", [](const json& v, Rule& r) { r.error_name = ReadErrorName(v); }},
      {"error_message", [](const json& v, Rule& r) { r.error_message = ReadText(v); }},
      {"reply", [](const json& v, Rule& r) { r.reply = ReadReply(v); }},
      {"start", [](const json& v, Rule& r) { r.start = ReadFlag(v); }},
      {"results", [](const json& v, Rule& r) { r.results = ReadList(v, ResultReaders()); }},
      {"pin", [](const json& v, Rule& r) { r.pin = ReadPinAnswer(v); }},
  };
  return readers;
}

// A rule for the dialog says what to answer, and no other rule does.
void CheckPins(const std::vector<Rule>& rules) {
  for (std::size_t i = 0; i < rules.size(); ++i) {
    if (rules[i].pin.has_value() == (rules[i].method == kPinDialog)) continue;
    throw ScenarioError("[" + std::to_string(i) + "].pin belongs to the method pin_dialog, and to no other");
  }
}

// Whether the rule is for the application, and, if so, one use of it.
bool Use(Rule& rule, const std::string& app) {
  if (rule.app.value_or(app) != app || rule.count == 0) return false;
  if (rule.count) --*rule.count;
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

Scenario::Scenario(const json& document) {
  try {
    rules_ = ReadList(document, RuleReaders());
    CheckPins(rules_);
  } catch (const ScenarioError& error) {
    throw ScenarioError("rules" + std::string(error.what()[0] == '[' ? "" : " ") + error.what());
  }
}

Rule Scenario::Match(const std::string& method, const std::string& app) {
  for (Rule& rule : rules_) {
    if (rule.method.value_or(method) == method && Use(rule, app)) return rule;
  }
  return {};
}

std::optional<PinScript> Scenario::MatchPin(const std::string& app) {
  for (Rule& rule : rules_) {
    if (rule.pin && Use(rule, app)) return PinScript{*rule.pin, rule.delay_ms};
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
