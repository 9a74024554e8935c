// What each kind of event does in the world; the event's `choice` is which of its sentences.
#pragma once

#include "letters.h"

namespace sim::happenings {

void cable(const Event& event);
void line(const Event& event);
void stick(const Event& event);
void fibre(const Event& event);
void notice(const Event& event);
void leaseCommand(const Event& event);
void pppCommand(const Event& event);
void pppNotice(const Event& event);
void question(const Event& event);
void lease(const Event& event);
void report(const Event& event);
void hunts(const Event& event);

// --- what can fail ---
void refusedWrites(const Event& event);
void failures(const Event& event);
void death(const Event& event);
void shortMemory(const Event& event);

}  // namespace sim::happenings
