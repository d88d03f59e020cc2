// What the service is to do wrong: a list of rules, the first that matches a call decides.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "glib_ptr.h"
#include "json.h"
#include "pin/pin_script.h"

namespace simulator {

enum class Answer { kNormal, kNone, kError, kExit, kExitAfterReply };

// A launch result to send in place of the real one. What is not given stays as in the request.
struct ScriptedResult {
  int event = 0;
  int result = 0;
  int delay_ms = 0;
  int times = 1;
  int thread_id_offset = 0;
  int event_index_offset = 0;
  bool before_reply = false;
  std::optional<int> cb_type;
};

struct Rule {
  std::string place;  // in its file; empty where no rule matched
  bool matched = false;

  // Which calls: any where not given.
  std::optional<std::string> method;
  std::optional<std::string> app;
  std::optional<int> count;  // how many more calls

  int delay_ms = 0;
  Answer answer = Answer::kNormal;
  std::string error_name = "org.freedesktop.DBus.Error.Failed";
  std::string error_message = "The scenario says so";
  std::string reply;  // GVariant text of the reply tuple; empty for the real one
  std::optional<bool> start;
  std::optional<std::vector<ScriptedResult>> results;
  std::optional<PinAnswer> pin;  // of the method pin_dialog, and of no other

  // Whether the call takes effect.
  bool TakesEffect() const;
};

class Scenario {
 public:
  using IsMethod = std::function<bool(const std::string& name)>;

  Scenario() = default;
  // Throws JsonError, also for a method that there is not; without the question any name is one.
  explicit Scenario(const Json& rules, const IsMethod& is_method = nullptr);

  const std::vector<Rule>& rules() const { return rules_; }

  // The rule for a call of a method on an application, counted as used. A call without a rule gets the one that
  // changes nothing.
  Rule Match(const std::string& method, const std::string& app);

  bool AnswersPins() const;  // for some application, at some time

  // What to answer when the PIN for the application is asked for, counted as used. Only rules that name the dialog say
  // that.
  std::optional<PinScript> MatchPin(const std::string& app);

 private:
  std::vector<Rule> rules_;
};

// The reply that a rule gives as text: a tuple, or null and *error.
VariantPtr ParseReply(const std::string& text, std::string* error);

}  // namespace simulator
