#include "stand_in.h"

#include <signal.h>

#include <cstring>

namespace simulator {
namespace {

constexpr const char* kOption = "--stand-in";

}  // namespace

std::vector<std::string> StandInCommand(const std::string& app_id) {
  return {"/proc/self/exe", "nuv-simulator", kOption, app_id};
}

bool IsStandIn(int argc, char** argv) {
  return argc == 3 && std::strcmp(argv[1], kOption) == 0;
}

int RunStandIn() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGINT);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  int received = 0;
  sigwait(&signals, &received);
  return 0;
}

}  // namespace simulator
