// Lends the calling thread's CPU priority to the service while a request is made.
#pragma once

#include <nuv_common/nuv_cancellation.h>
#include <nuv_platform/platform_resource.h>
#include <unistd.h>

inline constexpr const char* kLentTo = "litecorvane";

inline void LendCpuPriority(int tid) {
  resource_set_cpu_inheritance(tid, kLentTo, -1);
}

inline void TakeCpuPriorityBack(int tid) {
  resource_clear_cpu_inheritance(tid, kLentTo);
}

class CpuInheritance {
 public:
  CpuInheritance() : m_tid(gettid()) { LendCpuPriority(m_tid); }
  ~CpuInheritance() {
    const CancellationOff guard;  // no cancellation leaves a destructor
    TakeCpuPriorityBack(m_tid);
  }
  CpuInheritance(const CpuInheritance&) = delete;
  CpuInheritance& operator=(const CpuInheritance&) = delete;

 private:
  int m_tid;
};
