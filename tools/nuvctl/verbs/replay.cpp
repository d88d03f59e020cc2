// nuvctl replay
#include "command/verb.h"
#include "replay/replay_run.h"
#include "report/text.h"

namespace replay_verb {
namespace {

constexpr unsigned kDefaultTimeoutMs = 15000;
constexpr size_t kMostInJson = 1000;

class Differences {
 public:
  Differences(const std::string& file, bool json) : file_(file), json_(json) {}

  void Add(const Difference& difference) {
    if (!json_) return Show(difference);
    if (list_.size() == kMostInJson) return;
    list_.push_back(Fields{{"place", difference.place},
                           {"client", difference.client},
                           {"call", difference.call},
                           {"recorded", ValueOf(difference.recorded)},
                           {"now", ValueOf(difference.now)}});
  }

  const List& list() const { return list_; }

 private:
  static Value ValueOf(const std::optional<std::string>& words) { return words ? Value(*words) : Value(); }

  void Show(const Difference& difference) {
    if (!begun_) {
      PrintLine(Printable("--- " + file_));
      PrintLine("+++ now");
      begun_ = true;
    }
    PrintLine(Printable("@@ " + difference.place + ", " + difference.client + ": " + difference.call + " @@"));
    if (difference.recorded) PrintLine(Printable("-" + *difference.recorded));
    if (difference.now) PrintLine(Printable("+" + *difference.now));
  }

  const std::string file_;
  const bool json_;
  bool begun_ = false;
  List list_;
};

Report RunReplay(const Values& values) {
  const std::string file = values.Text("FILE");
  Differences differences(file, values.Flag("--json"));
  const ReplayPlan plan = {file, values.Factor("--speed").value_or(1),
                           values.Milliseconds("--timeout").value_or(kDefaultTimeoutMs)};
  Report report = Replay(plan, [&](const Difference& difference) { differences.Add(difference); });
  if (values.Flag("--json")) report.details["different"] = differences.list();
  return report;
}

const RegisteredVerb kReplay(
    {"replay",
     Group::kDiagnosis,
     "Send a recording's calls again, and show what is answered otherwise",
     {Position("FILE", "Recording").Required().From(Live::kFiles),
      Option("--speed", "N", "So many times as fast as recorded (default 1); 0: without pauses").Factor(),
      Option("--timeout", "SECONDS", "Wait so long for each answer and result (default 15)").Seconds()},
     RunReplay});

}  // namespace
}  // namespace replay_verb
