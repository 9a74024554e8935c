// One DSL line and its modem: what it does when the signal comes and goes and when the modem is opened and closed.
#pragma once

#include <cstdint>

struct DslLine {
    enum class Phase { noSignal, closed, training, up };

    int number = 1;
    bool signal = false;  // the exchange at the other end answers
    bool open = true;     // the modem is switched on
    bool atm = false;     // what the exchange offers: ATM, or PTM
    Phase phase = Phase::noSignal;
    bool trainedAtm = false;  // what the line trains for, or carries
    int64_t trainedAt = 0;    // when training ends, milliseconds
};

// Moves the line on to where its signal and its modem let it be at `now`; true when its phase changed. A modem that
// finds a signal, or another mode on an open line, trains for `trainMs`.
bool settle(DslLine& line, int64_t now, int64_t trainMs);

const char* phaseName(DslLine::Phase phase);
