// Launches and exits at once, while results are on their way.
//   exit_client          main() returns
//   exit_client block    main() returns while a callback runs, which never ends
//   exit_client inside   a callback calls exit()
#include <nuv/nuv_launcher_api.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

constexpr int kEnteredTooLate = 99;

std::atomic<bool> destroyed{false};

// A host's own state, made before its first call of the library, and destroyed at exit like any other. Results on their
// way get a while to arrive behind it.
struct HostState {
  std::vector<std::string> heard = std::vector<std::string>(100, "a text that needs memory of its own");
  ~HostState() {
    heard.clear();
    destroyed = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
};
HostState state;

std::atomic<bool> entered{false};

void Hear(const char*, nuv_notify_event_e, int, int, void* mode) {
  if (destroyed) _exit(kEnteredTooLate);
  state.heard[0] = "another text that needs memory of its own";
  entered = true;
  const auto is = [mode](const char* name) { return strcmp(static_cast<const char*>(mode), name) == 0; };
  if (is("inside")) exit(7);
  while (is("block")) std::this_thread::sleep_for(std::chrono::seconds(1));
}

}  // namespace

int main(int count, char** arguments) {
  static char at_once[] = "";
  char* mode = count > 1 ? arguments[1] : at_once;
  for (int i = 0; i < 3; ++i) {
    if (nuv_launch_webapp("app", nullptr, nullptr, Hear, mode) != 0) return 1;
  }
  while (*mode != '\0' && !entered) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  if (strcmp(mode, "inside") == 0) std::this_thread::sleep_for(std::chrono::seconds(60));
  return 0;
}
