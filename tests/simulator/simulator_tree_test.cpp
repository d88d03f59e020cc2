// What applications start themselves, and how it ends: with its application, with the simulator, and with nobody else.
#include <gmock/gmock.h>
#include <nuv/nuv_launch_codes.h>
#include <signal.h>
#include <sys/stat.h>

#include <filesystem>

#include "simulator_fixture.h"

namespace {

using Outcome = std::pair<int, int>;
const Outcome kLaunched(NUV_NOTIFY_LAUNCHED, 0);
constexpr const char* kIdle = "while :; do sleep 0.05; done";

class SimulatorTreeTest : public SimulatorTest {
 protected:
  ~SimulatorTreeTest() override {
    simulator_.reset();
    for (const int pid : to_kill_) kill(pid, SIGKILL);
  }

  // Shell text that does something first, writes the number of the shell, and then is the command.
  std::string Report(const std::string& name, const std::string& first = "",
                     const std::string& then = "exec sleep 1000") const {
    const std::string file = files_ / name;
    return first + "\necho $$ > " + file + ".new\nmv " + file + ".new " + file + "\n" + then + "\n";
  }
  // Shell text that starts one on its own: in a session of its own, of a parent that has ended.
  std::string Daemon(const std::string& name, const std::string& first = "",
                     const std::string& then = "exec sleep 1000") const {
    return "(setsid " + WriteScript(name + ".daemon", Report(name, first, then)) + " &)\n";
  }
  std::string AppWith(const std::string& id, const std::string& script) const {
    return R"({"id": ")" + id + R"(", "install_path": ")" + WriteScript(id, script) + "\"}";
  }
  void StartApps(const std::vector<std::string>& apps) {
    std::string list;
    for (const std::string& app : apps) list += (list.empty() ? "" : ", ") + app;
    Start({"--settle", "0"}, "{\"apps\": [" + list + "]}");
  }
  // The process that a script has reported.
  int PidOf(const std::string& name) {
    EXPECT_TRUE(WaitUntil([&] { return !ReadFile(files_ / name).empty(); })) << name;
    const int pid = std::atoi(ReadFile(files_ / name).c_str());
    if (pid > 0) to_kill_.push_back(pid);
    return pid > 0 ? pid : getpid();
  }
  bool Ends(int pid) const {
    return WaitUntil([&] { return !ProcessExists(pid); });
  }
  void Terminate(const char* id) const { Call("terminate_app", g_variant_new("(siss)", id, 0, "", "")); }

 private:
  std::vector<int> to_kill_;
};

