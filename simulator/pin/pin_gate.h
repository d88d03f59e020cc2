// Asks for the PIN before a launch: one dialog at a time, the other questions wait.
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>

#include "applications.h"
#include "catalogue/catalogue_db.h"
#include "options.h"
#include "pin/terminal.h"
#include "scenario_file.h"

namespace simulator {

enum class PinOutcome { kRight, kWrong, kCancelled, kNotAsked };

class PinGate {
 public:
  using Done = std::function<void(PinOutcome)>;

  PinGate(const Options& options, ScenarioFile& scenario, CatalogueDb& catalogue, Applications& applications,
          const Journal& journal);

  // Asks for the PIN of a launch of the application; the dialog gets the extra data. The outcome comes once and later.
  // The process id of the dialog that shows, or 0, and then no outcome comes, when there is nobody to ask.
  pid_t Ask(const std::string& app_id, const ExtraData& extra_data, const Done& done);

  // What the dialog has to say about its question. Nothing or false when that is not the question that is open.
  std::optional<bool> Enter(guint question, const std::string& pin);  // whether it was the right one
  bool Cancel(guint question);

  // So many clients on the bus ask the user in place of the terminal. Without any, the question that one of them has
  // open is cancelled.
  void SetAskers(std::size_t count);

  // Who is asked, in words: in this order, the first that has an answer.
  std::string Sources();
  std::vector<std::string> SourceList();

  // Of the dialog that shows or was the last to do so; 0 before the first.
  pid_t last_dialog() const { return last_dialog_; }
  // What is shown as the common-UI application: the catalogue's, or one of our own where it has none.
  AppRecord CommonUi();

 private:
  struct Question {
    guint number = 0;
    std::string app_id;
    ExtraData extra_data;
    std::optional<PinScript> script;
    Done done;
  };
  struct Dialog {
    Question question;  // without its done when it was answered
    pid_t pid = 0;
    guint closing = 0;  // timer
    bool asked_by_client = false;
  };

  std::optional<PinScript> FindScript(const std::string& app_id);
  bool CanAsk(const Question& question, const AppRecord& common_ui) const;
  bool Show(Question question);  // throws
  bool IsForAsker(const Question& question) const { return !question.script && askers_ > 0; }
  void ShowNext();
  ProgramInput InputFor(const Question& question) const;
  bool IsOpen(guint question) const;
  void Answered(PinOutcome outcome);
  void Ended(pid_t pid);

  const Options& options_;
  ScenarioFile& scenario_;
  CatalogueDb& catalogue_;
  Applications& applications_;
  const Journal& journal_;
  Terminal terminal_;
  guint last_number_ = 0;
  std::deque<Question> waiting_;
  std::optional<Dialog> dialog_;
  pid_t last_dialog_ = 0;
  std::size_t askers_ = 0;
};

}  // namespace simulator
