// The TR-064 daemon, which learns of changed LAN devices only when it starts.
#pragma once

// Restarts the daemon when TR-064 is enabled.
void tr64LanDeviceUpdate();
