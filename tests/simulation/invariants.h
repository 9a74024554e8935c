// What must hold: each rule one line of invariants.cpp.
#pragma once

namespace sim {

void checkAlways();
void checkAtRest();

}  // namespace sim
