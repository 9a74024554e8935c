// What the rules ask: the daemon's and the model's view of things beside what the hardware is.
#pragma once

#include <string>

namespace sim {

bool everyMessageIsServed();
bool eachLinkIsTakenForWhatItIs();
bool eachPortShowsItsCable();
bool eachLayerIsUpWhenItsLinkIs();
bool eachLayerIsDownWhenItsLinkIs();
bool noAddressIsEnabledOnALinkThatIsDown();
bool linkFlagsAreRight();
bool ledIsRight();
bool whoAsksIsAnswered();

// All of it in one line, for who looks for the reason.
std::string whatIsThere();

}  // namespace sim
