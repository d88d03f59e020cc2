#include "host_log_sink.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_log.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "temp_dir.h"

namespace {

using nuv::host::LogMessage;
using nuv::host::MakeLogSink;

LogMessage Message(int buffer, int priority, const char* text) {
  return {buffer, priority, "NuvClient", text, strlen(text), 0};
}

// Stands in for the journal: a datagram socket that is read by the test.
class Journal {
 public:
  explicit Journal(const std::string& path) : fd_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{AF_UNIX, {}};
    strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    unlink(path.c_str());
    EXPECT_EQ(bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  }
  ~Journal() { close(fd_); }

  std::string Receive() const {
    std::string text(256 * 1024, '\0');
    const ssize_t got = recv(fd_, text.data(), text.size(), MSG_DONTWAIT);
    return got < 0 ? "nothing" : text.substr(0, static_cast<size_t>(got));
  }

 private:
  int fd_;
};

class HostLogSinkTest : public testing::Test {
 protected:
  TempDir directory_;
  const std::string socket_ = directory_ / "socket";
};

TEST_F(HostLogSinkTest, TheJournalIsTheDefaultWhereThereIsOne) {
  EXPECT_EQ(MakeLogSink(nullptr, socket_.c_str()), nullptr);
  EXPECT_EQ(MakeLogSink("", socket_.c_str()), nullptr);
  const Journal journal(socket_);
  const auto sink = MakeLogSink(nullptr, socket_.c_str());
  ASSERT_NE(sink, nullptr);
  EXPECT_GT(sink->Write(Message(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "text")), 0);
  EXPECT_EQ(journal.Receive(), "PRIORITY=6\nSYSLOG_IDENTIFIER=NuvClient\nNUV_LOG_BUFFER=main\nMESSAGE=text\n");
}

TEST_F(HostLogSinkTest, OffIsOffAlsoWhereThereIsAJournal) {
  const Journal journal(socket_);
  EXPECT_EQ(MakeLogSink("off", socket_.c_str()), nullptr);
  EXPECT_EQ(MakeLogSink("nonsense", socket_.c_str()), nullptr);
  EXPECT_EQ(MakeLogSink("file:", socket_.c_str()), nullptr);
}

TEST_F(HostLogSinkTest, TheJournalGetsItsPrioritiesAndPlainMessages) {
  const Journal journal(socket_);
  const auto sink = MakeLogSink("journal", socket_.c_str());
  sink->Write(Message(NUV_LOG_BUFFER_SYSTEM, NUV_LOG_PRIORITY_WARNING, "\e[0;31mred\e[0;m\nPRIORITY=0"));
  EXPECT_EQ(journal.Receive(),
            "PRIORITY=4\nSYSLOG_IDENTIFIER=NuvClient\nNUV_LOG_BUFFER=system\nMESSAGE=red\\nPRIORITY=0\n");
  sink->Write(Message(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_ERROR, "x"));
  EXPECT_EQ(journal.Receive().substr(0, 11), "PRIORITY=3\n");
}

TEST_F(HostLogSinkTest, TheLongestMessageFitsIntoADatagram) {
  const Journal journal(socket_);
  const auto sink = MakeLogSink("journal", socket_.c_str());
  const std::string text(2 * nuv::host::kMessageLimit, '\n');
  EXPECT_GT(sink->Write(Message(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, text.c_str())), 0);
  EXPECT_GT(journal.Receive().size(), nuv::host::kMessageLimit);
}

TEST_F(HostLogSinkTest, AJournalThatWasStartedAnewGetsTheNextLine) {
  auto journal = std::make_unique<Journal>(socket_);
  const auto sink = MakeLogSink("journal", socket_.c_str());
  journal.reset();
  EXPECT_LT(sink->Write(Message(0, NUV_LOG_PRIORITY_INFO, "lost")), 0);
  journal = std::make_unique<Journal>(socket_);
  EXPECT_GT(sink->Write(Message(0, NUV_LOG_PRIORITY_INFO, "kept")), 0);
  EXPECT_NE(journal->Receive().find("\nMESSAGE=[1 line dropped] kept\n"), std::string::npos);
}

TEST_F(HostLogSinkTest, AJournalThatDoesNotReadHoldsNobody) {
  const Journal journal(socket_);
  const auto sink = MakeLogSink("journal", socket_.c_str());
  int lines = 0;
  while (lines < 100000 && sink->Write(Message(0, NUV_LOG_PRIORITY_INFO, "x")) > 0) ++lines;
  EXPECT_LT(lines, 100000) << "the socket's queue never filled, so nothing was shown";
}

TEST_F(HostLogSinkTest, AHostThatTookTheSocketsNumberKeepsItsFileClean) {
  const Journal journal(socket_);
  const int next = open("/dev/null", O_RDONLY);
  close(next);
  const auto sink = MakeLogSink("journal", socket_.c_str());  // gets the number that was just free
  const std::string own = directory_ / "own";
  const int file = open(own.c_str(), O_WRONLY | O_CREAT, 0600);
  dup2(file, next);
  EXPECT_GT(sink->Write(Message(0, NUV_LOG_PRIORITY_INFO, "x")), 0);
  EXPECT_EQ(ReadFile(own), "");
  EXPECT_NE(journal.Receive(), "nothing");
}

}  // namespace
