#include "dsl_line.h"

namespace {

DslLine::Phase nextPhase(DslLine& line, int64_t now, int64_t trainMs) {
    using Phase = DslLine::Phase;
    if (!line.open) {
        return Phase::closed;
    }
    if (!line.signal) {
        return Phase::noSignal;
    }
    const bool connecting = line.phase == Phase::training || line.phase == Phase::up;
    if (!connecting || line.trainedAtm != line.atm) {
        line.trainedAtm = line.atm;
        line.trainedAt = now + trainMs;
        return Phase::training;
    }
    return line.phase == Phase::up || now >= line.trainedAt ? Phase::up : Phase::training;
}

}  // namespace

bool settle(DslLine& line, int64_t now, int64_t trainMs) {
    const DslLine::Phase before = line.phase;
    line.phase = nextPhase(line, now, trainMs);
    return line.phase != before;
}

const char* phaseName(DslLine::Phase phase) {
    switch (phase) {
        case DslLine::Phase::noSignal:
            return "no signal";
        case DslLine::Phase::closed:
            return "closed";
        case DslLine::Phase::training:
            return "training";
        case DslLine::Phase::up:
            return "up";
    }
    return "";
}
