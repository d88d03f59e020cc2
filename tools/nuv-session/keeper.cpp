#include "keeper.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <set>
#include <thread>

#include "belongings.h"
#include "bus_config.h"
#include "child.h"
#include "failure.h"
#include "log_tail.h"
#include "probe.h"
#include "processes.h"

namespace session {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kServicePatience = std::chrono::seconds(6);  // it gives its applications two
constexpr auto kHomePatience = std::chrono::seconds(2);
constexpr auto kBusPatience = std::chrono::seconds(2);
constexpr auto kReapEvery = std::chrono::milliseconds(5);
constexpr std::size_t kLongestMessage = 16384;
constexpr char kServiceName[] = "nuv-simulator";
constexpr char kHomeName[] = "nuv-home";

void CloseAllBut(std::initializer_list<int> kept) {
  std::vector<int> open_files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
    open_files.push_back(static_cast<int>(std::strtol(entry.path().filename().c_str(), nullptr, 10)));
  }
  for (const int file : open_files) {
    if (file > STDERR_FILENO && std::find(kept.begin(), kept.end(), file) == kept.end()) close(file);
  }
}

void EmptyStandardStreams() {
  const int null = open("/dev/null", O_RDWR | O_CLOEXEC);
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) dup2(null, stream);
  if (null > STDERR_FILENO) close(null);
}

// Thrown where the session is given up while it is being started.
struct Unwanted {};

class Keeper {
 public:
  Keeper(const Layout& layout, const Options& options, Claim& claim, const Signals& signals, Identity front, File link)
      : layout_(layout),
        options_(options),
        claim_(claim),
        signals_(signals),
        link_(std::move(link)),
        belongings_{front, {}, layout.mark} {}

  void Keep() {
    deadline_ = Clock::now() + std::chrono::seconds(options_.start_limit_s);
    try {
      StartAll();
      Send(Word::kReady, home_address_);
      Wait();
    } catch (const Failure& failure) {
      Send(Word::kFailed, failure.what());
      failed_ = true;
    } catch (const Unwanted&) {
      failed_ = true;
    }
    EndAll();
    Send(Word::kDone, "");
  }

 private:
  void Send(Word word, const std::string& text) const {
    const std::string packet = static_cast<char>(word) + text;
    send(link_.get(), packet.data(), packet.size(), MSG_NOSIGNAL);
  }

  Program ProgramOf(std::vector<std::string> arguments, const std::string& log) {
    Program program;
    program.arguments = std::move(arguments);
    program.environment = EnvironmentWith(VariablesOf(layout_));
    program.signal_mask = signals_.mask_before();
    log_ = File(open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!log_) throw SystemFailure("cannot make " + log);
    program.output = log_.get();
    program.death_signal = SIGKILL;
    return program;
  }

  void StartAll() {
    WriteFile(layout_.BusConfigFile(), BusConfig(layout_.Socket(), options_.policy, geteuid()));
    bus_ = StartReady("dbus-daemon", layout_.BusLog(), [&](int ready) {
      return std::vector<std::string>{"dbus-daemon",
                                      "--nofork",
                                      "--nopidfile",
                                      "--nosyslog",
                                      "--print-address=" + std::to_string(ready),
                                      "--config-file=" + layout_.BusConfigFile()};
    });
    service_ = StartReady(kServiceName, layout_.ServiceLog(), [&](int ready) { return ServiceCommand(ready); });
    Probe();
    if (options_.home) StartHome();
  }

  void StartHome() {
    home_ = StartReady(
        kHomeName, layout_.HomeLog(),
        [](int ready) {
          return std::vector<std::string>{ToolsDirectory() + "/" + kHomeName, "--address-fd=" + std::to_string(ready)};
        },
        &home_address_);
  }

  std::vector<std::string> ServiceCommand(int ready) const {
    std::vector<std::string> command = {ToolsDirectory() + "/nuv-simulator", "--verbose", "--dir", layout_.state,
                                        "--ready-fd=" + std::to_string(ready)};
    const std::pair<const char*, const std::string&> options[] = {
        {"--seed=", options_.seed}, {"--scenario=", options_.scenario}, {"--pin-answer=", options_.pin_answer}};
    for (const auto& [name, value] : options) {
      if (!value.empty()) command.push_back(name + value);
    }
    return command;
  }

  // Starts it and waits until it says that it is ready.
  template <typename MakeCommand>
  pid_t StartReady(const std::string& name, const std::string& log, const MakeCommand& make_command,
                   std::string* said = nullptr) {
    Pipe ready;
    Program program = ProgramOf(make_command(ready.in.get()), log);
    program.kept = ready.in.get();
    const Started started = Start(program);
    if (started.error != 0) {
      throw Failure(name + " cannot be started: " + std::strerror(started.error) +
                    (started.error == ENOENT ? ": is it installed?" : ""));
    }
    ready.in.Close();
    const std::string line = WaitForLine(ready.out.get(), name, started.pid, log);
    if (said != nullptr) *said = line;
    return started.pid;
  }

