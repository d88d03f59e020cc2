#include "pin/pin_gate.h"

#include <utility>

#include "pin/pin_dialog.h"
#include "pin/pin_popup.h"

namespace simulator {
namespace {

// How long a client has to close the dialog of a launch that was refused.
constexpr int kClosingMs = 1000;

const char* NameOf(PinOutcome outcome) {
  switch (outcome) {
    case PinOutcome::kRight:
      return "right";
    case PinOutcome::kWrong:
      return "wrong";
    case PinOutcome::kCancelled:
      return "cancelled";
    case PinOutcome::kNotAsked:
      break;
  }
  return "not asked";
}

std::string WrongPin(std::string pin) {
  pin.back() = pin.back() == '9' ? '0' : static_cast<char>(pin.back() + 1);
  return pin;
}

}  // namespace

PinGate::PinGate(const Options& options, ScenarioFile& scenario, CatalogueDb& catalogue, Applications& applications,
                 const Journal& journal)
    : options_(options), scenario_(scenario), catalogue_(catalogue), applications_(applications), journal_(journal) {
  applications_.OnEnded([this](pid_t pid, int) { Ended(pid); });
}

std::vector<std::string> PinGate::SourceList() {
  std::vector<std::string> sources;
  if (scenario_.AnswersPins()) sources.push_back("the scenario " + options_.scenario);
  if (options_.pin_answer) {
    sources.push_back("--pin-answer " + PinAnswerNames()[static_cast<std::size_t>(*options_.pin_answer)]);
  } else if (askers_ > 0) {
    sources.emplace_back("a client that asks for it");
  } else if (terminal_.Available()) {
    sources.emplace_back("the terminal");
  } else if (const AppRecord asks = CommonUi(); !FindProgram(asks.install_path, asks.id).empty()) {
    sources.push_back("the application " + asks.id);
  }
  return sources;
}

std::string PinGate::Sources() {
  const std::vector<std::string> sources = SourceList();
  if (sources.empty()) return "nobody: locked applications are refused";
  std::string text = sources.front();
  for (std::size_t i = 1; i < sources.size(); ++i) text += ", then " + sources[i];
  return text;
}

AppRecord PinGate::CommonUi() {
  AppRecord record;
  record.platform_id = kCommonUiApp;
  record.app_type = kNativeApp;
  record.launchable = true;
  record = catalogue_.Find(kCommonUiApp).value_or(record);
  record.id = kCommonUiApp;
  return record;
}

std::optional<PinScript> PinGate::FindScript(const std::string& app_id) {
  if (auto script = scenario_.MatchPin(app_id)) {
    journal_.Note("rule    " + script->place + " matches pin_dialog app=\"" + app_id + "\"");
    return script;
  }
  if (options_.pin_answer) return PinScript{*options_.pin_answer, 0, ""};
  return std::nullopt;
}

pid_t PinGate::Ask(const std::string& app_id, const ExtraData& extra_data, const Done& done) {
  Question question{++last_number_, app_id, extra_data, FindScript(app_id), done};
  if (!dialog_) return Show(std::move(question)) ? dialog_->pid : 0;
  if (!CanAsk(question, CommonUi())) return 0;
  waiting_.push_back(std::move(question));
  return dialog_->pid;
}

// A program of the catalogue's own may find other ways to ask than the terminal.
bool PinGate::CanAsk(const Question& question, const AppRecord& common_ui) const {
  if (!common_ui.launchable) return false;
  return question.script || askers_ > 0 || terminal_.Available() ||
         !FindProgram(common_ui.install_path, common_ui.id).empty();
}

bool PinGate::Show(Question question) {
  const AppRecord record = CommonUi();
  if (!CanAsk(question, record)) return false;
  ProgramInput input = InputFor(question);
  const bool for_asker = IsForAsker(question);
  input.on_terminal = !question.script && !for_asker && terminal_.Available();
  applications_.Terminate(record.id);  // one that was started for another purpose
  if (input.on_terminal) terminal_.Lend();
  const pid_t pid = applications_.Start(record, input, AppStatus::kVisible);
  if (pid == 0) return false;
  if (input.on_terminal) terminal_.LentTo(pid);
  journal_.Note("pin     asked for " + question.app_id + " question=" + std::to_string(question.number));
  dialog_ = Dialog{std::move(question), pid, 0, for_asker};
  last_dialog_ = pid;
  if (for_asker) journal_.PinAsked(dialog_->question.number, dialog_->question.app_id);
  return true;
}

void PinGate::SetAskers(std::size_t count) {
  askers_ = count;
  if (count == 0 && dialog_ && dialog_->asked_by_client) Cancel(dialog_->question.number);
}

void PinGate::ShowNext() {
  while (!dialog_ && !waiting_.empty()) {
    const Question question = std::move(waiting_.front());
    waiting_.pop_front();
    bool shown = false;
    try {
      shown = Show(question);
    } catch (const DatabaseError& error) {
      Warn(question.app_id + ": " + error.what());
    }
    if (!shown) question.done(PinOutcome::kNotAsked);
  }
}

ProgramInput PinGate::InputFor(const Question& question) const {
  ProgramInput input;
  input.app_id = kCommonUiApp;
  input.extra_data = question.extra_data;
  input.built_in = PinDialogCommand();
  DialogTask task;
  if (question.script) {
    const PinAnswer answer = question.script->answer;
    constexpr DialogTask::Action kActions[] = {DialogTask::kEnter, DialogTask::kEnter, DialogTask::kCancel,
                                               DialogTask::kNothing};
    task.action = kActions[static_cast<int>(answer)];
    task.pin = answer == PinAnswer::kWrong ? WrongPin(options_.pin) : options_.pin;
    task.delay_ms = question.script->delay_ms;
  }
  if (IsForAsker(question)) task.action = DialogTask::kNothing;
  task.question = question.number;
  task.app_id = question.app_id;
  input.variables = Pack(task);
  return input;
}

bool PinGate::IsOpen(guint question) const {
  return dialog_ && dialog_->question.number == question && dialog_->question.done;
}

std::optional<bool> PinGate::Enter(guint question, const std::string& pin) {
  if (!IsOpen(question)) return std::nullopt;
  const bool right = pin == options_.pin;
  Answered(right ? PinOutcome::kRight : PinOutcome::kWrong);
  return right;
}

bool PinGate::Cancel(guint question) {
  if (!IsOpen(question)) return false;
  Answered(PinOutcome::kCancelled);
  return true;
}

// When a launch is refused, the client closes the dialog. Until then no other dialog may show: the client would close
// that one instead.
void PinGate::Answered(PinOutcome outcome) {
  const Done done = std::exchange(dialog_->question.done, nullptr);
  if (dialog_->asked_by_client) journal_.PinClosed(dialog_->question.number);
  const auto close = [this] { applications_.Terminate(kCommonUiApp); };
  journal_.Note("pin     " + dialog_->question.app_id + " " + NameOf(outcome));
  terminal_.TakeBack();
  if (outcome == PinOutcome::kRight) {
    close();
  } else {
    dialog_->closing = After(kClosingMs, [this, close] {
      dialog_->closing = 0;
      close();
    });
  }
  done(outcome);
}

void PinGate::Ended(pid_t pid) {
  if (!dialog_ || dialog_->pid != pid) return;
  const Dialog dialog = std::move(*dialog_);
  dialog_.reset();
  terminal_.TakeBack();
  if (dialog.closing != 0) g_source_remove(dialog.closing);
  if (dialog.question.done) {
    if (dialog.asked_by_client) journal_.PinClosed(dialog.question.number);
    journal_.Note("pin     " + dialog.question.app_id + " cancelled: the dialog has ended");
    dialog.question.done(PinOutcome::kCancelled);
  }
  ShowNext();
}

}  // namespace simulator
