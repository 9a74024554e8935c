// The netlink socket on which the platform's kernel reports link changes.
#pragma once

// Opens and binds kernelFd (core/kernel_monitor.h), closing an older one, and tells the kernel which process to report
// to. 0; or -5, and kernelFd is -1.
int openKernelMonitor();
