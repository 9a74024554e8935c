// The running status of the protected setup in the data model, as a text for people.
#pragma once

#include <vcfg/msg.h>

#include <cstdint>

// Which parameters a write touches, and whether their owner applies them.
enum WpsWriteMode : int32_t {
    kWpsWriteResult = 0,   // the text, and that the setup does not run
    kWpsWriteStop = 1,     // the text
    kWpsWriteTimeout = 2,  // the text, applied
};

// Into the access point's object; one that does not exist is left out.
void wpsApWriteRunningStatus(const char* text, WpsWriteMode mode, uint32_t wpsIndex);
// Into the object of all access points, which is never applied.
void wpsWriteRunningStatus(const char* text, WpsWriteMode mode);

// Whether the wireless daemon refused: an answer with another code than 0 or 1.
bool isRefusal(const vcfg_msg_t* reply);

// What became of a question for the status, and that status, in the access point's object.
void writeStatusResult(int32_t result, const vcfg_msg_t* reply, int32_t wpsStatus, uint32_t wpsIndex);
