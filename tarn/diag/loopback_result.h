// What the tools that count answers report: ping, and the ATM loopback of a virtual channel (F5) or path (F4).
#pragma once

void tarnProcessPingMsg(const char* payload);
void tarnProcessAtmF5LoMsg(const char* payload);
void tarnProcessAtmF4LoMsg(const char* payload);
