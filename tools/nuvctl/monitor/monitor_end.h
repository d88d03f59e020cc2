// How a monitor's end is said.
#pragma once

#include "monitor/monitor.h"
#include "obstacles/obstacles.h"

Diagnosis DiagnosisOf(Monitor::End end, const std::string& problem);

// The last word of a recording.
const char* ReasonOf(Monitor::End end);
