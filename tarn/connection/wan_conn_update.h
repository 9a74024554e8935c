// The layers above a WAN link follow it: their statuses are written upward, with pauses, on a thread of its own.
#pragma once

#include <cstdint>

// Starts the thread; 0 or -5. `status` 0 is down. A path of more than 130 characters is refused.
int32_t tarnWanConnUpdate(const char* path, uint8_t status, int32_t type);

// Writes one layer's status; 0 or -5.
int32_t tarnWanConnStatusUpdate(const char* higherLayerPath, uint8_t status, int32_t type);

// The thread's body; takes over the record that tarnWanConnUpdate made.
void execTarnWanConnUpdateTaskHandler(void* record);
