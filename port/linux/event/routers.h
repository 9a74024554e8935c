// The routers that are heard on a device, and until when each wants to be a default router. What becomes of one is told
// once: that it comes, that it says it is none any more, or that it falls silent.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "advertisement.h"

class Routers {
  public:
    explicit Routers(std::string device) : device_(std::move(device)) {}

    void take(const Advertisement& advertisement, int64_t nowMs);
    // Looks for those whose time is over.
    void look(int64_t nowMs);
    // Until the next one's time is over; -1 for never.
    int remainingMs(int64_t nowMs) const;

  private:
    struct Router {
        int64_t endMs;
        unsigned lifetimeSeconds;
    };

    std::string device_;
    std::map<std::string, Router> routers_;
};
