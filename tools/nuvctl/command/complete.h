// What may come next on a command line that is not finished, made of the data of the verbs.
#pragma once

#include <string>
#include <vector>

#include "completion/candidates.h"

// The words behind "nuvctl"; the last one is at the cursor. Asks the catalogue, and never the service.
completion::Candidates CompleteLine(const std::vector<std::string>& words);
