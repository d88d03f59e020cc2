// Marks the start of a request for the platform's tracing.
#pragma once

// Formats at most 1023 characters and leaves them as a kernel marker and as a span that is closed at once.
void LeaveTraceMarker(const char* format, ...) __attribute__((format(printf, 1, 2)));
