// The kernel's word that a link changed.
#pragma once

// `event` is "interface:status:speed:duplex", or null.
void updateLinkStatus(const char* event);
