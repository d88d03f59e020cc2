// Scenario files of nuv-simulator: any bytes become rules or an error that names the place, and only replies that can
// be sent are accepted.
#include "simulator/scenario.h"

#include <nlohmann/json.hpp>

#include "simulator/scenario_file.h"
#include "support/input.h"
#include "support/text_file.h"

namespace {

using simulator::Rule;
using simulator::ScriptedResult;

bool Within(int value, int low, int high) {
  return value >= low && value <= high;
}

void CheckResult(const ScriptedResult& result) {
  MUST(Within(result.delay_ms, 0, 3600 * 1000));
  MUST(Within(result.times, 0, 10000));
}

// What the service may rely on when it follows a rule.
void CheckRule(const Rule& rule) {
  MUST(Within(rule.delay_ms, 0, 3600 * 1000));
  MUST(g_dbus_is_interface_name(rule.error_name.c_str()));
  MUST(g_utf8_validate(rule.error_message.c_str(), -1, nullptr));
  MUST(rule.TakesEffect() == (rule.start ? *rule.start : rule.answer == simulator::Answer::kNormal));
  if (!rule.reply.empty()) {
    std::string error;
    const simulator::VariantPtr reply = simulator::ParseReply(rule.reply, &error);
    MUST(reply != nullptr && g_variant_is_of_type(reply.get(), G_VARIANT_TYPE_TUPLE));
    MUST(g_variant_is_normal_form(reply.get()));
  }
  if (!rule.results) return;
  for (const ScriptedResult& result : *rule.results) CheckResult(result);
}

// Every number of a scenario that was accepted has 32 bits.
void CheckNumbers(const nlohmann::json& document) {
  for (const auto& member : document.flatten()) {
    if (member.is_number_unsigned()) MUST(member.get<uint64_t>() <= INT32_MAX);
    if (member.is_number()) MUST(member.is_number_integer() && member.get<int64_t>() >= INT32_MIN);
  }
}

// Each match is of the call's method and application, and a counted rule is used up.
void Match(simulator::Scenario& scenario) {
  for (const char* method : {"launch_app", "heartbeat", "get_extra_app"}) {
    for (const char* app : {"app", ""}) {
      for (int call = 0; call < 3; ++call) {
        const Rule rule = scenario.Match(method, app);
        MUST(rule.method.value_or(method) == method);
        MUST(rule.app.value_or(app) == app);
        MUST(!rule.count || *rule.count >= 0);
        CheckRule(rule);
      }
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The file is changed once while it is used.
  const std::string whole(reinterpret_cast<const char*>(data), size);
  const size_t cut = whole.find('\f');
  fuzz::TextFile file(whole.substr(0, cut));
  try {
    simulator::ScenarioFile scenario(file.path());
    CheckNumbers(nlohmann::json::parse(whole.substr(0, cut)));
    Match(scenario.Current());
    if (cut != std::string::npos) file.Replace(whole.substr(cut + 1));
    Match(scenario.Current());
  } catch (const simulator::JsonError& error) {
    MUST(std::string(error.what()).find(file.path() + ": ") == 0);
  }
  return 0;
}
