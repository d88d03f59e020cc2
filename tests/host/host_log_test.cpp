// The log as a component meets it: the environment is read on the first line, so each case is a process of its own.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_resource.h>
#include <printf.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "temp_dir.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

constexpr int kMain = NUV_LOG_BUFFER_MAIN;
constexpr int kInfo = NUV_LOG_PRIORITY_INFO;
constexpr int kWarning = NUV_LOG_PRIORITY_WARNING;
constexpr int kError = NUV_LOG_PRIORITY_ERROR;

std::vector<std::string> Lines(const std::string& text) {
  std::istringstream in(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

class HostLogTest : public testing::Test {
 protected:
  void LogToFile() { setenv("NUV_LOG", ("file:" + log_).c_str(), 1); }
  std::vector<std::string> Logged() const { return Lines(ReadFile(log_)); }

  TempDir directory_;
  const std::string log_ = directory_ / "log";
};

TEST_F(HostLogTest, AFileLineShowsTimeProcessPriorityTagBufferAndMessage) {
  LogToFile();
  const int written =
      __dlog_print(NUV_LOG_BUFFER_SYSTEM, kWarning, "NuvClient", "%s: %s(%d) > %s", "a.cpp", "F", 12, "x");
  const auto lines = Logged();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_EQ(written, static_cast<int>(lines[0].size() + 1));
  EXPECT_TRUE(
      std::regex_match(lines[0], std::regex(R"(([01]\d|2[0-3]):[0-5]\d:[0-5]\d\.\d{3}Z )" + std::to_string(getpid()) +
                                            R"( W NuvClient\(system\): a\.cpp: F\(12\) > x)")))
      << lines[0];
}

TEST_F(HostLogTest, ALogFileIsContinuedAndNotTruncated) {
  WriteFile(log_, "before\n");
  LogToFile();
  __dlog_print(kMain, kInfo, "t", "after");
  EXPECT_THAT(Logged(), testing::ElementsAre("before", EndsWith(" I t(main): after")));
}

TEST_F(HostLogTest, LinesBelowTheLevelAreLeftOut) {
  LogToFile();
  setenv("NUV_LOG_LEVEL", "warning", 1);
  EXPECT_EQ(__dlog_print(kMain, kInfo, "t", "info"), 0);
  EXPECT_GT(__dlog_print(kMain, kWarning, "t", "warning"), 0);
  EXPECT_GT(__dlog_print(kMain, kError, "t", "error"), 0);
  EXPECT_EQ(__dlog_print(kMain, kInfo, "t", "info"), 0);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("W t(main): warning"), EndsWith("E t(main): error")));
}

TEST_F(HostLogTest, TheErrorLevelLeavesErrorsOnly) {
  LogToFile();
  setenv("NUV_LOG_LEVEL", "error", 1);
  __dlog_print(kMain, kWarning, "t", "warning");
  __dlog_print(kMain, kError, "t", "error");
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("E t(main): error")));
}

TEST_F(HostLogTest, TheEnvironmentIsReadOnceOnTheFirstLine) {
  LogToFile();
  __dlog_print(kMain, kInfo, "t", "one");
  setenv("NUV_LOG", "off", 1);
  __dlog_print(kMain, kInfo, "t", "two");
  EXPECT_THAT(Logged(), SizeIs(2));
}

TEST_F(HostLogTest, ColourEscapesDoNotReachAFile) {
  LogToFile();
  __dlog_print(kMain, kError, "t", "%s > \e[0;31mlaunch data is NULL!!!\e[0;m", "f.cpp");
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("E t(main): f.cpp > launch data is NULL!!!")));
}

TEST_F(HostLogTest, AMessageWithLineEndsStaysOneLine) {
  LogToFile();
  __dlog_print(kMain, kInfo, "t", "%s", "one\ntwo\r\nthree");
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith(R"(one\ntwo\r\nthree)")));
}

TEST_F(HostLogTest, AHugeMessageIsCutVisibly) {
  LogToFile();
  const std::string payload(16 * 1024 * 1024, 'p');
  EXPECT_GT(__dlog_print(kMain, kInfo, "t", "%s", payload.c_str()), 0);
  const auto lines = Logged();
  ASSERT_THAT(lines, SizeIs(1));
  EXPECT_LT(lines[0].size(), 66u * 1024);
  EXPECT_THAT(lines[0], EndsWith("p [... " + std::to_string(payload.size() - 64 * 1024) + " more bytes]"));
}

