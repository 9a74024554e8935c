// What the DHCPv6 clients report: an address, a prefix, a name server, or that no server answers.
#pragma once

// One report. Returns 0; -5 when a write failed; -7 when no client has the reported pid file; when the client gave up
// and is unknown, the code with which the search ended.
int processDhcp6cMsg(const char* payload);
