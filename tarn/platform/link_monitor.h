// Where the daemon hears of its links.
#pragma once

#include "core/kernel_monitor.h"

// Opens kernelFd (core/kernel_monitor.h), closing an older one, and lets the kernel report link changes there. 0; or
// -5, and kernelFd is -1.
int openKernelMonitor();

// kernelFd is readable: each link change that waits there becomes an event text, "name:status:speed:duplex".
void followKernel(kernel::LinkChanged linkChanged);
