// The boundary of one event.
#pragma once

#include <exception>

#include "core/log.h"

// Handles one event to its end. What fails inside is logged with the event's name and goes no further: the next event
// is served.
template <class Handle>
void handleEvent(const char* name, const Handle& handle) {
    try {
        handle();
    } catch (const std::exception& failure) {
        VLOG(VLOG_ERROR, "%s: given up: %s", name, failure.what());
    }
}
