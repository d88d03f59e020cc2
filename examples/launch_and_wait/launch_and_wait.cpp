// Launches an application and waits, with a limit, for what comes of it. C++17.
//
//   c++ -std=c++17 launch_and_wait.cpp $(pkg-config --cflags --libs nuv-launcher-api) -o launch_and_wait_cpp
//   nuv-session -- ./launch_and_wait_cpp org.kelvo.app.clock
// snippet: launch
#include <iostream>
#include <nuv/nuv_launch.hpp>

bool Launch(const std::string& app_id) {
  const nuv::LaunchOutcome outcome = nuv::launch(app_id, {"zone=Seoul", "org.kelvo.menu"}, std::chrono::seconds(10));
  std::cout << outcome.text() << "\n";  // "the application was started", or why not; it comes in any case
  return outcome.ok();
}
// end of snippet

int main(int argc, char** argv) {
  return Launch(argc > 1 ? argv[1] : "org.kelvo.app.clock") ? 0 : 1;
}