TEST_F(HostLogTest, AMessageOfSomeKilobytesIsWhole) {
  LogToFile();
  const std::string payload(20000, 'p');
  __dlog_print(kMain, kInfo, "t", "<%s>", payload.c_str());
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("<" + payload + ">")));
}

TEST_F(HostLogTest, LinesOfSeveralThreadsAreWhole) {
  constexpr int kThreads = 4;
  constexpr int kLines = 500;
  LogToFile();
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t] {
      const std::string text(100 + 700 * t, static_cast<char>('a' + t));  // on the stack, and on the heap
      for (int i = 0; i < kLines; ++i) __dlog_print(kMain, kInfo, "t", "<%s %d>", text.c_str(), i);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const auto lines = Logged();
  ASSERT_THAT(lines, SizeIs(kThreads * kLines));
  // Made once: with a sanitizer it takes a while.
  const testing::Matcher<std::string> whole =
      MatchesRegex(".* I t\\(main\\): <(a{100}|b{800}|c{1500}|d{2200}) [0-9]+>");
  for (const std::string& line : lines) ASSERT_THAT(line, whole);
}

// A conversion of the test's own, %Y, counts how often a line is formatted.
std::atomic<int> g_conversions{0};

int CountConversion(FILE* stream, const printf_info*, const void* const*) {
  ++g_conversions;
  return fputs("counted", stream) < 0 ? -1 : 7;
}
int OneInteger(const printf_info*, size_t, int* types, int* sizes) {
  types[0] = PA_INT;
  sizes[0] = sizeof(int);
  return 1;
}
const char* CountingFormat() {
  register_printf_specifier('Y', CountConversion, OneInteger);
  return "%Y";
}

#pragma GCC diagnostic ignored "-Wformat-security"
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

TEST_F(HostLogTest, AWantedLineIsFormattedOnceAndAnUnwantedOneNever) {
  LogToFile();
  setenv("NUV_LOG_LEVEL", "warning", 1);
  const char* const format = CountingFormat();
  __dlog_print(kMain, kInfo, "t", format, 1);  // the very first line, too
  EXPECT_EQ(g_conversions, 0);
  __dlog_print(kMain, kWarning, "t", format, 1);
  EXPECT_EQ(g_conversions, 1);
  __dlog_print(kMain, kInfo, "t", format, 1);
  EXPECT_EQ(g_conversions, 1);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("W t(main): counted")));
}

TEST_F(HostLogTest, NothingIsFormattedWhenTheLogIsOff) {
  setenv("NUV_LOG", "off", 1);
  const char* const format = CountingFormat();
  EXPECT_EQ(__dlog_print(kMain, kError, "t", format, 1), 0);
  EXPECT_EQ(__dlog_print(kMain, kError, "t", format, 1), 0);
  EXPECT_EQ(g_conversions, 0);
}

TEST_F(HostLogTest, AValueThatMakesNoSenseMeansOff) {
  setenv("NUV_LOG", "loud", 1);
  EXPECT_EQ(__dlog_print(kMain, kError, "t", "x"), 0);
}

TEST_F(HostLogTest, AFileThatCannotBeOpenedMeansOff) {
  setenv("NUV_LOG", "file:/nonexistent/directory/log", 1);
  EXPECT_EQ(__dlog_print(kMain, kError, "t", "x"), 0);
}

TEST_F(HostLogTest, ErrnoIsKeptAndCanBeLogged) {
  LogToFile();
  errno = ENOTDIR;
  __dlog_print(kMain, kInfo, "t", "%m");
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith(": Not a directory")));
  setenv("NUV_LOG", "off", 1);
}

TEST_F(HostLogTest, MissingTextsAreNoCrash) {
  LogToFile();
  const char* volatile const nothing = nullptr;  // volatile, or the compiler warns of it
  const char* const none = nothing;
  __dlog_print(kMain, kInfo, none, "%s", none);
  __dlog_print(kMain, kInfo, "t", none);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("I (main): (null)"), EndsWith("I t(main): ")));
}

