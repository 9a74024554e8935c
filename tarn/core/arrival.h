// What reaches a thread besides messages, told to the framework's flight recorder: the start of a thread, a timer, an
// event of the kernel, a command that is run.
#pragma once

#include <vcfg/recorder.h>

#include <string>

class Arrival {
  public:
    // `cause` is the event that it goes on for; 0 for the thread's own.
    Arrival(const char* kind, const std::string& what, uint32_t cause = 0)
        : before_(vcfgEventBegin(kind, cause, what.c_str(), what.data(), what.size())) {}
    ~Arrival() { vcfgEventEnd(before_); }
    Arrival(const Arrival&) = delete;
    Arrival& operator=(const Arrival&) = delete;

  private:
    uint32_t before_;
};
