// The bridges and their ports as the data model wants them.
#pragma once

#include <map>
#include <string>

// Device of each enabled bridge, by its number: that of its management port, else the one that it is named after.
std::map<int, std::string> wantedBridges();
// Number of the bridge for each device that is to be a port: its own, or the one that a filter takes it to.
std::map<std::string, int> wantedMembers();
