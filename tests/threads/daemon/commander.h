// Who asks for connections and waits for what becomes of them, one after the other: a newer command would take the
// place of an older one.
#pragma once

#include "lines.h"

class Commander {
  public:
    Commander(const Vcmd& bus, const std::string& pidFile);

    // Connects, disconnects, renews and releases; what the clients report comes to the other endpoint, until the answer
    // is there.
    void round();
    void expectNoAnswerTooMany();
    size_t answered() const { return asking_.answers(); }

  private:
    void command(uint32_t type, uint8_t instance, const Event& report);
    std::string lease(bool held) const;

    std::string pidFile_;
    Line asking_;
    Line reporting_;
};
