// What both D-Bus peers do, whatever way their connections go.
#pragma once

#include <string>

#include "measure.h"

struct sd_bus;

namespace bench {

sd_bus* newBus();
void serveDbus(sd_bus* bus);  // the methods Echo and Take; a name of its own is the caller's affair
[[noreturn]] void loopDbus(sd_bus* bus);
// `destination` may be null on a direct connection.
std::vector<Measure> dbusMeasures(sd_bus* bus, const char* destination);

}  // namespace bench
