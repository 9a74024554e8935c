// The route that the traceroute tool found.
#pragma once

void tarnProcessTracertMsg(const char* payload);
