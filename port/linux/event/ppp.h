// What pppd tells its scripts: which one it runs says what happened, the six arguments and the environment say to whom.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// `script` is the script's name, `arguments` are device, terminal, speed, local address, remote address and parameter.
// Nothing for a script that stands for no event of the daemon's.
std::optional<std::string> pppPayload(std::string_view script, const std::vector<std::string>& arguments);

// The report of a PPPoE session, when the link runs over one that the kernel knows.
std::optional<std::string> sessionPayload();

// The session number in the kernel's list of PPPoE sessions that belongs to that peer; empty without one.
std::string sessionOf(const std::string& list, const std::string& peer);
