// The polls of a session: every ten seconds a message of the timer's, until the session's time is over.
#pragma once

#include "lan/wps_session.h"

void pollWpsLater();
void pollWpsNoMore();

// One poll. `type` is the message that is handled.
void pollWps(WpsSession& session, uint32_t type);
