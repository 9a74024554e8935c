// The clock was set: the device's first-use date, and the notice to the management agent.
#pragma once

#include <atomic>
#include <cstdint>

// The first-use date is known to be stored. Never cleared again.
extern std::atomic<bool> firstUseDateDone;

// One report of the NTP client. `payload` is the time as a date-time text; null or empty when the report names none.
// Returns what the bus said of the notice.
int tarnNtpUpdate(const char* payload);

// Sends a message of `dataLen` bytes, for which no answer comes, to the management agent. VCFG_DELIVERED, the failing
// bus code, or -5 when memory is short.
int tarn_send_ntp_sync_tr69(uint32_t type, uint16_t dataLen, const char* data);
