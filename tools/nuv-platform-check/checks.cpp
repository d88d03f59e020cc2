#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>

#include "app_control_checks.h"
#include "check.h"
#include "platform_calls.h"

namespace platform_check {
namespace {

constexpr char kTag[] = "NuvPlatformCheck";
constexpr char kNoApp[] = "org.example.nuv.platform.check";
constexpr char kNoSetting[] = "org.example.nuv/platform/check/absent";
constexpr const char* kUnsafeKeys[] = {"", ".", "..", "../up", "a//b", "a/../b", "/a", "a/"};

int Log(const char* text) {
  return calls.__dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, kTag, "%s", text);
}

Finding TakesEachBufferAndPriority() {
  for (const int buffer : {int{NUV_LOG_BUFFER_MAIN}, 1, int{NUV_LOG_BUFFER_SYSTEM}, 3, -1, 99}) {
    for (const int priority :
         {int{NUV_LOG_PRIORITY_INFO}, int{NUV_LOG_PRIORITY_WARNING}, int{NUV_LOG_PRIORITY_ERROR}, -1, 99}) {
      calls.__dlog_print(buffer, priority, kTag, "buffer %d priority %d %s", buffer, priority,
                         "\033[0;32mgreen\033[0;m");
    }
  }
  return std::nullopt;
}

Finding TakesLongLines() {
  for (const std::size_t size : {0U, 1000U, 4096U, 100000U}) Log(std::string(size, 'x').c_str());
  return std::nullopt;
}

// Standard error is where a log may go; in the first nobody reads, the second has no reader at all.
Finding WaitsForNobody() {
  int full[2];
  if (pipe(full) != 0) return "no pipe can be made for the check";
  dup2(full[1], STDERR_FILENO);
  for (int i = 0; i < 20000; ++i) Log("a line that nobody reads, of a length that fills the pipe some day");
  return std::nullopt;
}

Finding RaisesNoSignal() {
  int closed[2];
  if (pipe(closed) != 0) return "no pipe can be made for the check";
  dup2(closed[1], STDERR_FILENO);
  close(closed[0]);
  signal(SIGPIPE, SIG_DFL);
  for (int i = 0; i < 10; ++i) Log("a line that cannot be read");
  return std::nullopt;
}

Finding AnAbsentKeyIsAFailureAndChangesNothing() {
  int value = 4711;
  if (calls.vconf_get_int(kNoSetting, &value) >= 0) return "it counts as read";
  return value == 4711 ? std::nullopt : Finding("the value is changed");
}

Finding RefusesKeysThatLeadElsewhere() {
  for (const char* key : kUnsafeKeys) {
    int value = 4711;
    if (calls.vconf_get_int(key, &value) >= 0) return std::string("read: \"") + key + "\"";
    if (calls.vconf_set_str(key, "1") >= 0) return std::string("written: \"") + key + "\"";
  }
  return std::nullopt;
}

Finding ReadsBackWhatWasWritten() {
  for (const char* text : {"1", "-2147483648", "2147483647"}) {
    if (calls.vconf_set_str(allowed.setting.c_str(), text) != 0) return std::string("cannot be written: ") + text;
    int value = 0;
    const int result = calls.vconf_get_int(allowed.setting.c_str(), &value);
    if (result == 0 && value != std::atoi(text)) return std::string("another number than ") + text;
  }
  if (calls.vconf_set_str(allowed.setting.c_str(), "no number") != 0) return "a text is refused";
  int value = 4711;
  if (calls.vconf_get_int(allowed.setting.c_str(), &value) >= 0) return "a text counts as a number";
  return value == 4711 ? std::nullopt : Finding("the value is changed");
}

Finding KnowsThatNothingOfTheNameRuns() {
  for (const char* name : {kNoApp, ""}) {
    if (calls.aul_app_is_running(name) != 0) return std::string("\"") + name + "\" is said to run";
  }
  return std::nullopt;
}

struct Walk {
  int visited = 0;
  int answer = 0;
  Finding finding;
};

int Visit(const aul_app_info* info, void* data) {
  Walk& walk = *static_cast<Walk*>(data);
  ++walk.visited;
  if (info == nullptr || info->pid <= 0) walk.finding = "an application without a process id";
  if (info != nullptr && info->appid != nullptr) calls.aul_app_is_running(info->appid);
  return walk.answer;
}

Finding WalksTheRunningApplications() {
  Walk walk;
  if (calls.aul_app_get_running_app_info(Visit, &walk) < 0) return "the walk is a failure";
  return walk.finding;
}

Finding EndsTheWalkWhenToldTo() {
  Walk walk;
  walk.answer = -1;
  calls.aul_app_get_running_app_info(Visit, &walk);
  return walk.visited <= 1 ? std::nullopt : Finding("went on to " + std::to_string(walk.visited) + " applications");
}

Finding HandsOutAnIdOnlyWithOne() {
  char* id = nullptr;
  const int result = calls.GetRunningHbbtvApp(&id);
  const std::unique_ptr<char, decltype(&std::free)> owner(id, std::free);
  if (result > 1) return "neither 0 nor 1 nor negative: " + std::to_string(result);
  if (result == 1 && (id == nullptr || *id == '\0')) return "1, and no id";
  return result == 1 || id == nullptr ? std::nullopt : Finding("an id, and not 1");
}

Finding NestsAndOverrunsHarmlessly() {
  for (int i = 0; i < 1000; ++i) calls.trace_begin("span");
  for (int i = 0; i < 1002; ++i) calls.trace_end();
  calls.trace_begin(std::string(100000, 'x').c_str());
  calls.trace_end();
  return std::nullopt;
}

// Either answer is right; a positive one is none.
Finding LendsAndTakesBack() {
  constexpr char kService[] = "org.kelvo.tv.litecorvane.server";
  const int self = gettid();
  for (const int tid : {self, 0, -1}) {
    if (calls.resource_set_cpu_inheritance(tid, kService, 1) > 0) return "set: neither 0 nor negative";
    if (calls.resource_clear_cpu_inheritance(tid, kService) > 0) return "clear: neither 0 nor negative";
  }
  return calls.resource_clear_cpu_inheritance(self, kService) > 0 ? Finding("clear, once more") : std::nullopt;
}

Finding NamesADirectory() {
  const char* path = calls.nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  if (path == nullptr) return "there is none";
  if (path[0] != '/') return std::string("not absolute: ") + path;
  struct stat status = {};
  if (stat(path, &status) == 0 && !S_ISDIR(status.st_mode)) return std::string("no directory: ") + path;
  return std::nullopt;
}

Finding StaysTheSame() {
  const char* first = calls.nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  if (first == nullptr) return "there is none";
  const std::string then = first;
  for (int i = 0; i < 1000; ++i) calls.nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  return then == first ? std::nullopt : Finding("another text than at first");
}

Finding KnowsNoOtherVariable() {
  for (const int variable : {-1, 1 << 30}) {
    if (calls.nuv_platform_get_path(variable) != nullptr) return "variable " + std::to_string(variable) + " has a path";
  }
  return std::nullopt;
}

// What the library calls on the way of a launch, in any thread.
void CallEverything() {
  Log("a line of many threads");
  int value = 0;
  calls.vconf_get_int(kNoSetting, &value);
  calls.aul_app_is_running(kNoApp);
  Walk walk;
  calls.aul_app_get_running_app_info(Visit, &walk);
  calls.trace_begin("span");
  calls.nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR);
  calls.resource_set_cpu_inheritance(gettid(), kNoApp, 1);
  calls.resource_clear_cpu_inheritance(gettid(), kNoApp);
  calls.trace_end();
  MakeARequest();
}

