// What a client that is soaked does: everything that the library offers, at random.
#pragma once

#include <random>

#include "soak_ledger.h"

// The ledger that callbacks write into. Set before the first action.
extern Ledger* ledger;

using Random = std::mt19937;

// Does one thing.
void Act(Random& random);

// Launches an application and returns the launch's number.
uintptr_t LaunchOne();
// One call of each link to the service: 0 when both answered.
int AskBothLinks();
