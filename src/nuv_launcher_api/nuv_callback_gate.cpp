#include "nuv_launcher_api/nuv_callback_gate.h"

#include <nuv_common/nuv_lock.h>

#include <ctime>
#include <utility>

namespace {

constexpr int kPatienceMs = 250;

struct Gate {
  LeafMutex mutex;
  bool closed NUV_GUARDED_BY(mutex) = false;
  int passing NUV_GUARDED_BY(mutex) = 0;  // callbacks that run
};

// Like the table of callbacks, made when the library is loaded and never destroyed.
NeverDestroyed<Gate> processGate;

Gate& TheGate() {
  return *processGate;
}

// The calling thread's passages. The thread may call exit() in a callback, or end in one without unwinding its stack.
// Either destroys its thread-local objects, exit() before it closes the gate.
struct OwnPassing {
  OwnPassing() = default;
  ~OwnPassing() {
    if (count == 0) return;
    const LeafLock lock(TheGate().mutex);
    TheGate().passing -= std::exchange(count, 0);
  }
  OwnPassing(const OwnPassing&) = delete;
  OwnPassing& operator=(const OwnPassing&) = delete;

  int count = 0;
};
thread_local OwnPassing ownPassing;

// In a child of fork() only the calling thread's callbacks run.
void RenewInChild() NUV_UNANALYSED {
  TheGate().mutex.Renew(kPlainMutex);
  TheGate().passing = ownPassing.count;
}

[[maybe_unused]] const int gateIsRenewedInForks = pthread_atfork(nullptr, nullptr, RenewInChild);

bool OnlyOwnCallbacksRun() {
  Gate& gate = TheGate();
  const LeafLock lock(gate.mutex);
  return gate.passing == ownPassing.count;
}

}  // namespace

CallbackPassage::CallbackPassage() {
  Gate& gate = TheGate();
  const LeafLock lock(gate.mutex);
  m_open = !gate.closed;
  if (!m_open) return;
  ++gate.passing;
  ++ownPassing.count;
}

CallbackPassage::~CallbackPassage() {
  if (!m_open) return;
  Gate& gate = TheGate();
  const LeafLock lock(gate.mutex);
  --gate.passing;
  --ownPassing.count;
}

void CloseGate() {
  {
    Gate& gate = TheGate();
    const LeafLock lock(gate.mutex);
    gate.closed = true;
  }
  constexpr timespec kMillisecond = {0, 1000000};
  for (int waited = 0; waited < kPatienceMs && !OnlyOwnCallbacksRun(); ++waited) nanosleep(&kMillisecond, nullptr);
}