Finding MayBeCalledByManyThreads() {
  constexpr std::size_t kThreads = 8;
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (std::size_t i = 0; i < kThreads; ++i) {
    threads.emplace_back([] {
      for (int round = 0; round < 200; ++round) CallEverything();
    });
  }
  for (std::thread& thread : threads) thread.join();
  return std::nullopt;
}

int OpenFiles() {
  DIR* const directory = opendir("/proc/self/fd");
  if (directory == nullptr) return 0;
  int count = 0;
  while (readdir(directory) != nullptr) ++count;
  closedir(directory);
  return count;
}

Finding KeepsNoDescriptors() {
  CallEverything();
  const int before = OpenFiles();
  for (int i = 0; i < 200; ++i) CallEverything();
  const int after = OpenFiles();
  if (after <= before) return std::nullopt;
  return std::to_string(after - before) + " more open files after 200 rounds";
}

Finding LeavesTheCallersStateAlone() {
  sigset_t before;
  sigset_t after;
  pthread_sigmask(SIG_SETMASK, nullptr, &before);
  const mode_t mask = umask(022);
  CallEverything();
  if (umask(mask) != 022) return "the umask is another one";
  pthread_sigmask(SIG_SETMASK, nullptr, &after);
  for (int signal = 1; signal < NSIG; ++signal) {
    if (sigismember(&before, signal) != sigismember(&after, signal)) return "the signal mask is another one";
  }
  return std::nullopt;
}

// As where the host has used them all up.
Finding WorksWithoutDescriptors() {
  while (open("/dev/null", O_RDONLY | O_CLOEXEC) >= 0) {
  }
  if (errno != EMFILE && errno != ENFILE) return "the descriptors cannot be used up";
  CallEverything();
  return std::nullopt;
}

