// A mail as it goes over the wire.
#pragma once

#include <ctime>
#include <string>
#include <string_view>

#include "request.h"

namespace mail {

// Headers and body with CRLF line ends, without the dots that the transport doubles. `identity` is the part of the
// message's id before the "@".
std::string compose(const Request& request, time_t date, const std::string& identity);

// A header's text: as it is when plain ASCII says it, in encoded words otherwise.
std::string headerText(std::string_view text);

}  // namespace mail
