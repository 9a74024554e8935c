// Link events reach the daemon on three threads and take seconds to handle. Each is handled on its own thread, from its
// first step to its last, and the next one waits: two at once could leave the table with the older one's state, and the
// steps of one (the look at the links, then the notice that it is done) would come apart.
#pragma once

#include "core/fair_lock.h"

// Held by who handles a link event, in the order of their arrival. A step of an event may be an event of its own: a
// completed start-up looks at the links. docs/architecture.md says why nobody waits for it for ever.
extern FairLock linkTurn;
