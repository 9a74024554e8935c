// A directory of this process alone, in memory where there is some: sockets, and files that can only be read by name.
#pragma once

#include <string>

// The same for the whole process; it goes when that ends.
const std::string& ownDirectory();

// Makes it the bus's run directory.
void meetInOwnDirectory();
