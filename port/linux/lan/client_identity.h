// What a client that can be managed says of itself. The server has forgotten it when it tells of the lease's end, so it
// is kept for as long as the lease.
#pragma once

#include <string>

struct Identity {
    std::string oui;
    std::string serial;
    std::string productClass;
};

// The identity that belongs to an action of the server's ("add", "old", "del") for this client; an "add" replaces what
// was kept, a "del" ends it.
Identity identityFor(const std::string& action, const std::string& mac);
