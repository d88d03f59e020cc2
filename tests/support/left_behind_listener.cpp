// After each test: nothing that a call of the library took is left, but for what the library keeps by design.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <regex>

#include "left_behind.h"

namespace {

struct Kept {
  const char* pattern;
  int most;  // per process
};

#ifdef __SANITIZE_THREAD__
constexpr int kSanitizerThreads = 1;  // started together with a program's first thread
#else
constexpr int kSanitizerThreads = 0;
#endif

// Each side keeps its connection, each of the two links its bus and its listener, GLib its threads and their wake-up
// descriptors, and a shared connection that closed, until the host's main loop has heard of it.
const Kept kKeptByDesign[] = {
    {"descriptor .*[.]db( .*)?", 2}, {"descriptor .*[.]db-(wal|shm)( .*)?", 4}, {"descriptor .*socket:.*", 3},
    {"descriptor .*eventfd.*", 6},   {"thread .* (gmain|gdbus|pool.*)", 4},     {"thread .*", 2 + kSanitizerThreads},
};

std::vector<std::string> WithoutKept(std::vector<std::string> lines) {
  for (const Kept& kept : kKeptByDesign) {
    int left = kept.most;
    const std::regex pattern(kept.pattern);
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [&](const std::string& line) { return std::regex_match(line, pattern) && left-- > 0; }),
                lines.end());
  }
  return lines;
}

class LeftBehindListener : public ::testing::EmptyTestEventListener {
 private:
  void OnTestStart(const ::testing::TestInfo&) override { before_ = std::make_unique<LeftBehind>(); }

  void OnTestEnd(const ::testing::TestInfo&) override {
    std::vector<std::string> lines;
    WaitUntil(
        [&] {
          lines = WithoutKept(before_->Now(Milliseconds(0)));
          return lines.empty();
        },
        Milliseconds(2000));
    for (const std::string& line : lines) ADD_FAILURE() << "left behind: " << line;
  }

  std::unique_ptr<LeftBehind> before_;
};

[[maybe_unused]] const bool registered = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new LeftBehindListener);
  return true;
}();

}  // namespace
