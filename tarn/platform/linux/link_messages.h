// The kernel's route messages about links, as they lie in a datagram.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace link_messages {

struct Link {
    int index = 0;
    std::string name;  // empty: the message does not say
    bool up = false;   // switched on, with a link
    bool gone = false;
};

struct Datagram {
    std::vector<Link> links;
    bool listEnded = false;
    bool refused = false;       // what the kernel was asked for does not come
    bool inconsistent = false;  // the links changed while they were listed
};

// A message that is cut short ends the datagram; one of another kind is passed over.
Datagram decode(std::string_view bytes);

}  // namespace link_messages