  // Whether there is something to read in the file. Hears nuv-session and the signals meanwhile, and throws Unwanted
  // when nuv-session has gone or a signal asks to end.
  bool Poll(int file, bool wait = true) {
    pollfd watched[] = {{file, POLLIN, 0}, {link_.get(), POLLIN, 0}, {signals_.get(), POLLIN, 0}};
    const auto until = wait ? deadline_ : Clock::now();
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    poll(watched, std::size(watched), static_cast<int>(std::clamp<long long>(left, 0, 3600000)));
    if (watched[1].revents != 0) HearFront();
    if (TakeSignals() || front_gone_) throw Unwanted();
    return watched[0].revents != 0;
  }

  std::string WaitForLine(int file, const std::string& name, pid_t pid, const std::string& log) {
    std::string line;
    for (bool open = true; line.find('\n') == std::string::npos;) {
      char buffer[512];
      const auto end = ended_.find(pid);
      if (Poll(open ? file : -1, end == ended_.end())) {
        const ssize_t size = read(file, buffer, sizeof buffer);
        if (size > 0) line.append(buffer, static_cast<std::size_t>(size));
        open = size > 0;
        continue;
      }
      if (end != ended_.end()) {
        throw Failure(name + " did not start: it ended with " + Describe(end->second) + TailOf(log));
      }
      if (Clock::now() >= deadline_) throw Late(name, log);
    }
    return line.substr(0, line.find('\n'));
  }

  Failure Late(const std::string& name, const std::string& log) const {
    return Failure(name + " did not get ready within " + std::to_string(options_.start_limit_s) +
                   " s (--start-limit gives it more)" + TailOf(log));
  }

  // In a process of its own: the bus library has threads, and waits as it likes.
  void Probe() {
    Pipe answer;
    const pid_t parent = getpid();
    const pid_t prober = fork();
    if (prober < 0) throw SystemFailure("cannot start a process");
    if (prober == 0) {
      close(claim_.lock());  // or the session would look alive for as long as this process takes to die
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      if (getppid() != parent) _exit(kOwnFailure);
      const std::string text = ProbeService(layout_.address, !options_.scenario.empty(), options_.start_limit_s);
      const std::string line = text + "\n";
      _exit(write(answer.in.get(), line.data(), line.size()) < 0 ? kOwnFailure : 0);
    }
    answer.in.Close();
    std::string line;
    while (line.find('\n') == std::string::npos) {
      char buffer[512];
      if (Poll(answer.out.get())) {
        const ssize_t size = read(answer.out.get(), buffer, sizeof buffer);
        if (size <= 0) throw Failure("the service could not be asked whether it is there");
        line.append(buffer, static_cast<std::size_t>(size));
      } else if (Clock::now() >= deadline_) {
        throw Late("the service", layout_.ServiceLog());
      }
    }
    if (line != "\n") {
      throw Failure("the service does not answer: " + line.substr(0, line.find('\n')) + TailOf(layout_.ServiceLog()));
    }
  }

  void Wait() {
    while (!front_gone_) {
      pollfd watched[] = {{link_.get(), POLLIN, 0}, {signals_.get(), POLLIN, 0}};
      poll(watched, std::size(watched), -1);
      if (watched[0].revents != 0) HearFront();
      if (TakeSignals()) return;
      TellLost();
    }
  }

