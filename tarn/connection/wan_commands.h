// Commands of other daemons: connect or disconnect a PPP connection, renew or release the lease of an IP connection.
// The requester is answered at once, or by the event that reports the outcome.
#pragma once

#include <vcfg/msg.h>

#include <string_view>

// All return 0, or -5 when the instance cannot be read.
int tarnWanPppConnect(const objIndex& pppInterface, bool connect, uint8_t requester, uint32_t handle);
int tarnWanIpRenew(const objIndex& dhcpv4Client, bool renew, uint8_t requester, uint32_t handle);

// Somebody else has begun to connect, or has disconnected, the link; answered only when the instance cannot be read.
int tarnWanPppConnected(const objIndex& pppInterface, bool connecting, uint8_t requester, uint32_t handle);

// The platform restarts its DHCP clients itself; the request is taken and nothing is done.
int restartDhcpc();

// Enables or disables the DHCP client of an interface (`oid` is that of the DHCPv4 clients); whether there is one.
bool setDhcpClient(uint32_t oid, std::string_view interfacePath, bool enable);
