#include <nuv_platform/platform_trace.h>

#include "host_trace_marker.h"

namespace {

nuv::host::TraceMarker g_marker("/sys/kernel/tracing/trace_marker", "/sys/kernel/debug/tracing/trace_marker");

}  // namespace

void trace_begin(const char* text) {
  g_marker.Begin(text);
}

void trace_end(void) {
  g_marker.End();
}
