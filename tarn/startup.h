// What follows when the configuration daemon reports that start-up is complete.
#pragma once

#include <atomic>

// Set by the first initialisation: the LAN PHYs are reset once in the daemon's life.
extern std::atomic<bool> lanPhyResetDone;

// The start scripts, the UPnP daemon, then initialiseLinks(false).
void startupCompleted();

// Builds the WAN link table when it is missing, brings the link status up to date, resets the LAN PHYs once in the
// daemon's life, and tells vcmd that the daemon is done.
void initialiseLinks(bool autoHuntFinished);
