// What a client tells its hook, in a sentence for who asks the flight recorder why: "udhcpc of eth0.5: no DHCP server
// answers".
#pragma once

#include <string>
#include <string_view>
#include <vector>

// Keeps the sentence about the event; nothing for a client that is not known.
void reportEvent(std::string_view client, const std::vector<std::string>& arguments);
