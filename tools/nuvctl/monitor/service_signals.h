// What the service tells about itself, where the bus shows nobody else's messages.
#pragma once

#include <functional>
#include <optional>

#include "obstacles/obstacles.h"
#include "service/watch_lines.h"

// Until the user ends it, or the time is over where there is one, or the bus is gone. The function's false ends it,
// too.
Diagnosis FollowSignals(const std::function<bool(const WatchLine&)>& show, std::optional<unsigned> limit_ms);
