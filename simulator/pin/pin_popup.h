// A launch as the common-UI application is told about it: the extra data of a request for the PIN dialog.
#pragma once

#include <string>

#include "launch_request.h"

namespace simulator {

inline constexpr const char* kCommonUiApp = "org.kelvo.corvane-commui";

// Whether the extra data ask for the PIN, or tell the dialog to end.
bool AsksForPin(const ExtraData& extra_data);
bool EndsPinDialog(const ExtraData& extra_data);

// The launch's own extra data first, then the fixed ones, which win.
ExtraData PackPinPopup(const LaunchRequest& request, int app_type);
// The launch that the PIN is asked for. Throws std::runtime_error when a number in it is missing or none.
LaunchRequest UnpackPinPopup(const ExtraData& extra_data);

}  // namespace simulator
