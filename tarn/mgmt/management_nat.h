// The management connection runs behind a NAT, or no longer does.
#pragma once

// `payload` is the public address at which connection requests reach the gateway.
void mgmtNatDetect(const char* payload);

void mgmtNatClear();
