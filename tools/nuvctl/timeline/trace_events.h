// A time line in the form that trace viewers read.
#pragma once

#include <string>

#include "timeline/model.h"

namespace timeline {

// One JSON object. Its times are those of the kernel's monotonic clock, where the recording tells when it began by
// that.
std::string TraceEvents(const Timeline& timeline, const Heading& heading);

}  // namespace timeline
