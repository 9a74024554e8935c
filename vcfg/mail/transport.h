// Hands a mail to its server.
#pragma once

#include <string>

#include "request.h"

namespace mail {

struct Limits {
    long connectSeconds = 15;
    long totalSeconds = 30;
    std::string caFile;  // empty: the system's certificates
};

// Sends a composed message. The reason, one line, when the server has not accepted it; empty when it has.
std::string deliver(const Request& request, const std::string& message, const Limits& limits);

}  // namespace mail
