// The values that an argument may have at the moment, as the catalogue says.
#pragma once

#include <vector>

#include "command/verb.h"
#include "completion/candidates.h"

// None where the catalogue cannot be read. No value is there twice, and none that cannot be typed.
std::vector<completion::Candidate> LiveValues(Live source);
