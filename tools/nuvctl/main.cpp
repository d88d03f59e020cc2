// nuvctl: launches applications through the Nuv service and talks to it, from a command line.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <variant>

#include "command/command_line.h"
#include "command/complete.h"
#include "command/guard.h"
#include "command/log_choice.h"
#include "completion/answer.h"
#include "report/terminal.h"
#include "report/text.h"

namespace {

int RunCommand(const Command& command) {
  SetUpLog(command.values.Flag("-v,--verbose"));
  ChooseColour(command.values.Text("--color", "auto"));
  return Print(command.Run(), command.values.Flag("--json"));
}

// A shell that asks has a user who is typing: not a line of the log comes between.
completion::Candidates CompleteQuietly(const std::vector<std::string>& words) {
  setenv("NUV_LOG", "off", 1);
  return CompleteLine(words);
}

int Run(int argc, char** argv) {
  if (const auto answer = completion::AnswerShell(argc, argv, CompleteQuietly)) {
    std::fputs(answer->c_str(), stdout);
    return 0;
  }
  const ParsedCommandLine parsed = ParseCommandLine(argc, argv);
  if (const auto* command = std::get_if<Command>(&parsed)) return RunCommand(*command);
  if (const auto* wrong = std::get_if<Report>(&parsed)) return Print(*wrong, AsksForJson(argc, argv));
  std::fputs(std::get<std::string>(parsed).c_str(), stdout);
  return 0;
}

// An answer that could not be written has not been given.
int WithOutputWritten(int status) {
  if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) return status;
  PrintError("cannot write to the standard output stream");
  return status != 0 ? status : ExitStatusOf(Outcome::kFailed);
}

}  // namespace

int main(int argc, char** argv) {
  int status = 0;
  try {
    status = WithOutputWritten(Run(argc, argv));
  } catch (const std::exception& error) {
    Report report;
    report.outcome = Outcome::kFailed;
    report.error = Printable(error.what());
    status = Print(report, AsksForJson(argc, argv));
  }
  if (WorkIsAbandoned()) std::_Exit(status);
  return status;
}
