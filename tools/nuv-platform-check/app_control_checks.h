// What is checked of app-control requests.
#pragma once

#include "check.h"

namespace platform_check {

Finding KeepsItsTexts();
Finding HandsOutNullForWhatIsNotSet();
Finding HandsOutCopies();
Finding KeepsExtraData();
Finding ReplacesTheValueOfAKey();
Finding AnAbsentKeyIsAFailure();
Finding VisitsInTheOrderOfAdding();
Finding StopsWhenToldTo();
Finding MayBeChangedWhileItIsVisited();
Finding RefusesNull();
Finding TwoThreadsHaveOneEach();
Finding RefusesALaunchOfNothing();
Finding LaunchesTheApplication();  // the allowed one, twice

void MakeARequest();

}  // namespace platform_check
