// A host has no CPU-priority inheritance between processes: each request is accepted and shown in the log.
#include <nuv_platform/platform_log.h>
#include <nuv_platform/platform_resource.h>

namespace {

const char* Shown(const char* destination) {
  return destination == nullptr ? "(null)" : destination;
}

}  // namespace

int resource_set_cpu_inheritance(int tid, const char* destination, int priority) {
  __dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "NuvHost", "thread %d lends its priority to %s (%d)", tid,
               Shown(destination), priority);
  return 0;
}

int resource_clear_cpu_inheritance(int tid, const char* destination) {
  __dlog_print(NUV_LOG_BUFFER_MAIN, NUV_LOG_PRIORITY_INFO, "NuvHost", "thread %d takes its priority back from %s", tid,
               Shown(destination));
  return 0;
}
