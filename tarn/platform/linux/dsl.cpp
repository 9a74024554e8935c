// A plain machine has no DSL modem.
#include "platform/dsl.h"

void handleXtmUpInit(uint32_t, uint32_t) {}

void endPtm() {}

void removePtmVlanRule(std::string_view, int) {}

int32_t openDsl() {
    return 0;
}

int32_t closeDsl() {
    return 0;
}

void restartDslConnection() {}

void restartQuarterHours() {}
