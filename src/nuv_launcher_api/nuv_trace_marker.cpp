#include "nuv_launcher_api/nuv_trace_marker.h"

#include <nuv_platform/platform_trace.h>
#include <sys/prctl.h>

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <cstdio>

void LeaveTraceMarker(const char* format, ...) {
  char text[1024];
  va_list arguments;
  va_start(arguments, format);
  const int length = vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) text[0] = '\0';
  prctl(NUV_PRCTL_TRACE_MARKER, text, static_cast<size_t>(std::clamp<int>(length, 0, sizeof text - 1)));
  trace_begin(text);
  trace_end();
}
