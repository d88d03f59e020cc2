// The platform calls of the host edition, with every system call that they make failing in turn, with every error that
// it may well have.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_settings.h>
#include <nuv_platform/platform_trace.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <set>

#include "temp_dir.h"

namespace {

struct Plan {
  const char* function = nullptr;  // null: none
  int nth = 0;
  int error = 0;
};
Plan plan;

bool Fails(const char* function) {
  if (plan.function == nullptr || strcmp(plan.function, function) != 0 || --plan.nth != 0) return false;
  errno = plan.error;
  return true;
}

}  // namespace

// The linker lets the host edition's objects call these.
extern "C" {

#define WRAPPED(result, failure, name, parameters, arguments)  \
  result __real_##name parameters;                             \
  result __wrap_##name parameters {                            \
    return Fails(#name) ? (failure) : __real_##name arguments; \
  }

WRAPPED(int, -1, fstat, (int fd, struct stat* status), (fd, status))
WRAPPED(ssize_t, -1, read, (int fd, void* data, size_t size), (fd, data, size))
WRAPPED(ssize_t, -1, write, (int fd, const void* data, size_t size), (fd, data, size))
WRAPPED(int, -1, rename, (const char* from, const char* to), (from, to))
WRAPPED(int, -1, unlink, (const char* path), (path))
WRAPPED(DIR*, nullptr, opendir, (const char* path), (path))
WRAPPED(dirent*, nullptr, readdir, (DIR * directory), (directory))
WRAPPED(int, -1, kill, (pid_t pid, int number), (pid, number))
WRAPPED(char*, nullptr, strdup, (const char* text), (text))
#undef WRAPPED

int __real_open(const char* path, int flags, ...);
int __wrap_open(const char* path, int flags, ...) {
  va_list list;
  va_start(list, flags);
  const mode_t mode = va_arg(list, mode_t);
  va_end(list);
  return Fails("open") ? -1 : __real_open(path, flags, mode);
}

}  // extern "C"

namespace {

struct Outcome {
  int result = 0;
  std::string text;
};

struct HostCall {
  const char* name;
  Outcome (*call)();
  std::set<int> failures;          // results of a call that failed
  std::string text_after_failure;  // what is handed out then, where it failed
};

const std::vector<HostCall>& HostCalls() {
  static const std::vector<HostCall> calls = {
      {"vconf_get_int",
       [] {
         int value = 7;
         const int result = vconf_get_int("db/nuv/factory_reset", &value);
         return Outcome{result, std::to_string(value)};
       },
       {-1},
       "7"},
      {"vconf_set_str",
       [] {
         return Outcome{vconf_set_str("rtc/key", "new"), ""};
       },
       {-1},
       ""},
      {"aul_app_is_running",
       [] {
         return Outcome{aul_app_is_running("an.application"), ""};
       },
       {0},
       ""},
      // An application whose file cannot be read does not run, as the walk has it.
      {"aul_app_get_running_app_info",
       [] {
         std::string ids;
         const auto add = [](const aul_app_info* info, void* to) {
           static_cast<std::string*>(to)->append(info->appid);
           return 0;
         };
         const int result = aul_app_get_running_app_info(add, &ids);
         return Outcome{result, ids};
       },
       {-1, 0},
       ""},
      // Without a file that can be read there is none.
      {"GetRunningHbbtvApp",
       [] {
         char* id = nullptr;
         const int result = GetRunningHbbtvApp(&id);
         const Outcome outcome = {result, id == nullptr ? "null" : id};
         free(id);
         return outcome;
       },
       {-1, 0},
       "null"},
      {"__dlog_print",
       [] {
         // Its length is another one behind a line that was dropped.
         return Outcome{__dlog_print(0, 6, "Tag", "a line of %d", 5) > 0 ? 1 : -1, ""};
       },
       {-1},
       ""},
      {"trace_begin",
       [] {
         trace_begin("text");
         return Outcome{};
       },
       {0},
       ""},
      {"trace_end",
       [] {
         trace_end();
         return Outcome{};
       },
       {0},
       ""},
  };
  return calls;
}

std::set<std::string> Entries(const std::string& directory) {
  std::set<std::string> entries;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) entries.insert(entry.path());
  return entries;
}

size_t OpenDescriptors() {
  size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) count += entry.path().empty() ? 0 : 1;
  return count;
}

class HostCallFailure : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("NUV_HOST_DIR", state_.c_str(), 1);
    setenv("NUV_LOG", ("file:" + (directory_ / "log")).c_str(), 1);
    for (const char* below : {"/settings/db/nuv", "/settings/rtc", "/running"}) {
      std::filesystem::create_directories(state_ + below);
    }
    WriteFile(state_ + "/settings/db/nuv/factory_reset", "2\n");
    WriteFile(state_ + "/running/an.application", "pid " + std::to_string(getpid()) + "\nstatus 3\n");
    WriteFile(state_ + "/hbbtv", "an.hbbtv.application\n");
  }

  const TempDir directory_;
  const std::string state_ = directory_ / "state";
};

TEST_F(HostCallFailure, GivesTheDocumentedResultAndLeavesNothing) {
  int failed = 0;
  for (const HostCall& call : HostCalls()) {
    WriteFile(state_ + "/settings/rtc/key", "old");
    const Outcome success = call.call();
    WriteFile(state_ + "/settings/rtc/key", "old");
    const auto entries = Entries(state_);
    const size_t descriptors = OpenDescriptors();
    for (const char* function :
         {"open", "fstat", "read", "write", "rename", "unlink", "opendir", "readdir", "kill", "strdup"}) {
      for (const int error : {EINTR, EIO, ENOSPC, EMFILE, EACCES}) {
        // A log file of which nothing can be told is taken for the host's, and stays open.
        if (strcmp(call.name, "__dlog_print") == 0 && strcmp(function, "fstat") == 0) continue;
        bool reached = true;
        for (int nth = 1; reached; ++nth) {
          SCOPED_TRACE(std::string(call.name) + ": " + function + " " + std::to_string(nth) + " " + strerror(error));
          plan = {function, nth, error};
          errno = 0;
          const Outcome outcome = call.call();
          reached = plan.nth <= 0;
          plan = {};
          failed += reached ? 1 : 0;
          if (outcome.result != success.result || outcome.text != success.text) {
            EXPECT_EQ(1u, call.failures.count(outcome.result)) << outcome.result;
            EXPECT_EQ(call.text_after_failure, outcome.text);
            EXPECT_EQ("old", ReadFile(state_ + "/settings/rtc/key"));
            EXPECT_FALSE(error == EINTR && (strcmp(function, "read") == 0 || strcmp(function, "write") == 0));
          }
          WriteFile(state_ + "/settings/rtc/key", "old");
          EXPECT_EQ(entries, Entries(state_));
          EXPECT_EQ(descriptors, OpenDescriptors());
          const Outcome next = call.call();
          EXPECT_EQ(success.result, next.result);
          EXPECT_EQ(success.text, next.text);
          WriteFile(state_ + "/settings/rtc/key", "old");
        }
      }
    }
  }
  EXPECT_LT(100, failed);
  RecordProperty("failed_calls", failed);
}

}  // namespace
