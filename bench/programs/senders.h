// Many processes that send to one endpoint of the bus at the same time.
#pragma once

#include "measure.h"

namespace bench {

// Named "senders N". For `count` milliseconds everybody sends as fast as it can; the figures are the messages a second
// that arrived, the share of the slowest sender in what the fastest got through, and the messages lost.
Measure senders(int number);

}  // namespace bench
