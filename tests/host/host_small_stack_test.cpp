// The platform calls on the smallest stack that a thread can have. What the host's own functions need is in it as well,
// so the calls leave a good part of it untouched.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_path.h>
#include <nuv_platform/platform_settings.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "process.h"
#include "temp_dir.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define NUV_TEST_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define NUV_TEST_SANITIZED 1
#endif
#endif

namespace {

// A sanitizer puts zones around every variable and runs functions of its own on the thread's stack: there, it is only
// tried that the calls work.
#ifdef NUV_TEST_SANITIZED
constexpr size_t kStack = size_t{1024} * 1024;
#else
constexpr size_t kStack = 16384;
#endif
constexpr int kKilobytesLeft = 6;
constexpr unsigned char kUntouched = 0xa5;

// A stack with nothing mapped below it: a call that needs more ends the process.
class SmallStack {
 public:
  SmallStack() : size_(std::max<size_t>(kStack, static_cast<size_t>(PTHREAD_STACK_MIN))) {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* const memory = mmap(nullptr, page + size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(memory, MAP_FAILED);
    stack_ = static_cast<unsigned char*>(memory) + page;
    EXPECT_EQ(mprotect(stack_, size_, PROT_READ | PROT_WRITE), 0);
  }

  // Runs it in a thread on this stack. Bytes that were left untouched.
  size_t Run(void (*body)()) {
    memset(stack_, kUntouched, size_);
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    EXPECT_EQ(pthread_attr_setstack(&attributes, stack_, size_), 0);
    pthread_t thread;
    const auto start = [](void* function) -> void* {
      reinterpret_cast<void (*)()>(function)();
      return nullptr;
    };
    EXPECT_EQ(pthread_create(&thread, &attributes, start, reinterpret_cast<void*>(body)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    return static_cast<size_t>(std::find_if(stack_, stack_ + size_, [](unsigned char c) { return c != kUntouched; }) -
                               stack_);
  }

 private:
  const size_t size_;
  unsigned char* stack_ = nullptr;
};

// Taken here, for the dynamic linker finds a function at its first call on the stack of the caller.
int (*volatile const kLog)(int, int, const char*, const char*, ...) = __dlog_print;
int (*volatile const kSetText)(const char*, const char*) = vconf_set_str;
int (*volatile const kGetInteger)(const char*, int*) = vconf_get_int;
int (*volatile const kIsRunning)(const char*) = aul_app_is_running;
int (*volatile const kWalkRunning)(aul_app_info_iter_fn, void*) = aul_app_get_running_app_info;
int (*volatile const kHbbtv)(char**) = GetRunningHbbtvApp;
const char* (*volatile const kPath)(int) = nuv_platform_get_path;

const std::string kLong(100000, 'x');
const std::string kLineEnds(5000, '\n');

void LogShort() {
  kLog(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%s(%d) > \e[0;33mStart\e[0;m", "F", 12);
}
void LogLong() {
  kLog(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%s", kLong.c_str());
}
void LogLongByTheStandard() {
  kLog(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%5d %p %s", 12, nullptr, kLong.c_str());
}
void LogEscapes() {
  kLog(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%s", kLineEnds.c_str());
}
void SetText() {
  kSetText("rtc/litenuv/webapp/launch_fail", "NULL:101");
}
void GetInteger() {
  int value = 0;
  kGetInteger("db/nuv/factory_reset", &value);
}
void AskForRunning() {
  kIsRunning("an.application");
  kWalkRunning([](const aul_app_info*, void*) { return 0; }, nullptr);
}
void AskForHbbtv() {
  char* id = nullptr;
  kHbbtv(&id);
  free(id);
}
void AskForPath() {
  kPath(NUV_PATH_APP_DATABASE_DIR);
}
class HostSmallStack : public testing::Test {
 protected:
  HostSmallStack() {
    setenv("NUV_HOST_DIR", state_.c_str(), 1);
    for (const char* below : {"/settings/db/nuv", "/running"}) std::filesystem::create_directories(state_ + below);
    WriteFile(state_ + "/settings/db/nuv/factory_reset", "2\n");
    WriteFile(state_ + "/running/an.application", "pid " + std::to_string(getpid()) + "\nstatus 3\n");
    WriteFile(state_ + "/hbbtv", "an.hbbtv.application\n");
  }

  // In a child of its own, so that each call is the first one as well.
  static void ExpectRoom(void (*body)()) {
    const int left = InChild([body] {
      SmallStack stack;
      const size_t room = std::min(stack.Run(body), stack.Run(body));
      return static_cast<int>(std::min<size_t>(room / 1024, 100));
    });
    EXPECT_GE(left, kKilobytesLeft);
    EXPECT_LE(left, 100) << "ended by signal " << left - 128;
  }

  static void ExpectRoomForLines() {
    for (void (*const body)() : {LogShort, LogLong, LogLongByTheStandard, LogEscapes}) ExpectRoom(body);
  }

  const TempDir directory_;
  const std::string state_ = directory_ / "state";
};

TEST_F(HostSmallStack, HasRoomForALineToAFile) {
  setenv("NUV_LOG", ("file:" + (directory_ / "log")).c_str(), 1);
  ExpectRoomForLines();
}

TEST_F(HostSmallStack, HasRoomForALineToAFileOfLimitedSize) {
  setenv("NUV_LOG", ("file:" + (directory_ / "log")).c_str(), 1);
  const rlimit limit = {100, RLIM_INFINITY};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
  ExpectRoomForLines();
}

TEST_F(HostSmallStack, HasRoomForALineToAPipe) {
  setenv("NUV_LOG", "stderr", 1);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int saved = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  ExpectRoomForLines();
  dup2(saved, STDERR_FILENO);
}

TEST_F(HostSmallStack, HasRoomForALineToATerminal) {
  setenv("NUV_LOG", "stderr", 1);
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  const int saved = dup(STDERR_FILENO);
  dup2(open(ptsname(terminal), O_RDWR | O_NOCTTY), STDERR_FILENO);
  ExpectRoomForLines();
  dup2(saved, STDERR_FILENO);
}

TEST_F(HostSmallStack, HasRoomForALineToTheJournal) {
  setenv("NUV_LOG", "journal", 1);
  ExpectRoomForLines();
}

TEST_F(HostSmallStack, HasRoomForASetting) {
  ExpectRoom(SetText);
  ExpectRoom(GetInteger);
}

TEST_F(HostSmallStack, HasRoomForTheFirstCallWithoutAStateDirectory) {
  for (const char* name : {"NUV_HOST_DIR", "XDG_STATE_HOME", "HOME"}) unsetenv(name);
  ExpectRoom(GetInteger);
  ExpectRoom(AskForPath);
}

TEST_F(HostSmallStack, HasRoomForTheQuestionsForApplications) {
  ExpectRoom(AskForRunning);
  ExpectRoom(AskForHbbtv);
}

}  // namespace
