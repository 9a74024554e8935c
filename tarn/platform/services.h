// Programs that a platform brings along, and that the daemon starts or ends.
#pragma once

// Start-up is complete; the links have not been looked at yet.
void runStartScripts();
void startUpnp(bool natTraversal);

// Ends the hunting daemon of that name, if it runs.
void endHunt(const char* name);
