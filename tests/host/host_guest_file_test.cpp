#include "host_guest_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "temp_dir.h"

namespace {

using nuv::host::GuestFile;

int NextFreeDescriptor() {
  const int fd = open("/dev/null", O_RDONLY);
  close(fd);
  return fd;
}

class HostGuestFileTest : public testing::Test {
 protected:
  TempDir directory_;
  const std::string path_ = directory_ / "file";
  GuestFile file_{path_, O_APPEND | O_CREAT};
};

TEST_F(HostGuestFileTest, OpensOnTheFirstWriteAndAppends) {
  WriteFile(path_, "a");
  EXPECT_EQ(file_.Write("bc", 2), 2);
  EXPECT_EQ(ReadFile(path_), "abc");
}

TEST_F(HostGuestFileTest, OpensAnewWhenTheHostClosedItsDescriptor) {
  const int fd = NextFreeDescriptor();
  file_.Write("a", 1);
  ASSERT_EQ(close(fd), 0);
  EXPECT_EQ(file_.Write("b", 1), 1);
  EXPECT_EQ(ReadFile(path_), "ab");
}

TEST_F(HostGuestFileTest, NeverWritesToAFileOfTheHostThatGotTheNumber) {
  const int fd = NextFreeDescriptor();
  file_.Write("a", 1);
  close(fd);
  const std::string own = directory_ / "database";
  ASSERT_EQ(open(own.c_str(), O_WRONLY | O_CREAT, 0600), fd);
  EXPECT_EQ(file_.Write("b", 1), 1);
  EXPECT_EQ(ReadFile(own), "");
  EXPECT_EQ(ReadFile(path_), "ab");
}

TEST_F(HostGuestFileTest, IsNotHandedToProgramsThatTheHostStarts) {
  const int fd = NextFreeDescriptor();
  file_.Write("a", 1);
  EXPECT_EQ(fcntl(fd, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
}

}  // namespace
