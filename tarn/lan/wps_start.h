// Starting and stopping a setup.
#pragma once

#include "lan/wps_session.h"

// Has the wireless daemon stop what runs and start what the session asks for. `type` is the message that is handled.
void startWps(WpsSession& session, uint32_t type);
// Has it stop, and ends the session when it does.
void stopWps(WpsSession& session);
