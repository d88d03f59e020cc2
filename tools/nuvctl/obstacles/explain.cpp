#include "obstacles/explain.h"

#include <nuv/nuv_app_records.h>

#include <algorithm>

#include "report/text.h"
#include "service/app_program.h"
#include "service/simulator_state.h"

namespace {

struct State {
  const char* column;
  int wanted;
};

// The states in which an application has to be for a lookup, in the order in which the library's condition names them.
struct Filter {
  State state;
  const char* key;
  const char* meaning;
};

constexpr Filter kFilters[] = {
    {{"install_state", 3}, "not-installed", "it is not installed"},
    {{"is_app_available", 1}, "unavailable", "it is not available"},
    {{"is_need_reset", 0}, "reset-pending", "it awaits a reset"},
};

constexpr State kVisible = {"is_hidden", 0};
constexpr State kLocked = {"is_lock", 1};

// The other columns in which a text that is no id may be found.
struct Hint {
  const char* column;
  const char* words;
};

constexpr Hint kHints[] = {
    {"run_title", "; it is a run title: use --title where there is one"},
    {"hybrid_app", "; it is the hybrid application of another one"},
};

// Counts the applications that a text may name. Where one count fails, none is used.
class AppCounter {
 public:
  explicit AppCounter(const std::string& name) : name_(name) {}

  int WithId(const std::vector<State>& states) {
    std::vector<_NUVDB_BIND_T> binds(3, Text());
    std::string clause = " where (id = ? or kelvo_id = ? or pkgname = ?)";
    for (const State& state : states) {
      clause += std::string(" and ") + state.column + " = ?";
      binds.push_back({2, "", state.wanted});
    }
    return Count(clause, binds);
  }

  int With(const char* column) { return Count(std::string(" where ") + column + " = ?", {Text()}); }

  int result() const { return result_; }

 private:
  _NUVDB_BIND_T Text() const { return {1, name_, 0}; }

  int Count(const std::string& clause, const std::vector<_NUVDB_BIND_T>& binds) {
    int count = 0;
    if (result_ == 0) result_ = GetAppsTableCount(&count, clause, 0, binds);
    return count;
  }

