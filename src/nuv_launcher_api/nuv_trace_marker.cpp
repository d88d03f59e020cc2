#include "nuv_launcher_api/nuv_trace_marker.h"

#include <nuv_platform/platform_trace.h>
#include <sys/prctl.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

void LeaveTraceMarker(const char* format, ...) {
  char text[1024] = {};
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  prctl(NUV_PRCTL_TRACE_MARKER, text, strlen(text));
  trace_begin(text);
  trace_end();
}
