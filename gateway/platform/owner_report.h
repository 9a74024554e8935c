// How the owner of a line tells the gateway of it: by writing the data model, and by messages to the daemon.
#pragma once

#include <string>
#include <vector>

namespace owner_report {

// Writes parameters ("PATH=VALUE") into the data model without having them applied. False, with a line on standard
// error, when the data model does not take them.
bool write(const std::vector<std::string>& parameters);
// The data model's parameters on these paths, "PATH=VALUE" each; `*` stands for any instance.
std::vector<std::string> read(const std::string& paths);
// One message to the daemon; an empty payload is none.
bool tell(const std::string& type, const std::string& payload);

}  // namespace owner_report