TEST_F(SimulatorTreeTest, AtItsEndNothingIsLeftOfWhatItsApplicationsStarted) {
  const std::string child = WriteScript("child.sh", Report("child"));
  StartApps({AppWith(
      "an.app", "setsid " + child + " &\n" + Daemon("daemon") + Daemon("deaf", "trap '' TERM") + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const std::vector<int> processes = {PidOf("child"), PidOf("daemon"), PidOf("deaf"), RunningNumber("an.app", "pid")};
  EXPECT_EQ(End(), 0);
  for (const int pid : processes) EXPECT_FALSE(ProcessExists(pid)) << pid;
  EXPECT_EQ(simulator_->Errors(), "");
}

TEST_F(SimulatorTreeTest, AnApplicationThatIsTerminatedTakesAlongWhatItStartedAndNothingElse) {
  StartApps({AppWith("a.app", Daemon("a") + "exec sleep 1000\n"), AppWith("b.app", Daemon("b") + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"a.app"}), kLaunched);
  EXPECT_EQ(OutcomeOf({"b.app"}), kLaunched);
  const int a = PidOf("a");
  const int b = PidOf("b");
  const int b_app = RunningNumber("b.app", "pid");
  Terminate("a.app");
  EXPECT_TRUE(Ends(a));
  EXPECT_TRUE(WaitForOutput("stopped a.app"));
  EXPECT_TRUE(ProcessExists(b));
  EXPECT_TRUE(ProcessExists(b_app));
  Terminate("b.app");
  EXPECT_TRUE(Ends(b));
}

TEST_F(SimulatorTreeTest, WhatAnApplicationLeavesBehindIsAskedToEnd) {
  const std::string tell = "trap 'echo asked > " + (files_ / "asked") + "; exit' TERM";
  StartApps({AppWith("an.app", Daemon("daemon", tell, kIdle) + "while [ ! -e " + (files_ / "daemon") +
                                   " ]; do sleep 0.02; done; exit 0\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  EXPECT_TRUE(WaitForOutput("stopped an.app"));
  EXPECT_TRUE(Ends(PidOf("daemon")));
  EXPECT_EQ(ReadFile(files_ / "asked"), "asked\n");
}

TEST_F(SimulatorTreeTest, WhatDoesNotEndWhenItIsAskedIsKilled) {
  StartApps({AppWith("an.app", Daemon("deaf", "trap '' TERM") + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const int deaf = PidOf("deaf");
  Terminate("an.app");
  EXPECT_TRUE(WaitForOutput("stopped an.app"));
  EXPECT_TRUE(Ends(deaf));
}

// The program that tidies up is not asked to end itself.
TEST_F(SimulatorTreeTest, WhatTidiesUpHasTheTimeForIt) {
  const std::string tidy = "trap 'sleep 0.3 && echo tidy > " + (files_ / "tidy") + "; exit' TERM";
  StartApps({AppWith("an.app", Daemon("daemon", tidy, kIdle) + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const int daemon = PidOf("daemon");
  Terminate("an.app");
  EXPECT_TRUE(Ends(daemon));
  EXPECT_EQ(ReadFile(files_ / "tidy"), "tidy\n");
}

TEST_F(SimulatorTreeTest, WhatHidesItsOriginEndsWithTheSimulator) {
  const std::string hidden = WriteScript("hidden.sh", Report("hidden"));
  StartApps({AppWith("an.app", "(env -i PATH=\"$PATH\" setsid " + hidden + " &)\nexec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const int pid = PidOf("hidden");
  EXPECT_EQ(End(), 0);
  EXPECT_FALSE(ProcessExists(pid));
}

// As any process does for a moment, while it becomes another program.
class HiddenForAWhile : public SimulatorTreeTest {
 protected:
  // Shell text that starts a process whose origin cannot be seen before Show().
  std::string Hidden() const {
    const std::string shows =
        WriteScript("shows.sh", "while [ ! -e " + (files_ / "show") +
                                    " ]; do sleep 0.02; done\nexec env NUV_SIMULATOR_TREE=$1 sleep 1000\n");
    return "(env -i PATH=\"$PATH\" setsid " + WriteScript("hides.sh", Report("hidden", "", "exec " + shows + " $1")) +
           " $NUV_SIMULATOR_TREE &)\n";
  }
  void Show() const { WriteFile(files_ / "show", "show\n"); }
};

TEST_F(HiddenForAWhile, WhatAnApplicationLeavesBehindEndsAllTheSame) {
  StartApps({AppWith("an.app", Hidden() + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const int hidden = PidOf("hidden");
  Terminate("an.app");
  EXPECT_TRUE(WaitForOutput("stopped an.app"));
  EXPECT_TRUE(ProcessExists(hidden));
  Show();
  EXPECT_TRUE(Ends(hidden));
}

// What is killed at last is killed after its application.
TEST_F(HiddenForAWhile, WhatAnApplicationHasStartedIsAskedToEnd) {
  const std::string tidy = "trap 'echo >" + (files_ / "asked") + "; while kill -0 $(cat " + (files_ / "hidden") +
                           "); do sleep 0.02; done; echo >" + (files_ / "tidy") + "; exit' TERM\n";
  StartApps({AppWith("an.app", tidy + Hidden() + kIdle + "\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  PidOf("hidden");
  Terminate("an.app");
  EXPECT_TRUE(WaitUntil([this] { return std::filesystem::exists(files_ / "asked"); }));
  Show();
  EXPECT_TRUE(WaitForOutput("stopped an.app"));
  EXPECT_TRUE(std::filesystem::exists(files_ / "tidy"));
}

TEST_F(SimulatorTreeTest, WhatEndsByItselfLeavesNothing) {
  StartApps({AppWith("an.app", Daemon("short", "", "exit 0") + "exec sleep 1000\n")});
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  EXPECT_TRUE(Ends(PidOf("short")));
  EXPECT_GT(RunningNumber("an.app", "pid"), 0);
}

// A program that becomes the simulator leaves it its children. One of them ends only after that, and leaves it its own.
TEST_F(SimulatorTreeTest, ChildrenFromBeforeAreLeftAlone) {
  ASSERT_EQ(mkfifo((files_ / "go").c_str(), 0600), 0);
  WriteFile(files_ / "catalogue.json",
            "{\"apps\": [" + AppWith("an.app", Daemon("daemon") + "exec sleep 1000\n") + "]}");
  const std::string before = WriteScript("before.sh", Report("before"));
  const std::string leaves = WriteScript("leaves.sh", "read line < " + (files_ / "go") + "\n" + Daemon("orphan"));
  const std::string embedder =
      WriteScript("embedder", before + " &\n" + leaves + " &\nexec " +
                                  NUV_BIN_DIR "/nuv-simulator --print-ready -v --settle 0 --dir " + directory_.path() +
                                  " --seed " + (files_ / "catalogue.json") + "\n");
  simulator_ = std::make_unique<Process>(std::vector<std::string>{embedder}, files_.path());
  ASSERT_TRUE(WaitForOutput("ready")) << simulator_->Errors();
  WriteFile(files_ / "go", "go\n");
  EXPECT_EQ(OutcomeOf({"an.app"}), kLaunched);
  const int child = PidOf("before");
  const int orphan = PidOf("orphan");
  const int daemon = PidOf("daemon");
  Terminate("an.app");
  EXPECT_TRUE(Ends(daemon));
  EXPECT_EQ(End(), 0);
  EXPECT_TRUE(ProcessExists(child));
  EXPECT_TRUE(ProcessExists(orphan));
}

}  // namespace
