#include "tv/simulator.h"

#include <utility>

namespace home {
namespace {

constexpr int kMostCalls = 1000;
constexpr std::int64_t kLargestQuestion = 0xffffffff;
constexpr std::size_t kLongestPin = 64;
constexpr int kSlowMs = 3000;

// A rule of a scenario, without the number of calls that it is for.
struct Fault {
  const char* name;
  Json rule;
};

const std::vector<Fault>& Faults() {
  static const std::vector<Fault> faults = {
      {"slow", {{"method", "launch_app"}, {"delay_ms", kSlowMs}}},
      {"silent", {{"method", "launch_app"}, {"answer", "none"}}},
      {"no-outcome", {{"method", "launch_app"}, {"results", Json::array()}}},
      {"failing", {{"method", "launch_app"}, {"answer", "error"}}},
      {"refusing", {{"method", "launch_app"}, {"start", false}, {"results", {{{"event", 903}, {"res", 404}}}}}},
      {"crashing", {{"method", "launch_app"}, {"start", false}, {"results", {{{"event", 903}, {"res", 406}}}}}},
      {"dying", {{"method", "launch_app"}, {"answer", "exit"}}},
      {"none", nullptr},
  };
  return faults;
}

// The answer to a page for that of the simulator.
Tv::Replied Passing(const Requests::Answer& answer) {
  return [answer](GVariant* reply, const std::string& error) {
    if (reply == nullptr) return answer(Refused(error));
    gboolean accepted = TRUE;
    if (g_variant_is_of_type(reply, G_VARIANT_TYPE("(b)"))) g_variant_get(reply, "(b)", &accepted);
    answer({{"ok", true}, {"accepted", accepted != FALSE}});
  };
}

guint32 QuestionOf(const RequestFields& fields) {
  return static_cast<guint32>(fields.Number("question", 0, kLargestQuestion));
}

}  // namespace

Simulator::Simulator(const Tv& tv, Listener listener) : tv_(tv), listener_(std::move(listener)) {}

void Simulator::SetThere(bool there) {
  there_ = there;
  if (!there) {
    asks_ = false;  // of one that has gone
    while (!pins_.empty()) Close(pins_.begin()->first);
  }
  AskOrNot();
}

void Simulator::SetPages(bool pages) {
  pages_ = pages;
  AskOrNot();
}

// Without a page nobody could be asked: another one is, or the launch is refused.
void Simulator::AskOrNot() {
  const bool ask = there_ && pages_;
  if (ask == asks_) return;
  asks_ = ask;
  if (there_) tv_.CallSimulator("AskForPins", g_variant_new("(b)", ask ? TRUE : FALSE), [](GVariant*, const auto&) {});
}

void Simulator::OnSignal(const std::string& signal, GVariant* arguments) {
  guint32 question = 0;
  if (signal == "PinAsked" && g_variant_is_of_type(arguments, G_VARIANT_TYPE("(us)"))) {
    const char* app = nullptr;
    g_variant_get(arguments, "(u&s)", &question, &app);
    pins_[question] = app;
    listener_.on_pin_asked(app, true);
    listener_.on_pins(Pins());
  } else if (signal == "PinClosed" && g_variant_is_of_type(arguments, G_VARIANT_TYPE("(u)"))) {
    g_variant_get(arguments, "(u)", &question);
    Close(question);
  }
}

void Simulator::Close(unsigned question) {
  const auto pin = pins_.find(question);
  if (pin == pins_.end()) return;
  const std::string app = pin->second;
  pins_.erase(pin);
  listener_.on_pin_asked(app, false);
  listener_.on_pins(Pins());
}

Json Simulator::Pins() const {
  Json pins = Json::array();
  for (const auto& [question, app] : pins_) pins.push_back({{"question", question}, {"app", app}});
  return pins;
}

void Simulator::EnterPin(const RequestFields& fields, const Requests::Answer& answer) const {
  const std::string pin = fields.Text("pin", kLongestPin);
  tv_.CallSimulator("EnterPin", g_variant_new("(us)", QuestionOf(fields), pin.c_str()), Passing(answer));
}

void Simulator::CancelPin(const RequestFields& fields, const Requests::Answer& answer) const {
  tv_.CallSimulator("CancelPin", g_variant_new("(u)", QuestionOf(fields)), Passing(answer));
}

void Simulator::SetFault(const RequestFields& fields, const Requests::Answer& answer) const {
  const std::string name = fields.Text("fault", 32);
  const auto calls = fields.NumberOr("calls", 1, kMostCalls, 1);
  for (const Fault& fault : Faults()) {
    if (name != fault.name) continue;
    Json rules = Json::array();
    if (!fault.rule.is_null()) {
      rules.push_back(fault.rule);
      rules[0]["count"] = calls;
    }
    return tv_.CallSimulator("SetRules", g_variant_new("(s)", rules.dump().c_str()), Passing(answer));
  }
  throw BadRequest("there is no such fault");
}

}  // namespace home
