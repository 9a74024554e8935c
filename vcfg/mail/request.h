// What the helper is asked to send.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace mail {

enum class Security { none, tls, startTls };

struct Request {
    std::string server;
    int port = 0;
    Security security = Security::none;
    std::string user;  // empty: no authentication
    std::string password;
    std::string from;
    std::vector<std::string> to;
    std::string subject;
    std::string body;
};

// Reads a request from its JSON text. The reason, one line, when it cannot be sent as it is; empty when `request` is
// complete and every field is safe to put into a command or a header.
std::string parse(std::string_view json, Request& request);

}  // namespace mail
