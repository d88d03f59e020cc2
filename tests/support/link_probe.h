// What the tests of a link look at inside it.
#pragma once

#include "held_mutex.h"
#include "nuv_common/nuv_listener_run.h"
#include "nuv_common/nuv_proxy.h"

class LinkProbe {
 public:
  // Whether a thread waits for another one to finish making the link.
  static bool SomebodyWaitsForIt(CNUVGdbus& link) { return IsWaitedFor(link.m_proxyMutex); }
  // Whether a listener serves.
  static bool ListenerServes(CNUVGdbus& link) NUV_UNANALYSED {
    if (!link.m_monitorMutex.try_lock()) return true;
    link.m_monitorMutex.unlock();
    return false;
  }
  static LeafMutex& StateMutex(CNUVGdbus& link) { return link.m_stateMutex; }
  static std::shared_ptr<ListenerRun> CurrentRun(const CNUVGdbus& link) { return link.CurrentRun(); }
};
