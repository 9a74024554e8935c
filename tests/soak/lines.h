// Events for a daemon on a real bus, and connections that speak the bus by themselves, so that an answer too many is
// seen.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "payload_seeds.h"
#include "vcmd_kit.h"

struct Event {
    uint32_t type;
    std::string payload;
    uint8_t eid = VCFG_EID_TARN;
    bool asks = false;  // for an answer
    objIndex about = {};
};

// The messages that a fuzz target begins with.
std::vector<Event> seedsOf(const PayloadSeeds& seeds);

// A connection to one endpoint.
class Line {
  public:
    Line(const Vcmd& bus, uint8_t eid, uint8_t ownEid);
    ~Line();
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    bool put(const Event& event);
    // The next answer must be that to the last question.
    bool isAnswered();
    bool comes(int timeoutMs) const;  // whether there is something to receive, soon

    uint8_t eid() const { return eid_; }
    uint32_t asked() const { return asked_; }
    uint32_t answers() const { return answers_; }

  private:
    uint8_t eid_;
    uint8_t ownEid_;
    int socket_;
    uint32_t asked_ = 0;
    uint32_t answers_ = 0;
};