  void HearFront() {
    pid_t command = 0;
    const ssize_t size = recv(link_.get(), &command, sizeof command, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (size != static_cast<ssize_t>(sizeof command)) {
      front_gone_ = true;
      return;
    }
    belongings_.command = IdentityOf(command);
  }

  // True when one of them asks to end.
  bool TakeSignals() {
    bool end = false;
    while (const auto signal = signals_.Next()) end = end || IsEnding(*signal);
    Reap();
    return end;
  }

  void Reap() {
    int status = 0;
    for (pid_t pid = 0; (pid = waitpid(-1, &status, WNOHANG)) > 0;) ended_[pid] = status;
  }

  void TellLost() {
    const std::pair<const char*, pid_t> parts[] = {{"the bus", bus_}, {kServiceName, service_}, {kHomeName, home_}};
    for (const auto& [name, pid] : parts) {
      if (pid == 0 || ended_.count(pid) == 0 || !told_.insert(pid).second) continue;
      Tell(name, ended_[pid]);
    }
  }

  void Tell(const char* name, int status) const {
    Send(Word::kLost, std::string(name) + " ended before the command did, with " + Describe(status));
  }

  std::vector<ProcessEntry> FindOwn() const {
    const ProcessTable table = ReadProcesses();
    std::vector<ProcessEntry> found;
    for (const auto& [pid, process] : table) {
      const auto is_self = [](const ProcessEntry& other) { return other.pid == getpid(); };
      if (!process.ended && DescendsFrom(process, table, is_self)) found.push_back(process);
    }
    return found;
  }

  // True when it ended before it had to be killed.
  bool End(pid_t pid, std::chrono::seconds patience) {
    if (pid <= 0) return true;
    const auto deadline = Clock::now() + patience;
    bool by_itself = true;
    if (ended_.count(pid) == 0) kill(pid, SIGTERM);
    while (ended_.count(pid) == 0) {
      if (Clock::now() >= deadline) {
        kill(pid, SIGKILL);
        by_itself = false;
      }
      std::this_thread::sleep_for(kReapEvery);
      Reap();
    }
    return by_itself;
  }

  // Both end with status 0 when they are asked to, so any other status is that of an end of their own. The parent of
  // what dies hears of it last, and the command may be quicker than that.
  void EndPart(const char* name, pid_t pid, std::chrono::seconds patience) {
    const bool by_itself = End(pid, patience);
    if (pid <= 0 || !by_itself || ended_[pid] == 0 || !told_.insert(pid).second) return;
    Tell(name, ended_[pid]);
  }

  // First the processes that use the service, then the service, then the bus.
  void EndAll() {
    const auto reap = [this] { Reap(); };
    unlink(layout_.EnvironmentFile().c_str());  // nobody joins any more
    EndProcesses([this] { return belongings_.Find(); }, reap);
    EndPart(kHomeName, home_, kHomePatience);
    EndPart(kServiceName, service_, kServicePatience);
    End(bus_, kBusPatience);
    EndProcesses([this] { return FindOwn(); }, reap);
    std::error_code ignored;
    if (failed_ && !layout_.kept.empty()) std::filesystem::remove_all(layout_.kept, ignored);
    claim_.Remove();
  }

  const Layout& layout_;
  const Options& options_;
  Claim& claim_;
  const Signals& signals_;
  File link_;
  File log_;
  Clock::time_point deadline_;
  pid_t bus_ = 0;
  pid_t service_ = 0;
  pid_t home_ = 0;
  std::string home_address_;
  bool front_gone_ = false;
  bool failed_ = false;
  std::map<pid_t, int> ended_;
  std::set<pid_t> told_;
  Belongings belongings_;
};

// In a process that nobody waits for, of a session in which there is no terminal.
[[noreturn]] void BecomeKeeper(const Layout& layout, const Options& options, Claim& claim, const Signals& signals,
                               Identity front, File link) {
  setsid();
  const pid_t child = fork();
  if (child != 0) _exit(child < 0 ? errno : 0);
  prctl(PR_SET_NAME, kKeeperName);
  prctl(PR_SET_CHILD_SUBREAPER, 1);
  EmptyStandardStreams();
  CloseAllBut({link.get(), claim.lock(), signals.get()});
  // Its end of the link closes with the process: when the front hears of that, there is no keeper any more.
  Keeper keeper(layout, options, claim, signals, front, std::move(link));
  keeper.Keep();
  _exit(0);
}

}  // namespace

KeeperLink::KeeperLink(const Layout& layout, const Options& options, Claim& claim, const Signals& signals) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) throw SystemFailure("cannot make a socket");
  link_ = File(ends[0]);
  File other(ends[1]);
  const Identity front = IdentityOf(getpid());
  const pid_t starter = fork();
  if (starter < 0) throw SystemFailure("cannot start a process");
  if (starter == 0) {
    link_.Close();
    BecomeKeeper(layout, options, claim, signals, front, std::move(other));
  }
  int status = 0;
  waitpid(starter, &status, 0);
  if (status != 0) throw SystemFailure("cannot start a process", WEXITSTATUS(status));
  claim.HandOver();
}

std::optional<Message> KeeperLink::Receive() {
  std::string packet(kLongestMessage, '\0');
  ssize_t size = 0;
  do {
    size = recv(link_.get(), packet.data(), packet.size(), 0);
    // A keeper that ends without having read everything is told of once, in front of what it has said last.
  } while (size < 0 && (errno == EINTR || errno == ECONNRESET));
  if (size <= 0) return std::nullopt;
  Message message{static_cast<Word>(packet[0]), packet.substr(1, static_cast<std::size_t>(size) - 1)};
  done_ = done_ || message.word == Word::kDone;
  if (message.word == Word::kLost) lost_.push_back(message.text);
  return message;
}

void KeeperLink::TellCommand(pid_t command) const {
  send(link_.get(), &command, sizeof command, MSG_NOSIGNAL);
}

bool KeeperLink::End() {
  shutdown(link_.get(), SHUT_WR);
  while (Receive()) {
  }
  return done_;
}

void EndWithoutKeeper(const Layout& layout) {
  const Belongings belongings{IdentityOf(getpid()), {}, layout.mark};
  EndProcesses([&] { return belongings.Find(); }, [] {});
  RemoveLeftoverSessions();
}

}  // namespace session
