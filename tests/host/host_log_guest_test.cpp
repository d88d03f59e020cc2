// The log as a guest of its host: whatever becomes of the place that its lines go to, the host is neither ended nor
// held up. Most cases run in a child, which a signal may end and which is killed where it is held up.
#include <errno.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_log.h>
#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "process.h"
#include "temp_dir.h"

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::SizeIs;

int Log(const char* text) {
  return __dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "t", "%s", text);
}

// By hand: a sanitizer that meets a class for the first time, as a stream, asks for descriptors.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t start = 0; start < text.size();) {
    const size_t end = std::min(text.find('\n', start), text.size());
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

// Everything that can be read without waiting.
std::string Drain(int fd) {
  std::string all;
  std::string block(64 * 1024, '\0');
  pollfd readable{fd, POLLIN, 0};
  while (poll(&readable, 1, 0) == 1 && (readable.revents & POLLIN) != 0) {
    const ssize_t got = read(fd, block.data(), block.size());
    if (got <= 0) break;
    all.append(block, 0, static_cast<size_t>(got));
  }
  return all;
}

// Writes until no byte more is taken.
void Fill(int fd) {
  const int flags = fcntl(fd, F_GETFL);
  fcntl(fd, F_SETFL, flags | O_NONBLOCK);
  const std::string block(4096, '.');
  for (size_t size = block.size(); size > 0; size /= 2) {
    while (write(fd, block.data(), size) > 0) {
    }
  }
  fcntl(fd, F_SETFL, flags);
}

// Standard error for as long as this lives.
class StandardError {
 public:
  explicit StandardError(int fd) : saved_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 10)) { dup2(fd, STDERR_FILENO); }
  ~StandardError() {
    dup2(saved_, STDERR_FILENO);
    close(saved_);
  }
  StandardError(const StandardError&) = delete;
  StandardError& operator=(const StandardError&) = delete;

 private:
  int saved_;
};

struct Pipe {
  Pipe() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    reader = ends[0];
    writer = ends[1];
  }
  int reader = -1;
  int writer = -1;
};

struct Terminal {
  Terminal() : master(posix_openpt(O_RDWR | O_NOCTTY)) {
    EXPECT_TRUE(master >= 0 && grantpt(master) == 0 && unlockpt(master) == 0);
    name = ptsname(master);
    slave = open(name.c_str(), O_RDWR | O_NOCTTY);
    EXPECT_GE(slave, 0);
  }
  int master;
  int slave;
  std::string name;
};

rlim_t FileSizeLimit() {
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  return limit.rlim_cur;
}
void LimitFileSize(rlim_t size) {
  rlimit limit;
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = size;
  setrlimit(RLIMIT_FSIZE, &limit);
}

sigset_t SetOf(int signal) {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, signal);
  return set;
}
bool IsPending(int signal) {
  sigset_t pending;
  sigpending(&pending);
  return sigismember(&pending, signal) == 1;
}

class HostLogGuest : public testing::Test {
 protected:
  HostLogGuest() { setenv("NUV_LOG", "stderr", 1); }
  void LogToFile() const { setenv("NUV_LOG", ("file:" + log_).c_str(), 1); }

  // An open FIFO: a pipe that can be opened by its name.
  Pipe NamedPipe() const {
    Pipe fifo;
    close(fifo.reader);
    close(fifo.writer);
    const std::string path = directory_ / "fifo";
    EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
    fifo.reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    fifo.writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    return fifo;
  }

  TempDir directory_;
  const std::string log_ = directory_ / "log";
};

// A reader that is gone