TEST_F(HostLogTest, StderrGetsTheLinesWithoutColoursWhenItIsNoTerminal) {
  setenv("NUV_LOG", "stderr", 1);
  const int saved = dup(STDERR_FILENO);
  dup2(open(log_.c_str(), O_WRONLY | O_CREAT, 0600), STDERR_FILENO);
  __dlog_print(kMain, kInfo, "t", "\e[0;33mgreen\e[0;m");
  dup2(saved, STDERR_FILENO);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("I t(main): green")));
}

TEST_F(HostLogTest, ColoursReachATerminal) {
  const int terminal = posix_openpt(O_RDWR | O_NOCTTY);
  ASSERT_TRUE(terminal >= 0 && grantpt(terminal) == 0 && unlockpt(terminal) == 0);
  setenv("NUV_LOG", (std::string("file:") + ptsname(terminal)).c_str(), 1);
  ASSERT_GT(__dlog_print(kMain, kInfo, "t", "\e[0;33myellow\e[0;m"), 0);
  char text[256] = "";
  ASSERT_GT(read(terminal, text, sizeof text - 1), 0);
  EXPECT_THAT(text, HasSubstr("\e[0;33myellow\e[0;m"));
}

TEST_F(HostLogTest, AStderrSocketWithoutItsOtherEndDoesNotSignal) {
  setenv("NUV_LOG", "stderr", 1);
  int ends[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
  close(ends[1]);
  const int saved = dup(STDERR_FILENO);
  dup2(ends[0], STDERR_FILENO);
  const int written = __dlog_print(kMain, kInfo, "t", "x");  // SIGPIPE would end the test
  dup2(saved, STDERR_FILENO);
  EXPECT_LT(written, 0);
}

TEST_F(HostLogTest, AFifoIsNeitherWaitedForNorWrittenTo) {
  ASSERT_EQ(mkfifo(log_.c_str(), 0600), 0);
  LogToFile();
  EXPECT_EQ(__dlog_print(kMain, kInfo, "t", "x"), 0);
}

TEST_F(HostLogTest, AForkedChildLogsWhileTheParentsThreadsDo) {
  LogToFile();
  std::atomic<bool> done{false};
  std::thread busy([&] {
    while (!done) __dlog_print(kMain, kInfo, "t", "parent %5d", 1);
  });
  for (int i = 0; i < 20; ++i) {
    const pid_t child = fork();
    if (child == 0) _exit(__dlog_print(kMain, kInfo, "t", "child %5d", i) > 0 ? 0 : 1);
    int status = -1;
    EXPECT_TRUE(WaitUntil([&] { return waitpid(child, &status, WNOHANG) == child; }));
    EXPECT_EQ(status, 0);
  }
  done = true;
  busy.join();
  int children = 0;
  for (const std::string& line : Logged()) children += line.find("child") != std::string::npos;
  EXPECT_EQ(children, 20);
}

void LogAtExit() {
  __dlog_print(kMain, kInfo, "t", "last words");
}

TEST_F(HostLogTest, ALineFromTheEndOfTheProcessIsWritten) {
  LogToFile();
  const pid_t child = fork();
  if (child == 0) {
    atexit(LogAtExit);
    __dlog_print(kMain, kInfo, "t", "first words");
    exit(0);
  }
  int status = -1;
  ASSERT_TRUE(WaitUntil([&] { return waitpid(child, &status, WNOHANG) == child; }));
  EXPECT_EQ(status, 0);
  EXPECT_THAT(Logged(), testing::ElementsAre(EndsWith("first words"), EndsWith("last words")));
}

TEST_F(HostLogTest, PriorityInheritanceIsAcceptedAndShown) {
  LogToFile();
  EXPECT_EQ(resource_set_cpu_inheritance(12, "litecorvane", -1), 0);
  EXPECT_EQ(resource_clear_cpu_inheritance(12, nullptr), 0);
  EXPECT_THAT(Logged(),
              testing::ElementsAre(EndsWith("I NuvHost(main): thread 12 lends its priority to litecorvane (-1)"),
                                   EndsWith("thread 12 takes its priority back from (null)")));
}

}  // namespace
