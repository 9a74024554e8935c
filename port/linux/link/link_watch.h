// The namespace's links as rtnetlink reports them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace link_watch {

struct Change {
    std::string name;
    bool up = false;  // switched on and with carrier; a link that is gone is not up
};

// Decodes one rtnetlink datagram; what does not decode is left out.
struct Report {
    std::vector<Change> changes;
    bool listingEnded = false;
    bool refused = false;
    bool inconsistent = false;  // links changed while the kernel listed them: the list has to be read again
};
Report decode(std::string_view datagram);

// A socket that hears of every link change, or -1 with errno set.
int open();

enum class Reading { changes, nothing, overrun, failed };
// Reads one datagram without waiting. After an overrun changes were lost, and the socket holds nothing but newer ones.
Reading read(int fd, std::vector<Change>& changes);

// The present state of all links; false with errno set.
bool list(std::vector<Change>& links);

}  // namespace link_watch