// The library is called on threads of the host, however small.
Finding WorksOnASmallStack() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, std::size_t{128} << 10);
  pthread_t thread;
  const auto run = [](void*) -> void* {
    CallEverything();
    return nullptr;
  };
  if (pthread_create(&thread, &attributes, run, nullptr) != 0) return "no thread can be made for the check";
  pthread_join(thread, nullptr);
  return std::nullopt;
}

}  // namespace

Allowed allowed;

const std::vector<Check>& Checks() {
  static const std::vector<Check> checks = [] {
    std::vector<Check> all = {
        {"__dlog_print", "takes each buffer and priority", TakesEachBufferAndPriority},
        {"__dlog_print", "takes long lines", TakesLongLines},
        {"__dlog_print", "waits for nobody", WaitsForNobody},
        {"__dlog_print", "raises no signal", RaisesNoSignal},
        {"vconf_get_int", "an absent key is a failure and changes nothing", AnAbsentKeyIsAFailureAndChangesNothing},
        {"vconf_*", "refuse keys that lead elsewhere", RefusesKeysThatLeadElsewhere},
        {"aul_app_is_running", "knows that nothing of the name runs", KnowsThatNothingOfTheNameRuns},
        {"aul_app_get_running_app_info", "walks, and may be called while it does", WalksTheRunningApplications},
        {"aul_app_get_running_app_info", "ends when it is told to", EndsTheWalkWhenToldTo},
        {"app_control_set_*, get_*", "keep their texts", KeepsItsTexts},
        {"app_control_get_*", "hand out NULL for what is not set", HandsOutNullForWhatIsNotSet},
        {"app_control_get_*", "hand out copies", HandsOutCopies},
        {"app_control_add_extra_data", "keeps many and large values", KeepsExtraData},
        {"app_control_add_extra_data", "replaces the value of a key", ReplacesTheValueOfAKey},
        {"app_control_get_extra_data", "an absent key is a failure", AnAbsentKeyIsAFailure},
        {"app_control_foreach_extra_data", "visits in the order of adding", VisitsInTheOrderOfAdding},
        {"app_control_foreach_extra_data", "stops when it is told to", StopsWhenToldTo},
        {"app_control_foreach_extra_data", "the request may be changed on the way", MayBeChangedWhileItIsVisited},
        {"app_control_*", "refuse NULL", RefusesNull},
        {"app_control_*", "threads have a request each", TwoThreadsHaveOneEach},
        {"app_control_send_launch_request", "refuses a launch of nothing", RefusesALaunchOfNothing},
        {"GetRunningHbbtvApp", "hands out an id only with 1", HandsOutAnIdOnlyWithOne},
        {"trace_begin, trace_end", "nest and overrun harmlessly", NestsAndOverrunsHarmlessly},
        {"resource_*_cpu_inheritance", "answer with 0 or a negative number", LendsAndTakesBack},
        {"nuv_platform_get_path", "names a directory", NamesADirectory},
        {"nuv_platform_get_path", "stays the same", StaysTheSame},
        {"nuv_platform_get_path", "knows no other variable", KnowsNoOtherVariable},
        {"all calls", "may be called by many threads", MayBeCalledByManyThreads},
        {"all calls", "keep no descriptors", KeepsNoDescriptors},
        {"all calls", "leave the caller's state alone", LeavesTheCallersStateAlone},
        {"all calls", "work without descriptors", WorksWithoutDescriptors},
        {"all calls", "work on a small stack", WorksOnASmallStack},
    };
    if (!allowed.setting.empty()) {
      all.push_back({"vconf_*", "what was written is read back", ReadsBackWhatWasWritten});
    }
    if (!allowed.application.empty()) {
      all.push_back({"app_control_send_launch_request", "launches the application", LaunchesTheApplication});
    }
    return all;
  }();
  return checks;
}

const std::vector<Cost>& Costs() {
  static const std::vector<Cost> costs = {
      {"__dlog_print", [] { Log("a line of ordinary length, such as the library writes"); }},
      {"vconf_get_int",
       [] {
         int value = 0;
         calls.vconf_get_int(kNoSetting, &value);
       }},
      {"aul_app_is_running", [] { calls.aul_app_is_running(kNoApp); }},
      {"aul_app_get_running_app_info",
       [] {
         Walk walk;
         calls.aul_app_get_running_app_info(Visit, &walk);
       }},
      {"an app_control request", MakeARequest},
      {"GetRunningHbbtvApp", [] { HandsOutAnIdOnlyWithOne(); }},
      {"trace_begin, trace_end",
       [] {
         calls.trace_begin("span");
         calls.trace_end();
       }},
      {"resource_*_cpu_inheritance", [] { LendsAndTakesBack(); }},
      {"nuv_platform_get_path", [] { calls.nuv_platform_get_path(NUV_PATH_APP_DATABASE_DIR); }},
  };
  return costs;
}

}  // namespace platform_check
