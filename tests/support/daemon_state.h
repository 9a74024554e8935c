#pragma once

// The daemon that links into this process has seen nothing yet, again.
void forgetDaemonState();