  const std::string name_;
  int result_ = 0;
};

std::vector<State> UsableStates() {
  std::vector<State> states;
  for (const Filter& filter : kFilters) states.push_back(filter.state);
  return states;
}

Reason MakeReason(const char* key, Outcome outcome, const std::string& words) {
  Reason reason;
  reason.obstacle = {key, {outcome, words}};
  return reason;
}

Reason StopsBoth(const char* key, Outcome outcome, const std::string& words) {
  Reason reason = MakeReason(key, outcome, words);
  reason.stops_lookup = reason.stops_launch = true;
  return reason;
}

Reason StopsLookup(const Obstacle& obstacle) {
  Reason reason;
  reason.obstacle = obstacle;
  reason.stops_lookup = true;
  return reason;
}

Reason Unknown(AppCounter& counter) {
  std::string words = "no application has it as id, kelvo id or package name";
  for (const Hint& hint : kHints) {
    if (counter.With(hint.column) > 0) words += hint.words;
  }
  return StopsBoth("unknown", Outcome::kNotFound, words);
}

// "it is not installed (install_state is not 3)", and of how many where several applications go by the name.
std::string WordsOf(const Filter& filter, int stopped, int all) {
  std::string words =
      std::string(filter.meaning) + " (" + filter.state.column + " is not " + std::to_string(filter.state.wanted);
  if (all > 1) words += " in " + std::to_string(stopped) + " of " + std::to_string(all) + " with this id";
  return words + ")";
}

void AddFilters(AppCounter& counter, int all, std::vector<Reason>& reasons) {
  for (const Filter& filter : kFilters) {
    const int stopped = all - counter.WithId({filter.state});
    if (stopped > 0) reasons.push_back(StopsBoth(filter.key, Outcome::kNotFound, WordsOf(filter, stopped, all)));
  }
}

// States that do not stop a lookup. Looks at the applications that the lookup finds, or at all of that
// name where it finds none.
void AddStates(AppCounter& counter, std::vector<State> base, std::vector<Reason>& reasons) {
  std::vector<State> visible = base;
  visible.push_back(kVisible);
  base.push_back(kLocked);
  if (counter.WithId(base) > 0) {
    reasons.push_back(MakeReason("locked", Outcome::kFailed, "it is locked: a launch needs the PIN (is_lock is 1)"));
    reasons.back().stops_launch = true;
  }
  if (counter.WithId(visible) == 0) {
    reasons.push_back(MakeReason("hidden", Outcome::kDone, "it is hidden: lists leave it out (is_hidden is not 0)"));
    reasons.back().stops_list = true;
  }
}

std::vector<Reason> ReasonsOf(AppCounter& counter) {
  std::vector<Reason> reasons;
  const int all = counter.WithId({});
  if (all == 0) {
    reasons.push_back(Unknown(counter));
    return reasons;
  }
  const bool usable = counter.WithId(UsableStates()) > 0;
  if (!usable) AddFilters(counter, all, reasons);
  AddStates(counter, usable ? UsableStates() : std::vector<State>(), reasons);
  return reasons;
}

// The simulator runs programs of this machine. Of another service it is not known what it runs.
void AddProgram(const std::string& name, std::vector<Reason>& reasons) {
  _APPS_INNER_INFO_T record;
  if (GetAppInnerInfo(name, &record) != 0 || HasProgram(record.install_path, record.id)) return;
  const std::optional<SimulatorState> simulator = AskSimulator();
  if (!simulator) return;
  const std::string path = record.install_path.empty() ? "the catalogue gives no install_path"
                                                       : "none is in " + Printable(record.install_path);
  const std::string then = simulator->has_stand_ins ? "a stand-in runs in its place" : "there are no stand-ins";
  reasons.push_back(MakeReason("no-program", Outcome::kFailed, "it has no program (" + path + "): " + then));
  reasons.back().stops_launch = !simulator->has_stand_ins;
}

Obstacle CountFailed(int result) {
  if (const auto obstacle = DatabaseObstacle()) return *obstacle;
  if (result == -2) return DatabaseIsBusy();
  return {"database-unreadable", {Outcome::kFailed, "the table of applications cannot be asked about the states"}};
}

// False where the catalogue cannot be read.
bool AddCatalogue(const std::string& app_id, std::vector<Reason>& reasons) {
  if (const auto obstacle = DatabaseObstacle()) {
    reasons.push_back(StopsLookup(*obstacle));
    return false;
  }
  AppCounter counter(app_id);
  const std::vector<Reason> found = ReasonsOf(counter);
  if (counter.result() != 0) {
    reasons.push_back(StopsLookup(CountFailed(counter.result())));
    return false;
  }
  reasons.insert(reasons.end(), found.begin(), found.end());
  AddProgram(app_id, reasons);
  return true;
}

void AddService(std::vector<Reason>& reasons) {
  const auto why = WhyOutOfReach();
  if (!why) return;
  Reason reason;
  reason.obstacle = {why->outcome == Outcome::kServiceGone ? "service-gone" : "bus-gone", *why};
  reason.stops_launch = true;
  reasons.push_back(reason);
}

}  // namespace

Explanation Explain(const std::string& app_id) {
  Explanation explanation;
  std::vector<Reason>& reasons = explanation.reasons;
  for (const Obstacle& guard : GuardObstacles()) reasons.push_back(StopsLookup(guard));
  const bool guarded = !reasons.empty();
  bool known = true;
  if (app_id.empty()) {
    reasons.push_back(StopsBoth("empty-id", Outcome::kNotFound, "an application with an empty id is never looked up"));
  } else {
    known = AddCatalogue(app_id, reasons);
  }
  AddService(reasons);
  const auto lookup_stopped = [](const Reason& reason) { return reason.stops_lookup; };
  const auto launch_stopped = [](const Reason& reason) { return reason.stops_launch; };
  explanation.lookup_finds = std::none_of(reasons.begin(), reasons.end(), lookup_stopped);
  if (std::any_of(reasons.begin(), reasons.end(), launch_stopped)) {
    explanation.launch_goes_ahead = false;
  } else if (known && !guarded) {
    explanation.launch_goes_ahead = true;
  }
  return explanation;
}
