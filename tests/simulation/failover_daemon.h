// The daemon's own handlers as a thing that is put into a state, meets an event, and shows its state and what it did.
#pragma once

#include "failover_table.h"
#include "support/kit.h"

namespace failover {

class Daemon {
  public:
    explicit Daemon(const Setting& setting);
    void put(const State& state);
    State meet(Event event, Deeds& deeds);

  private:
    void tell(Event event);
    void keepInModel(const std::string& path, const std::string& value);
    State state() const;
    bool isUp(const std::string& path) const { return gateway_.get(path) == "Up"; }
    Deeds deeds() const;

    Gateway gateway_;
    int asked_ = 0;
};

}  // namespace failover
