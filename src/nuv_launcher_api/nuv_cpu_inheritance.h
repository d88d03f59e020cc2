// Lends the calling thread's CPU priority to the service while a request is made.
#pragma once

#include <nuv_common/nuv_cancellation.h>
#include <nuv_platform/platform_resource.h>
#include <unistd.h>

class CpuInheritance {
 public:
  CpuInheritance() : m_tid(gettid()) { resource_set_cpu_inheritance(m_tid, kService, -1); }
  ~CpuInheritance() {
    const CancellationOff guard;  // no cancellation leaves a destructor
    resource_clear_cpu_inheritance(m_tid, kService);
  }
  CpuInheritance(const CpuInheritance&) = delete;
  CpuInheritance& operator=(const CpuInheritance&) = delete;

 private:
  static constexpr const char* kService = "litecorvane";
  int m_tid;
};
