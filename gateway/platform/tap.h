// A TAP device: a link of the gateway whose far side, and whose carrier, belongs to this process.
#pragma once

#include <string>

namespace tap {

// Makes the device and switches it on, without carrier. Its descriptor, or -1 with errno set; closing it removes the
// device.
int open(const std::string& name);
bool setCarrier(int fd, bool carrier);
// Carries what waits on one side to the other. A frame that finds no room there is lost, as on any line.
void pass(int from, int to);
// Takes what waits and lets it fall.
void drop(int from);

}  // namespace tap
