// A look at all ports, as at the daemon's first one.
#pragma once

// Each port's state is told anew, soon, by the thread that follows the kernel. From any thread.
void lookAtAllPorts();
