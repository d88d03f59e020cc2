#include "service/watch_lines.h"

#include <algorithm>

#include "glib_handles.h"
#include "report/text.h"
#include "service/meanings.h"

namespace {

enum class FieldType { kText, kSecret, kNumber, kNamedNumber, kMark };

struct SignalField {
  const char* key;  // null: there is no such field
  FieldType type;
};

constexpr size_t kMostFields = 6;

struct Signal {
  const char* name;
  const char* kind;
  const char* arguments;
  SignalField fields[kMostFields];
};

constexpr FieldType kText = FieldType::kText;
constexpr FieldType kSecret = FieldType::kSecret;
constexpr FieldType kNumber = FieldType::kNumber;
constexpr FieldType kNamed = FieldType::kNamedNumber;
constexpr FieldType kMark = FieldType::kMark;

constexpr Signal kSignals[] = {
    {"Request", "request", "(sss)", {{"method", kText}, {"app", kText}, {"caller", kText}}},
    {"Reply", "reply", "(sss)", {{"method", kText}, {"app", kText}, {"answer", kText}}},
    {"Result",
     "result",
     "(siiis)",
     {{"app", kText}, {"event", kNamed}, {"result", kNamed}, {"index", kNumber}, {"delivery", kText}}},
    {"AppStarted", "started", "(sib)", {{"app", kText}, {"pid", kNumber}, {"stand_in", kMark}}},
    {"AppStopped", "stopped", "(sii)", {{"app", kText}, {"pid", kNumber}, {"exit_status", kNumber}}},
    {"LaunchDelivered",
     "delivered",
     "(sissss)",
     {{"app", kText},
      {"pid", kNumber},
      {"payload", kSecret},
      {"caller", kText},
      {"uri", kSecret},
      {"extra_data", kSecret}}},
    {"PinAsked", "pin-asked", "(us)", {{"question", kNumber}, {"app", kText}}},
    {"PinClosed", "pin-closed", "(u)", {{"question", kNumber}}},
    {"ForegroundChanged", "front", "(s)", {{"app", kText}}},
};

void AddText(WatchLine& line, const SignalField& field, const std::string& value) {
  line.text += Quoted(value);
  line.fields[field.key] = value;
}

void AddNumber(WatchLine& line, const SignalField& field, int value) {
  line.text += std::to_string(value);
  line.fields[field.key] = value;
  if (field.type != FieldType::kNamedNumber) return;
  const Meaning* meaning = FindMeaning(value);
  if (meaning != nullptr) line.text += std::string(" (") + meaning->name + ")";
  line.fields[std::string(field.key) + "_name"] = meaning != nullptr ? Value(meaning->name) : Value();
}

// A word where it holds, and nothing where it does not.
void AddMark(WatchLine& line, const SignalField& field, bool holds) {
  std::string word = field.key;
  std::replace(word.begin(), word.end(), '_', '-');
  if (holds) line.text += " " + word;
  line.fields[field.key] = holds;
}

int NumberOf(GVariant* value) {
  if (!g_variant_is_of_type(value, G_VARIANT_TYPE_UINT32)) return g_variant_get_int32(value);
  return static_cast<int>(g_variant_get_uint32(value));
}

void AddField(WatchLine& line, const SignalField& field, GVariant* value) {
  if (field.type == FieldType::kMark) return AddMark(line, field, g_variant_get_boolean(value) != FALSE);
  line.text += std::string(" ") + field.key + "=";
  if (field.type == FieldType::kText || field.type == FieldType::kSecret) {
    AddText(line, field, g_variant_get_string(value, nullptr));
  } else {
    AddNumber(line, field, NumberOf(value));
  }
}

WatchLine MakeLine(const Signal& signal, GVariant* arguments) {
  WatchLine line = {signal.kind, {{"kind", signal.kind}}};
  for (gsize i = 0; i < g_variant_n_children(arguments); ++i) {
    const VariantOwner value(g_variant_get_child_value(arguments, i));
    AddField(line, signal.fields[i], value.get());
  }
  return line;
}

}  // namespace

const char kSimulatorName[] = "org.kelvo.tv.corvane.server";
const char kSimulatorPath[] = "/org/kelvo/tv/NuvSimulator";
const char kSimulatorInterface[] = "org.kelvo.tv.NuvSimulator1";

std::optional<WatchLine> LineOfSignal(const std::string& signal, GVariant* arguments) {
  for (const Signal& known : kSignals) {
    if (signal != known.name) continue;
    if (!g_variant_is_of_type(arguments, G_VARIANT_TYPE(known.arguments))) return std::nullopt;
    return MakeLine(known, arguments);
  }
  return std::nullopt;
}

std::vector<bool> SecretsOfSignal(const std::string& signal, const std::string& signature, size_t arguments) {
  for (const Signal& known : kSignals) {
    if (signal != known.name || "(" + signature + ")" != known.arguments) continue;
    std::vector<bool> secrets(arguments);
    for (size_t i = 0; i < arguments; ++i) secrets[i] = known.fields[i].type == FieldType::kSecret;
    return secrets;
  }
  return std::vector<bool>(arguments, true);
}

WatchLine LineOfService(bool present) {
  return {present ? "service present" : "service absent", {{"kind", "service"}, {"present", present}}};
}

std::string Print(const WatchLine& line, bool as_json) {
  return as_json ? ToJson(line.fields) : line.text;
}
