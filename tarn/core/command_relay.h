// Small privileged things that other daemons, which lack the rights, ask this daemon to do.
#pragma once

#include <cstdint>
#include <string_view>

// The vosh command relay, which this platform leaves empty: it names the command number, the payload's first word, and
// does nothing else. `payload` holds all bytes of the message's payload.
int process_vosh_cmd(std::string_view payload);

// Runs a shell command text of at most 256 bytes as it is; false, and nothing run, when it is longer.
bool runFakerootCommand(std::string_view payload);

// Runs a command text with the platform's helper. `payload` may be null.
void runFakerootVocliCommand(const char* payload);

// Has the time configuration applied again, now that the clock is right.
void feNTPSync();
