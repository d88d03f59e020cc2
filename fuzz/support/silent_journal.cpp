// Where the simulator's readers complain: nowhere, so that they need no bus.
#include "simulator/journal.h"

namespace simulator {

void Warn(const std::string&) {}

}  // namespace simulator