TEST_F(HostLogGuest, APipeWithoutItsReaderEndsNoHost) {
  EXPECT_EQ(InChild([] {
              const Pipe pipe;
              close(pipe.reader);
              const StandardError error(pipe.writer);
              return Log("x") < 0 && Log("y") < 0 && !IsPending(SIGPIPE) ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, ANamedPipeWithoutItsReaderEndsNoHost) {
  EXPECT_EQ(InChild([this] {
              const Pipe pipe = NamedPipe();
              close(pipe.reader);
              const StandardError error(pipe.writer);
              return Log("x") < 0 && Log("y") < 0 && !IsPending(SIGPIPE) ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, AReaderThatGoesLaterEndsNoHost) {
  EXPECT_EQ(InChild([] {
              const Pipe pipe;
              const StandardError error(pipe.writer);
              if (Log("x") <= 0) return 1;
              close(pipe.reader);
              return Log("y") < 0 ? 0 : 2;
            }),
            0);
}

TEST_F(HostLogGuest, AStandardErrorThatIsReplacedByAPipeWithoutReaderEndsNoHost) {
  EXPECT_EQ(InChild([this] {
              const StandardError file(open(log_.c_str(), O_WRONLY | O_CREAT, 0600));
              if (Log("x") <= 0) return 1;
              const Pipe pipe;
              close(pipe.reader);
              const StandardError error(pipe.writer);
              return Log("y") < 0 ? 0 : 2;
            }),
            0);
}

std::atomic<int> g_signals{0};
void CountSignal(int) {
  ++g_signals;
}

TEST_F(HostLogGuest, TheHostsHandlerOfSigpipeIsNotCalledAndStays) {
  EXPECT_EQ(InChild([] {
              signal(SIGPIPE, CountSignal);
              const Pipe pipe;
              close(pipe.reader);
              const StandardError error(pipe.writer);
              Log("x");
              if (g_signals != 0) return 1;
              raise(SIGPIPE);
              return g_signals == 1 ? 0 : 2;
            }),
            0);
}

TEST_F(HostLogGuest, ASigpipeThatTheHostHasPendingStaysPending) {
  EXPECT_EQ(InChild([] {
              const sigset_t set = SetOf(SIGPIPE);
              pthread_sigmask(SIG_BLOCK, &set, nullptr);
              raise(SIGPIPE);
              const Pipe pipe;
              close(pipe.reader);
              const StandardError error(pipe.writer);
              Log("x");
              return IsPending(SIGPIPE) ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, AHostThatBlocksSigpipeFindsNoneOfTheLogs) {
  EXPECT_EQ(InChild([] {
              const sigset_t set = SetOf(SIGPIPE);
              pthread_sigmask(SIG_BLOCK, &set, nullptr);
              const Pipe pipe;
              close(pipe.reader);
              const StandardError error(pipe.writer);
              Log("x");
              sigset_t now;
              pthread_sigmask(SIG_BLOCK, nullptr, &now);
              if (sigismember(&now, SIGPIPE) != 1) return 1;
              return IsPending(SIGPIPE) ? 2 : 0;
            }),
            0);
}

// A reader that does not read

// Fills the pipe, logs, reads, logs again.
int LogPastAFullPipe(const Pipe& pipe, void (*after_first_line)() = nullptr) {
  const StandardError error(pipe.writer);
  if (Log("first") <= 0) return 1;
  if (after_first_line != nullptr) after_first_line();
  Fill(pipe.writer);
  for (int i = 0; i < 12; ++i) {
    if (Log("lost") >= 0) return 2;
  }
  const std::string before = Drain(pipe.reader);
  if (before.find("lost") != std::string::npos) return 3;
  if (Log("through") <= 0 || Log("next") <= 0) return 4;
  const auto lines = Lines(Drain(pipe.reader));
  if (lines.size() != 2) return 5;
  if (lines[0].find(" I t(main): [12 lines dropped] through") == std::string::npos) return 6;
  if (lines[1].find(" I t(main): next") == std::string::npos) return 7;
  return (fcntl(pipe.writer, F_GETFL) & O_NONBLOCK) == 0 ? 0 : 8;
}

TEST_F(HostLogGuest, AFullPipeDropsLinesAndTheNextOneCountsThem) {
  EXPECT_EQ(InChild([] { return LogPastAFullPipe(Pipe()); }), 0);
}

TEST_F(HostLogGuest, AFullNamedPipeDropsLinesAndTheNextOneCountsThem) {
  EXPECT_EQ(InChild([this] { return LogPastAFullPipe(NamedPipe()); }), 0);
}

// A host without a free descriptor: what needs one has to be done without.
void UseUpDescriptors() {
  int highest = 0;
  while (highest < 100) highest = dup(STDIN_FILENO);
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = static_cast<rlim_t>(highest) + 1;
  setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(HostLogGuest, AFullNamedPipeThatCannotBeOpenedAgainDropsLinesToo) {
  EXPECT_EQ(InChild([this] { return LogPastAFullPipe(NamedPipe(), UseUpDescriptors); }), 0);
}

TEST_F(HostLogGuest, ALongLineReachesAReaderWhole) {
  EXPECT_EQ(InChild([] {
              const Pipe pipe;
              const StandardError error(pipe.writer);
              const std::string text(20000, 'x');
              if (Log(text.c_str()) <= 20000) return 1;
              const auto lines = Lines(Drain(pipe.reader));
              return lines.size() == 1 && lines[0].find(text) != std::string::npos ? 0 : 2;
            }),
            0);
}

TEST_F(HostLogGuest, ALineThatAFullPipeCutsIsCountedAndTheNextOneBeginsAnew) {
  EXPECT_EQ(InChild([] {
              const Pipe pipe;
              const StandardError error(pipe.writer);
              const std::string text(40000, 'x');
              if (Log(text.c_str()) <= 40000) return 1;
              if (Log(text.c_str()) > 40000) return 2;  // does not fit any more
              Drain(pipe.reader);
              if (Log("through") <= 0) return 3;
              const std::string rest = Drain(pipe.reader);
              if (rest[0] != '\n') return 4;
              return rest.find("[1 line dropped] through\n") != std::string::npos ? 0 : 5;
            }),
            0);
}

TEST_F(HostLogGuest, ThreadsAtAPipeThatIsReadSlowlyLeaveWholeLines) {
  constexpr int kThreads = 4;
  constexpr int kLines = 2000;
  EXPECT_EQ(InChild(
                [] {
                  const Pipe pipe;
                  const StandardError error(pipe.writer);
                  std::atomic<int> busy{kThreads};
                  std::vector<std::thread> threads;
                  for (int t = 0; t < kThreads; ++t) {
                    threads.emplace_back([&] {
                      const std::string text = "<" + std::string(300, 'x') + ">";
                      for (int i = 0; i < kLines; ++i) Log(text.c_str());
                      --busy;
                    });
                  }
                  std::string all;
                  while (busy != 0) all += Drain(pipe.reader);
                  for (std::thread& thread : threads) thread.join();
                  all += Drain(pipe.reader);
                  for (const std::string& line : Lines(all)) {
                    if (line.find(": [") == std::string::npos && line.find(": <") == std::string::npos) return 1;
                    if (line.find("<" + std::string(300, 'x') + ">") != line.size() - 302) return 2;
                  }
                  return 0;
                },
                Milliseconds(30000)),
            0);
}

TEST_F(HostLogGuest, ASocketThatNobodyReadsHoldsNobody) {
  EXPECT_EQ(InChild([] {
              int ends[2];
              if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) != 0) return 1;
              const StandardError error(ends[0]);
              int lines = 0;
              while (lines < 100000 && Log("x") > 0) ++lines;
              if (lines == 100000) return 2;
              Drain(ends[1]);
              if (Log("through") <= 0) return 3;
              return Drain(ends[1]).find("[1 line dropped] through\n") != std::string::npos ? 0 : 4;
            }),
            0);
}

TEST_F(HostLogGuest, AStandardErrorThatDoesNotBlockCountsWhatItDrops) {
  EXPECT_EQ(InChild([] {
              const Pipe pipe;
              const StandardError error(pipe.writer);
              Log("first");
              Fill(pipe.writer);
              fcntl(pipe.writer, F_SETFL, fcntl(pipe.writer, F_GETFL) | O_NONBLOCK);
              if (Log("lost") >= 0) return 1;
              Drain(pipe.reader);
              if (Log("through") <= 0) return 2;
              return Drain(pipe.reader).find("[1 line dropped] through\n") != std::string::npos ? 0 : 3;
            }),
            0);
}

// Terminals

TEST_F(HostLogGuest, AStoppedTerminalHoldsNobody) {
  EXPECT_EQ(InChild([] {
              const Terminal terminal;
              const StandardError error(terminal.slave);
              if (tcflow(terminal.slave, TCOOFF) != 0) return 1;
              if (Log("lost") >= 0) return 2;
              tcflow(terminal.slave, TCOON);
              if (Log("through") <= 0) return 3;
              return Drain(terminal.master).find("[1 line dropped] through") != std::string::npos ? 0 : 4;
            }),
            0);
}

TEST_F(HostLogGuest, ATerminalThatNobodyReadsHoldsNobody) {
  EXPECT_EQ(InChild([] {
              const Terminal terminal;
              const StandardError error(terminal.slave);
              const std::string text(1000, 'x');
              int lines = 0;
              while (lines < 100000 && Log(text.c_str()) > 1000) ++lines;
              return lines < 100000 ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, ATerminalAsALogFileThatNobodyReadsHoldsNobody) {
  EXPECT_EQ(InChild([] {
              const Terminal terminal;
              setenv("NUV_LOG", ("file:" + terminal.name).c_str(), 1);
              const std::string text(1000, 'x');
              int lines = 0;
              while (lines < 100000 && Log(text.c_str()) > 1000) ++lines;
              return lines < 100000 ? 0 : 1;
            }),
            0);
}

// Makes the terminal the child's own, puts the body into the background, and gives back how it ended: its exit status,
// or -1 where it was stopped.
int InBackground(const Terminal& terminal, int (*body)()) {
  if (setsid() < 0 || ioctl(terminal.slave, TIOCSCTTY, 0) != 0) return 100;
  termios settings;
  tcgetattr(terminal.slave, &settings);
  settings.c_lflag |= TOSTOP;
  tcsetattr(terminal.slave, TCSANOW, &settings);
  const pid_t child = fork();
  if (child == 0) {
    setpgid(0, 0);
    _exit(body());
  }
  int status = 0;
  if (waitpid(child, &status, WUNTRACED) != child) return 101;
  if (!WIFSTOPPED(status)) return WEXITSTATUS(status);
  kill(child, SIGKILL);
  waitpid(child, &status, 0);
  return -1;
}

TEST_F(HostLogGuest, AHostInTheBackgroundOfItsTerminalIsNotStopped) {
  EXPECT_EQ(InChild([] {
              const Terminal terminal;
              const StandardError error(terminal.slave);
              const int ended = InBackground(terminal, [] { return Log("x") > 0 ? 0 : 1; });
              return ended == 0 && Drain(terminal.master).find("t(main): x") != std::string::npos ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, ATerminalAsALogFileDoesNotStopAHostInItsBackground) {
  EXPECT_EQ(InChild([] {
              const Terminal terminal;
              setenv("NUV_LOG", ("file:" + terminal.name).c_str(), 1);
              const int ended = InBackground(terminal, [] { return Log("x") > 0 ? 0 : 1; });
              return ended == 0 && Drain(terminal.master).find("t(main): x") != std::string::npos ? 0 : 1;
            }),
            0);
}

// Files that take no more

TEST_F(HostLogGuest, ALogFileAtTheLimitOfFileSizesEndsNoHost) {
  LogToFile();
  EXPECT_EQ(InChild([] {
              const std::string text(100, 'x');
              if (Log(text.c_str()) <= 100) return 1;
              const rlim_t limit = FileSizeLimit();
              LimitFileSize(200);
              if (Log(text.c_str()) > 100) return 2;  // a part of it fits
              if (Log(text.c_str()) >= 0 || IsPending(SIGXFSZ)) return 3;
              LimitFileSize(limit);
              return Log("through") > 0 ? 0 : 4;
            }),
            0);
  const auto lines = Lines(ReadFile(log_));
  ASSERT_THAT(lines, SizeIs(3));
  EXPECT_THAT(lines[0], EndsWith(" I t(main): " + std::string(100, 'x')));
  EXPECT_THAT(lines[2], EndsWith(" I t(main): [2 lines dropped] through"));
}

TEST_F(HostLogGuest, AStandardErrorAtTheLimitOfFileSizesEndsNoHost) {
  EXPECT_EQ(InChild([this] {
              const StandardError error(open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
              LimitFileSize(0);
              return Log("x") < 0 && !IsPending(SIGXFSZ) ? 0 : 1;
            }),
            0);
}

TEST_F(HostLogGuest, ASigxfszThatTheHostHasPendingStaysPending) {
  LogToFile();
  EXPECT_EQ(InChild([] {
              const sigset_t set = SetOf(SIGXFSZ);
              pthread_sigmask(SIG_BLOCK, &set, nullptr);
              raise(SIGXFSZ);
              LimitFileSize(0);
              if (Log("x") >= 0) return 1;
              return IsPending(SIGXFSZ) ? 0 : 2;
            }),
            0);
}

TEST_F(HostLogGuest, AFullDiskFailsALineAndNothingElse) {
  setenv("NUV_LOG", "file:/dev/full", 1);
  EXPECT_EQ(InChild([] {
              errno = ENOTDIR;
              return Log("x") < 0 && Log("y") < 0 && errno == ENOTDIR ? 0 : 1;
            }),
            0);
}

// A standard error that is somebody else's

TEST_F(HostLogGuest, AFileOfTheHostThatGotTheNumberOfStandardErrorStaysClean) {
  const std::string own = directory_ / "database";
  EXPECT_EQ(InChild([this, &own] {
              const StandardError error(open(log_.c_str(), O_WRONLY | O_CREAT, 0600));
              if (Log("x") <= 0) return 1;
              close(STDERR_FILENO);
              if (Log("closed") >= 0) return 2;
              if (open(own.c_str(), O_WRONLY | O_CREAT, 0600) != STDERR_FILENO) return 3;
              return Log("y") < 0 ? 0 : 4;
            }),
            0);
  EXPECT_EQ(ReadFile(own), "");
  EXPECT_THAT(Lines(ReadFile(log_)), testing::ElementsAre(EndsWith("t(main): x")));
}

TEST_F(HostLogGuest, AHostWithoutStandardErrorKeepsWhatGetsItsNumberClean) {
  const std::string own = directory_ / "database";
  EXPECT_EQ(InChild([&own] {
              close(STDERR_FILENO);
              if (Log("x") > 0) return 1;
              if (open(own.c_str(), O_WRONLY | O_CREAT, 0600) != STDERR_FILENO) return 2;
              return Log("y") <= 0 ? 0 : 3;
            }),
            0);
  EXPECT_EQ(ReadFile(own), "");
}

TEST_F(HostLogGuest, AStandardErrorThatIsBackGetsLinesAgain) {
  EXPECT_EQ(InChild([this] {
              const StandardError error(open(log_.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
              if (Log("x") <= 0) return 1;
              {
                const StandardError other(open("/dev/null", O_WRONLY));
                if (Log("y") >= 0) return 2;
              }
              return Log("z") > 0 ? 0 : 3;
            }),
            0);
  EXPECT_THAT(Lines(ReadFile(log_)), testing::ElementsAre(EndsWith("t(main): x"), EndsWith("[1 line dropped] z")));
}

}  // namespace
