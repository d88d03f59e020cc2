// Cells of the kill matrix: what dies at which boundary, and the service and the bus that do.
#pragma once

#include <gmock/gmock.h>
#include <unistd.h>

#include <deque>
#include <set>

#include "catalogue_launch_test.h"
#include "launch_record.h"

using Outcomes = std::set<std::string>;

enum class Victim { kService, kBus, kBoth };

enum class Boundary {
  kBeforeTheCall,
  kProbeArrived,
  kProbeAnswered,
  kRequestArrived,
  kRequestAnswered,
  kBeforeTheResult,
  kResultSent,
  kInTheCallback,
};

struct Place {
  Boundary boundary;
  const char* name;
  const char* stage;  // of the service's plan; null: the test kills, the service lives on until then
  bool of_probe;
  bool only_launches;
};

struct Cell {
  Victim victim;
  const char* victim_name;
  Place place;
};
inline void PrintTo(const Cell& cell, std::ostream* out) {
  *out << cell.victim_name << cell.place.name;
}

// How a launch can end.
constexpr const char* kHeard = "accepted, heard 1, told 0";
constexpr const char* kSilent = "accepted, heard 0, told 0";
constexpr const char* kTold = "refused -1, heard 0, told 1";
constexpr const char* kNoLink = "refused -1, heard 0, told 0";

class KillMatrixTest : public CatalogueLaunchTest, public ::testing::WithParamInterface<Cell> {
 protected:
  void SetUp() override {
    CatalogueLaunchTest::SetUp();
    AddApplications(database_);
    database_.Close();
    StartMortal();
  }
  void TearDown() override {
    for (const LaunchRecord& record : launches_) EXPECT_EQ(0, record.wrong);
    EXPECT_EQ(judged_, Endings()) << "a callback came after all was over";
    CatalogueLaunchTest::TearDown();
  }

  static Boundary At() { return GetParam().place.boundary; }
  static bool BusDies() { return GetParam().victim != Victim::kService; }
  static bool ServiceDies() { return GetParam().victim != Victim::kBus; }
  std::string PlanPath() const { return directory_ / "plan"; }

  void StartMortal() {
    const std::vector<std::string> command = {NUV_TEST_DIR "/mortal_service", bus_.address(), PlanPath()};
    mortal_ = std::make_unique<Process>(command, directory_.path());
    ready_ = 0;
    WaitForReady();
  }
  void WaitForReady() {
    ++ready_;
    constexpr size_t kLine = 6;  // "ready\n"
    ASSERT_TRUE(WaitUntil([&] { return mortal_->Output().size() >= kLine * ready_; })) << mortal_->Errors();
  }

  // The plan of a stage of a method's next call.
  void Tell(const std::string& method, const std::string& stage) {
    WriteFile(PlanPath(), method + " " + stage + " " + (BusDies() ? std::to_string(bus_.pid()) : "0") + " " +
                              (ServiceDies() ? "1" : "0") + "\n");
  }
  void Kill() {
    if (ServiceDies()) mortal_->KillAndWait();
    if (BusDies()) bus_.Kill();
  }
  // Waits until the plan is carried out, kills what it has left alive, and starts again what died.
  void Revive() {
    if (GetParam().place.stage != nullptr && At() != Boundary::kBeforeTheResult) {
      ASSERT_TRUE(WaitUntil([&] { return access(PlanPath().c_str(), F_OK) != 0; })) << "the plan was not carried out";
    }
    unlink(PlanPath().c_str());
    Kill();
    if (BusDies()) bus_.Start();
    if (ServiceDies()) {
      StartMortal();
    } else {
      WaitForReady();
    }
  }
  // A link whose service did not answer the probe sends no more until its connection is a new one.
  void RenewLink() {
    mortal_->KillAndWait();
    bus_.Restart();
    StartMortal();
  }

  LaunchRecord& NewLaunch() { return launches_.emplace_back(); }

  static std::string Ending(const LaunchRecord& record) {
    const std::string counts = ", heard " + std::to_string(record.heard) + ", told " + std::to_string(record.told);
    return (record.result == 0 ? "accepted" : "refused " + std::to_string(record.result)) + counts;
  }
  std::vector<std::string> Endings() const {
    std::vector<std::string> endings;
    for (const LaunchRecord& record : launches_) endings.push_back(Ending(record));
    return endings;
  }
  void LaunchAndHear(const ExportedCall& launch) {
    LaunchRecord& record = NewLaunch();
    ASSERT_EQ(0, Launch(launch, record));
    ASSERT_TRUE(WaitUntil([&] { return record.heard == 1; })) << Ending(record);
  }

  // Checks what became of a launch, and waits for a result that is still on its way.
  static void Judge(const LaunchRecord& record, const Outcomes& outcomes) {
    if (outcomes == Outcomes{kHeard}) WaitUntil([&] { return record.heard > 0; });
    EXPECT_THAT(outcomes, ::testing::Contains(Ending(record)));
  }

  TempDir directory_;
  std::unique_ptr<Process> mortal_;
  size_t ready_ = 0;
  std::deque<LaunchRecord> launches_;  // for as long as a callback may come
  std::vector<std::string> judged_;
};
