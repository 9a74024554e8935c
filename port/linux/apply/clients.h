// The protocol clients of a WAN device: what runs them, and how they are told to renew, to release and to end.
#pragma once

#include <string>

// A file that a client's start reads or writes, in the clients' run directory.
std::string clientFile(const std::string& name);

// Starts "dhcpv4", "dhcpv6", "ra" or "ppp" on the device, "ntp" for the clock.
bool startClient(const char* kind, const std::string& device);

// Starts the DHCPv4 client, or has the running one renew (or get) its lease.
bool startOrRenewDhcpv4(const std::string& pidFile, const std::string& device);
// Has the DHCPv4 client give back what it holds; returns when it has.
void releaseDhcpv4(const std::string& pidFile);
// The same, and ends it.
void endDhcpv4(const std::string& pidFile, const std::string& device);
std::string dhcpv4PidFile(const std::string& device);

// What the DHCPv6 client asks for.
struct Dhcpv6Wants {
    bool address;
    bool prefix;
    bool nameServers;
};
std::string dhcpv6PidFile(const std::string& device);
// Runs the DHCPv6 client with these wishes: one that runs with the same ones stays as it is, and renews when so asked.
bool runDhcpv6(const std::string& device, const Dhcpv6Wants& wants, bool renew);
// Has the running DHCPv6 client ask again; false without one.
bool renewDhcpv6(const std::string& device);
// Gives back what the DHCPv6 client holds, and ends it.
void releaseDhcpv6(const std::string& device);

// Takes router advertisements on the device: the kernel for its routes, the listener for the daemon.
bool acceptAdvertisements(const std::string& device);
// Takes none any more, and forgets what was learnt from them.
void refuseAdvertisements(const std::string& device);
