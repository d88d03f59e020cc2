// Many processes with many threads each, against the simulator.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "private_bus.h"

namespace {

TEST(Stress, EightProcessesOfFourThreadsHearOfEachLaunchExactlyOnce) {
  const PrivateBus bus;
  const std::string scenario = bus.directory() + "/scenario.json";
  WriteFile(scenario, R"([{"method": "launch_app", "start": false, "results": [{"event": 900, "res": 0}]}])");
  Process simulator({NUV_BIN_DIR "/nuv-simulator", "--print-ready", "--dir", bus.directory(), "--scenario", scenario},
                    bus.directory());
  ASSERT_TRUE(bus.WaitForName("org.kelvo.tv.litecorvane.server")) << simulator.Errors();
  std::vector<std::unique_ptr<Process>> clients;
  for (int i = 0; i < 8; ++i) {
    clients.push_back(
        std::make_unique<Process>(std::vector<std::string>{NUV_TEST_DIR "/stress_client"}, bus.directory()));
  }
  for (const auto& client : clients) {
    EXPECT_EQ(0, client->Wait(Milliseconds(100000))) << client->Output();
    EXPECT_EQ("refused 0, lost 0, delivered twice 0, wrong 0\n", client->Output());
  }
}

}  // namespace
