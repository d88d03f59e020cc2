#include "nuv_common/nuv_process.h"

#include <nuv_common/nuv_log.h>
#include <pthread.h>
#include <sys/eventfd.h>
#include <sys/types.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

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

bool AThreadCanBeStarted() {
  const AllSignalsBlocked guard;
  pthread_t thread{};
  const int reason = pthread_create(
      &thread, nullptr, [](void*) -> void* { return nullptr; }, nullptr);
  if (reason == 0) {
    pthread_join(thread, nullptr);
    return true;
  }
  NUV_ERROR("no thread can be started for the bus: %s", strerror(reason));
  return false;
}

bool DescriptorsAreFree(int count) {
  const int descriptor = eventfd(0, EFD_CLOEXEC);
  if (descriptor < 0) {
    NUV_ERROR("not enough descriptors are free for the bus: %s", strerror(errno));
    return false;
  }
  const bool others = count == 1 || DescriptorsAreFree(count - 1);
  close(descriptor);
  return others;
}
