// nuv-session: a private TV, a bus with the Nuv service on it, for the time of a command.
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <sstream>

#include "command.h"
#include "completion/answer.h"
#include "failure.h"
#include "keeper.h"
#include "layout.h"
#include "options.h"
#include "sessions.h"
#include "shell.h"
#include "signals.h"

namespace {

using namespace session;

// A signal that came before there was a command to pass it on to.
struct Interrupted {
  int signal;
};

void Say(const std::string& text) {
  std::fprintf(stderr, "nuv-session: %s\n", text.c_str());
}

// What is opened later is not to be taken for a standard stream that was closed.
void OpenStandardStreams() {
  int file = open("/dev/null", O_RDWR);
  while (file >= 0 && file <= STDERR_FILENO) file = dup(file);
  if (file > STDERR_FILENO) close(file);
}

// Where the home screen is; empty where there is none.
std::string WaitUntilReady(KeeperLink& keeper, const Signals& signals) {
  for (;;) {
    pollfd watched[] = {{signals.get(), POLLIN, 0}, {keeper.get(), POLLIN, 0}};
    poll(watched, std::size(watched), -1);
    while (const auto signal = signals.Next()) {
      if (IsEnding(*signal)) throw Interrupted{static_cast<int>(signal->ssi_signo)};
    }
    if (watched[1].revents == 0) continue;
    const auto message = keeper.Receive();
    if (!message) throw Failure("the process that keeps the session was killed");
    if (message->word == Word::kReady) return message->text;
    if (message->word == Word::kFailed) throw Failure(message->text);
  }
}

std::vector<std::string> Joined(std::vector<std::string> one, const std::vector<std::string>& other) {
  one.insert(one.end(), other.begin(), other.end());
  return one;
}

// The command that was asked for, or the shell.
Program CommandFor(const std::vector<std::string>& command, const std::vector<std::string>& variables,
                   const std::string& name, const std::string& directory, const Signals& signals) {
  Program program;
  program.signal_mask = signals.mask_before();
  // It is the keeper that ends the command of a nuv-session that was killed; this is for when the keeper was as well.
  program.death_signal = SIGHUP;
  program.arguments = command;
  program.environment = EnvironmentWith(variables);
  if (!command.empty()) return program;
  const Shell shell = UserShell(name, directory);
  program.arguments = shell.command;
  program.environment = EnvironmentWith(Joined(shell.variables, variables));
  PrintHelp(name);
  return program;
}

void SetPath(const std::vector<std::string>& variables) {
  for (const std::string& variable : variables) {
    if (variable.rfind("PATH=", 0) == 0) setenv("PATH", variable.c_str() + 5, 1);
  }
}

std::string Packed(const std::vector<std::string>& variables) {
  std::string text;
  for (const std::string& variable : variables) text += variable + '\0';
  return text;
}

std::vector<std::string> Unpacked(const std::string& text) {
  std::vector<std::string> variables;
  std::istringstream in(text);
  for (std::string variable; std::getline(in, variable, '\0');) variables.push_back(variable);
  return variables;
}

// A session of this process's own, from the claim of its name to its end.
class OwnSession {
 public:
  OwnSession(const Options& options, const Signals& signals)
      : options_(options),
        signals_(signals),
        claim_(options.name),
        layout_(LayOut(claim_.name(), claim_.path(), options)),
        keeper_(layout_, options, claim_, signals) {}

  int Run() {
    int status = kOwnFailure;
    try {
      layout_.home = WaitUntilReady(keeper_, signals_);
      if (!layout_.home.empty()) Say("the home screen is at " + layout_.home);
      const auto variables = VariablesOf(layout_);
      WriteFile(layout_.EnvironmentFile(), Packed(variables));
      status = RunCommand(CommandFor(options_.command, variables, layout_.name, layout_.directory, signals_), signals_,
                          {[this](pid_t pid) { keeper_.TellCommand(pid); }, keeper_.get(), [this] { return Hear(); }});
    } catch (const Interrupted& interrupted) {
      status = kSignalled + interrupted.signal;
      started_ = false;
    } catch (const Failure& failure) {
      Say(failure.what());
      status = failure.exit_status();
      started_ = status != kOwnFailure;
    }
    return Finish(status);
  }

 private:
  // While the command runs. A keeper that goes without a word was killed, and the bus and the service with it.
  bool Hear() {
    if (keeper_.Receive()) return true;
    if (!keeper_.End()) EndWithoutKeeper(layout_);
    return false;
  }

  int Finish(int status) {
    const bool kept = keeper_.End();
    // What the command had left was this process's in the end.
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    for (const std::string& text : keeper_.lost()) Say(text);
    if (!kept) {
      EndWithoutKeeper(layout_);
      Say("the process that keeps the session was killed, and the session with it");
      return kOwnFailure;
    }
    if (started_ && !layout_.kept.empty()) Say("state and logs are kept in " + layout_.kept);
    return status;
  }

  const Options& options_;
  const Signals& signals_;
  Claim claim_;
  Layout layout_;
  KeeperLink keeper_;
  bool started_ = true;
};

int Attach(const Options& options, const Signals& signals) {
  const std::string directory = FindSession(options.attach);
  const std::string file = directory + "/environment";
  const auto variables = Unpacked(ReadFile(file));
  if (variables.empty()) throw Failure("the session " + options.attach + " is about to start or to end");
  SetPath(variables);
  if (!options.command.empty()) CheckCommand(options.command);
  const int status = RunCommand(CommandFor(options.command, variables, options.attach, directory, signals), signals,
                                {[](pid_t) {}, -1, {}});
  if (access(file.c_str(), F_OK) != 0) Say("the session " + options.attach + " has ended");
  return status;
}

Options Absolute(Options options) {
  for (std::string* path : {&options.seed, &options.scenario}) {
    if (!path->empty()) *path = std::filesystem::absolute(*path).string();
  }
  return options;
}

int Run(const Options& options) {
  const Signals signals;
  if (!options.attach.empty()) return Attach(options, signals);
  setenv("PATH", PathWithTools().c_str(), 1);
  if (!options.command.empty()) CheckCommand(options.command);
  return OwnSession(options, signals).Run();
}

}  // namespace

int main(int argc, char** argv) {
  OpenStandardStreams();
  int exit_status = 0;
  try {
    if (const auto answer = completion::AnswerShell(argc, argv, CompleteLine)) {
      std::fputs(answer->c_str(), stdout);
      return 0;
    }
    const auto options = ParseOptions(argc, argv, &exit_status);
    return options ? Run(Absolute(*options)) : exit_status;
  } catch (const Failure& failure) {
    Say(failure.what());
    return failure.exit_status();
  } catch (const std::exception& error) {
    Say(error.what());
    return kOwnFailure;
  }
}
