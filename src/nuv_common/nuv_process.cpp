#include "nuv_common/nuv_process.h"

#include <nuv_common/nuv_log.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<pid_t> busProcess{0};  // 0 until one has connected

}  // namespace

bool NoteBusProcess() {
  return busProcess.exchange(getpid()) == 0;
}

void ForgetBusProcess() {
  busProcess = 0;
}

bool IsForkedChild() {
  const pid_t owner = busProcess;
  return owner != 0 && owner != getpid();
}

bool RefuseInForkedChild() {
  if (!IsForkedChild()) return false;
  NUV_ERROR("process %d was forked from %d, which connected to the bus: exec first", getpid(), busProcess.load());
  return true;
}
