#include "host_trace_marker.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <nuv_platform/platform_trace.h>
#include <unistd.h>

#include <string>

#include "temp_dir.h"

namespace {

using nuv::host::TraceMarker;

// A marker keeps its file for the life of the process, so the tests have static ones.
class HostTraceMarkerTest : public testing::Test {
 protected:
  std::string Pid() const { return std::to_string(getpid()); }

  TempDir directory_;
  const std::string absent_ = directory_ / "absent";
  const std::string present_ = directory_ / "present";
};

TEST_F(HostTraceMarkerTest, WritesSpansToTheFirstFileThatIsThere) {
  WriteFile(present_, "");
  static TraceMarker marker(absent_.c_str(), present_.c_str());
  errno = ENOTDIR;
  marker.Begin("[BEGIN]Start: app id:[a]");
  EXPECT_EQ(errno, ENOTDIR);
  EXPECT_EQ(ReadFile(present_), "B|" + Pid() + "|[BEGIN]Start: app id:[a]");
  marker.End();
  EXPECT_EQ(ReadFile(present_), "B|" + Pid() + "|[BEGIN]Start: app id:[a]" + "E|" + Pid());
}

TEST_F(HostTraceMarkerTest, KeepsASpanInOneLineOfTheKernelsLength) {
  WriteFile(present_, "");
  static TraceMarker marker(present_.c_str(), absent_.c_str());
  marker.Begin(("a\nb" + std::string(5000, 'x')).c_str());
  const std::string written = ReadFile(present_);
  EXPECT_EQ(written.size(), 1024u);
  EXPECT_EQ(written.substr(0, written.find('x')), "B|" + Pid() + "|a b");
}

TEST_F(HostTraceMarkerTest, MakesNoFileAndLooksOnlyOnce) {
  static TraceMarker marker(absent_.c_str(), absent_.c_str());
  marker.Begin("x");
  EXPECT_NE(access(absent_.c_str(), F_OK), 0);
  WriteFile(absent_, "");
  marker.Begin("x");
  marker.End();
  EXPECT_EQ(ReadFile(absent_), "");
}

TEST_F(HostTraceMarkerTest, TakesAMissingText) {
  WriteFile(present_, "");
  static TraceMarker marker(present_.c_str(), absent_.c_str());
  marker.Begin(nullptr);
  EXPECT_EQ(ReadFile(present_), "B|" + Pid() + "|");
}

}  // namespace
