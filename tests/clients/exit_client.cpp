// Launches and exits at once, while results are on their way.
#include <nuv/nuv_launcher_api.h>

#include <atomic>
#include <string>
#include <vector>

namespace {

// A host's own state, destroyed at exit like any other.
std::vector<std::string> heard(100, "a text that needs memory of its own");
std::atomic<int> calls{0};

void Hear(const char*, nuv_notify_event_e, int, int, void*) {
  ++calls;
}

}  // namespace

int main() {
  for (int i = 0; i < 3; ++i) {
    if (nuv_launch_webapp("app", nullptr, nullptr, Hear, nullptr) != 0) return 1;
  }
  return heard.empty() ? 2 : 0;
}
