// Processes that change the database beside each other, or die while they do.
#include <algorithm>
#include <random>

#include "inner_test.h"

namespace {

class InnerProcesses : public InnerTest {
 protected:
  void SetUp() override {
    InnerTest::SetUp();
    database_.Add("app", {{"use_count", 0}});
    database_.Close();
  }

  std::unique_ptr<Process> StartWriter(int times) {
    return std::make_unique<Process>(std::vector<std::string>{NUV_TEST_DIR "/inner_writer", std::to_string(times)},
                                     directory_.path(),
                                     Process::Environment{{"NUV_HOST_DIR", database_.directory()}, {"NUV_LOG", "off"}});
  }

  static int Results(const Process& writer, char result) {
    const std::string output = writer.Output();
    const size_t end = output.find('\n');
    return end == std::string::npos ? 0 : static_cast<int>(std::count(output.begin() + end, output.end(), result));
  }

  int Count() { return std::stoi(database_.Ask("select use_count from widgetinfo where id = 'app'")); }
};

TEST_F(InnerProcesses, AKilledWriterLeavesTheOldCountOrTheNewOne) {
  constexpr unsigned kSeed = 90503;
  constexpr int kKills = 200;
  std::mt19937 random(kSeed);
  int count = 0;
  int reported = 0;
  for (int i = 0; i < kKills && !HasFailure(); ++i) {
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", kill " + std::to_string(i));
    const auto writer = StartWriter(0);
    const int some = static_cast<int>(random() % 4);
    ASSERT_TRUE(WaitUntil([&] { return writer->Output().find('\n') != std::string::npos; }));
    ASSERT_TRUE(WaitUntil([&] { return Results(*writer, '.') >= some; }));
    // The moment of the kill is what is random here; nothing is waited for.
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    writer->KillAndWait();
    const int made = Results(*writer, '.');
    EXPECT_EQ(0, Results(*writer, 'x') + Results(*writer, 'b'));
    EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
    const int now = Count();
    EXPECT_GE(now, count + made) << "a change that was reported is kept";
    EXPECT_LE(now, count + made + 1) << "the one that the kill met is whole or not there";
    count = now;
    reported += made;
    database_.Close();
  }
  RecordProperty("reported", reported);
  EXPECT_GT(reported, 0);
}

TEST_F(InnerProcesses, WhatAKilledWriterLeftIsMendedByTheNextOpening) {
  const auto writer = StartWriter(0);
  ASSERT_TRUE(WaitUntil([&] { return Results(*writer, '.') >= 3; }));
  writer->KillAndWait();
  const int made = Results(*writer, '.');
  ASSERT_EQ(0, nuv_inner_db_init());
  EXPECT_EQ(0, nuv_db_update_app_count("app"));
  EXPECT_GE(Count(), made + 1);
  EXPECT_LE(Count(), made + 2);
  EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
}

TEST_F(InnerProcesses, WritersBesideEachOtherLoseNothingAndCountNothingTwice) {
  constexpr int kTimes = 100;
  const auto first = StartWriter(kTimes);
  const auto second = StartWriter(kTimes);
  // One that finds the other at work waits a second.
  EXPECT_EQ(0, first->Wait(Milliseconds(60000)));
  EXPECT_EQ(0, second->Wait(Milliseconds(60000)));
  const int made = Results(*first, '.') + Results(*second, '.');
  const int busy = Results(*first, 'b') + Results(*second, 'b');
  EXPECT_EQ(2 * kTimes, made + busy) << "no other result";
  EXPECT_EQ(made, Count());
  EXPECT_EQ("ok", database_.Ask("pragma integrity_check"));
}

}  // namespace
