// Link events reach the daemon on three threads and take seconds to handle. They are handled one after the other, in
// the order in which they came, by whichever thread is at it: nobody waits for another, and no guard is held meanwhile.
// Two events handled at once could leave the table with the older one's state.
#pragma once

#include <optional>
#include <string>

struct LinkWork {
    void (*body)(const char* payload, bool checkVlanHunt);
    std::optional<std::string> payload;
    bool checkVlanHunt = false;
};

// Does the work and what other threads leave meanwhile; or leaves it to the thread that is at it.
void doLinkWork(LinkWork work);
