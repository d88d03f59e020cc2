// A host that cancels a thread of its own while that is in a platform call: the call is done as if nothing were, and
// the thread ends behind it. Most system calls would end it at once, in the middle of what it was doing.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_aul.h>
#include <nuv_platform/platform_hbbtv.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_settings.h>
#include <pthread.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "host_trace_marker.h"
#include "temp_dir.h"

namespace {

using testing::EndsWith;

int Log(const char* text) {
  return __dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%s", text);
}

// Runs it in a thread with a cancellation that has come already. Whether it was done to its end, with the cancellation
// taking effect behind it.
bool IsDone(void (*body)()) {
  struct Run {
    void (*body)();
    bool done;
  } run = {body, false};
  const auto start = [](void* data) -> void* {
    auto* const own = static_cast<Run*>(data);
    pthread_cancel(pthread_self());
    own->body();
    own->done = true;
    pthread_testcancel();
    own->done = false;
    return nullptr;
  };
  pthread_t thread;
  if (pthread_create(&thread, nullptr, start, &run) != 0) return false;
  void* result = nullptr;
  pthread_join(thread, &result);
  return run.done && result == PTHREAD_CANCELED;
}

class HostCancellation : public testing::Test {
 protected:
  HostCancellation() {
    setenv("NUV_HOST_DIR", state_.c_str(), 1);
    setenv("NUV_LOG", ("file:" + log_).c_str(), 1);
    for (const char* below : {"/settings/rtc", "/running"}) std::filesystem::create_directories(state_ + below);
    WriteFile(state_ + "/settings/number", "2\n");
    WriteFile(state_ + "/running/an.application", "pid " + std::to_string(getpid()) + "\nstatus 3\n");
    WriteFile(state_ + "/hbbtv", "an.hbbtv.application\n");
  }

  const TempDir directory_;
  const std::string state_ = directory_ / "state";
  const std::string log_ = directory_ / "log";
};

TEST_F(HostCancellation, ComesAfterTheLine) {
  EXPECT_TRUE(IsDone([] { Log("first"); }));
  EXPECT_TRUE(IsDone([] { Log("next"); }));
  EXPECT_THAT(ReadFile(log_), EndsWith("t(main): next\n"));
}

TEST_F(HostCancellation, ComesAfterALineToStandardError) {
  setenv("NUV_LOG", "stderr", 1);
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  const int saved = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  const bool done = IsDone([] { Log("x"); });
  dup2(saved, STDERR_FILENO);
  EXPECT_TRUE(done);
  char text[100] = "";
  EXPECT_GT(read(ends[0], text, sizeof text - 1), 0);
  EXPECT_THAT(text, EndsWith("t(main): x\n"));
}

TEST_F(HostCancellation, ComesAfterALineToTheJournal) {
  setenv("NUV_LOG", "journal", 1);
  EXPECT_TRUE(IsDone([] { Log("x"); }));
}

TEST_F(HostCancellation, ComesAfterTheSetting) {
  EXPECT_TRUE(IsDone([] { vconf_set_str("rtc/key", "text"); }));
  EXPECT_EQ(ReadFile(state_ + "/settings/rtc/key"), "text");
  const auto entries = std::filesystem::directory_iterator(state_ + "/settings/rtc");
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "a temporary file is left";
  EXPECT_TRUE(IsDone([] {
    int value = 0;
    vconf_get_int("number", &value);
  }));
}

TEST_F(HostCancellation, ComesAfterTheQuestionsForApplications) {
  EXPECT_TRUE(IsDone([] { aul_app_is_running("an.application"); }));
  EXPECT_TRUE(IsDone([] { aul_app_get_running_app_info([](const aul_app_info*, void*) { return 0; }, nullptr); }));
  EXPECT_TRUE(IsDone([] {
    char* id = nullptr;
    GetRunningHbbtvApp(&id);
    free(id);
  }));
}

const char* g_trace = nullptr;

TEST_F(HostCancellation, ComesAfterTheTrace) {
  const std::string path = directory_ / "trace";
  WriteFile(path, "");
  g_trace = path.c_str();
  EXPECT_TRUE(IsDone([] {
    static nuv::host::TraceMarker marker(g_trace, g_trace);
    marker.Begin("text");
    marker.End();
  }));
  EXPECT_EQ(ReadFile(path), "B|" + std::to_string(getpid()) + "|textE|" + std::to_string(getpid()));
}

}  // namespace
