// What an Ethernet port says of its speed.
#pragma once

#include <string>

// "1000:F": Mbit/s and duplex (F or H) of a port that is up; 1000 and F for a port that does not say.
std::string speedAndDuplex(const std::string& port);
