// What the tests of a link look at inside it.
#pragma once

#include "nuv_common/nuv_listener_run.h"
#include "nuv_common/nuv_proxy.h"

class LinkProbe {
 public:
  // Whether a thread waits for another one to finish making the link. The C library notes that in the mutex.
  static bool SomebodyWaitsForIt(CNUVGdbus& link) {
    constexpr int kTakenAndWaitedFor = 2;
    return __atomic_load_n(&static_cast<pthread_mutex_t&>(link.m_proxyMutex).__data.__lock, __ATOMIC_RELAXED) ==
           kTakenAndWaitedFor;
  }
  static LeafMutex& StateMutex(CNUVGdbus& link) { return link.m_stateMutex; }
  static std::shared_ptr<ListenerRun> CurrentRun(const CNUVGdbus& link) { return link.CurrentRun(); }
};
