#include "fake_platform.h"

#include <dlfcn.h>
#include <errno.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_resource.h>
#include <nuv_platform/platform_settings.h>
#include <nuv_platform/platform_trace.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "before_the_library.h"
#include "log_notation.h"
#include "process.h"
#include "real_call.h"
#include "undisturbed.h"

namespace {

struct State {
  std::mutex mutex;
  std::vector<std::string> effects;
  std::vector<fake_platform::LogLine> log;
  std::function<void(const std::string&)> hook;
  std::function<void()> log_hook;
  bool log_as_effects = false;
  std::atomic<bool> settings_fail{false};
  std::optional<std::string> database_directory;
  std::optional<int> factory_reset;
  std::atomic<bool> repair_marker{false};
  std::atomic<fake_platform::Sleeps> sleeps{fake_platform::Sleeps::kPass};
};

// The library's listener may still log while the test process exits.
State& Get() {
  static State& state = *new State;
  return state;
}

// A child that is forked while another thread logs finds the state unlocked.
void StayUsableInChildren() {
  pthread_atfork([] { Get().mutex.lock(); }, [] { Get().mutex.unlock(); }, [] { Get().mutex.unlock(); });
}
NUV_BEFORE_THE_LIBRARY(StayUsableInChildren);

}  // namespace

namespace fake_platform {

std::vector<std::string> Effects() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().effects;
}

void AddEffect(const std::string& effect) {
  std::function<void(const std::string&)> hook;
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().effects.push_back(effect);
    hook = Get().hook;
  }
  if (hook) hook(effect);
}

std::vector<LogLine> Log() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return Get().log;
}

int LogPriority(const std::string& text) {
  int priority = -1;
  for (const LogLine& line : Log()) {
    if (line.text == text) priority = line.priority;
  }
  return priority;
}

bool Logged(const std::string& text) {
  return LogPriority(text) != -1;
}

bool WaitForOwnName() {
  return WaitUntil([] {
    const std::vector<LogLine> log = Log();
    return std::any_of(log.begin(), log.end(),
                       [](const LogLine& line) { return line.text.rfind("on name acquired! ", 0) == 0; });
  });
}

void Clear() {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().effects.clear();
  Get().log.clear();
}

void LogAsEffects(bool on) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().log_as_effects = on;
}

void LetSettingsFail(bool fail) {
  Get().settings_fail = fail;
}

void SetDatabaseDirectory(const std::optional<std::string>& directory) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().database_directory = directory;
}

void SetFactoryReset(std::optional<int> state) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().factory_reset = state;
}

void SetRepairMarker(bool exists) {
  Get().repair_marker = exists;
}

void LetSleeps(Sleeps how) {
  Get().sleeps = how;
}

void OnLogLine(std::function<void()> hook) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().log_hook = std::move(hook);
}

void OnEffect(std::function<void(const std::string&)> hook) {
  const std::lock_guard<std::mutex> lock(Get().mutex);
  Get().hook = std::move(hook);
}

}  // namespace fake_platform

using fake_platform::AddEffect;

int __dlog_print(int buffer, int priority, const char* tag, const char* format, ...) {
  const Undisturbed undisturbed;
  va_list arguments;
  va_start(arguments, format);
  char* line = nullptr;
  const int length = vasprintf(&line, format, arguments);
  va_end(arguments);
  const std::string whole(line, length);
  free(line);
  const size_t end = whole.find(" > ");
  const fake_platform::LogLine entry{buffer, priority, end == std::string::npos ? whole : whole.substr(end + 3),
                                     std::string(tag) + " " + whole.substr(0, end)};
  std::function<void()> hook;
  {
    const std::lock_guard<std::mutex> lock(Get().mutex);
    Get().log.push_back(entry);
    if (Get().log_as_effects) Get().effects.push_back("log " + LogText(entry));
    hook = Get().log_hook;
  }
  if (hook) hook();
  return length;
}

int vconf_get_int(const char* key, int* value) {
  const Undisturbed undisturbed;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  if (strcmp(key, "db/nuv/factory_reset") != 0 || !Get().factory_reset) return -1;
  *value = *Get().factory_reset;
  return 0;
}

const char* nuv_platform_get_path(int variable) {
  const Undisturbed undisturbed;
  const std::lock_guard<std::mutex> lock(Get().mutex);
  return variable == 24 && Get().database_directory ? Get().database_directory->c_str() : nullptr;
}

int vconf_set_str(const char* key, const char* value) {
  const Undisturbed undisturbed;
  AddEffect(std::string("vconf ") + key + "=" + value);
  return Get().settings_fail ? -1 : 0;
}

int resource_set_cpu_inheritance(int tid, const char* destination, int priority) {
  const Undisturbed undisturbed;
  AddEffect("cpu set " + std::string(tid == gettid() ? "self" : "other") + " " + destination + " " +
            std::to_string(priority));
  return 0;
}

int resource_clear_cpu_inheritance(int tid, const char* destination) {
  const Undisturbed undisturbed;
  AddEffect("cpu clear " + std::string(tid == gettid() ? "self" : "other") + " " + destination);
  return 0;
}

void trace_begin(const char* text) {
  const Undisturbed undisturbed;
  AddEffect(std::string("trace_begin ") + text);
}
void trace_end() {
  const Undisturbed undisturbed;
  AddEffect("trace_end");
}

extern "C" int stat(const char* path, struct stat* result) {
  const Undisturbed undisturbed;
  static auto* const real = Real(stat, "stat");
  if (strcmp(path, "/opt/dbspace/pkgreinstall") != 0) return real(path, result);
  if (Get().repair_marker) return 0;
  errno = ENOENT;
  return -1;
}

namespace {

// SQLite sleeps, too, while another process is about to finish with the index of a write-ahead log.
bool IsSqlite(const void* caller) {
  Dl_info info{};
  return dladdr(caller, &info) != 0 && strstr(info.dli_fname, "libsqlite3") != nullptr;
}

bool SleepIsInterrupted() {
  const bool interrupted = Get().sleeps == fake_platform::Sleeps::kInterrupted;
  if (interrupted) errno = EINTR;
  return interrupted;
}

}  // namespace

extern "C" int usleep(useconds_t microseconds) {
  const Undisturbed undisturbed;
  static auto* const real = Real(usleep, "usleep");
  if (IsSqlite(__builtin_return_address(0))) return real(microseconds);
  AddEffect("usleep " + std::to_string(microseconds));
  if (Get().sleeps == fake_platform::Sleeps::kWait) return real(microseconds);
  return SleepIsInterrupted() ? -1 : 0;
}

extern "C" unsigned sleep(unsigned seconds) {
  const Undisturbed undisturbed;
  static auto* const real = Real(sleep, "sleep");
  AddEffect("sleep " + std::to_string(seconds));
  if (Get().sleeps == fake_platform::Sleeps::kWait) return real(seconds);
  SleepIsInterrupted();
  return 0;  // as sleep() does where less than a second is left
}

extern "C" int prctl(int option, ...) {
  const Undisturbed undisturbed;
  va_list list;
  va_start(list, option);
  unsigned long a[4];
  for (unsigned long& value : a) value = va_arg(list, unsigned long);
  va_end(list);
  if (option == NUV_PRCTL_TRACE_MARKER) {
    AddEffect("marker " + std::to_string(a[1]) + " " + reinterpret_cast<const char*>(a[0]));
    return -1;
  }
  return static_cast<int>(syscall(SYS_prctl, option, a[0], a[1], a[2], a[3]));
}
