// What each thread is at, and the entries that the library itself makes. All are cheap, and harmless when nothing is
// recorded.
#pragma once

#include <vcfg/msg.h>

#include <optional>
#include <string_view>

#include "ring.h"

namespace vcfg::recorder {

inline bool isOn() {
    return file.load(std::memory_order_relaxed) != nullptr;
}

// An event of this thread, until end(); `cause` 0 stands for the event that the thread is at. Returns the latter.
uint32_t begin(std::string_view kind, uint32_t cause, std::string_view what);
void end(uint32_t before);
// An event by itself, of something that no message tells: "trouble", "relief" when that is over, "clock".
void note(std::string_view kind, std::string_view what);
// To hand it on: it is kept with what it leads to. 0 for none.
uint32_t current();
// Only to compare and to note.
uint32_t eventHere();
// What a thread reads is noted when it is at one.
bool isAtEvent();
void step(Lane lane, std::string_view kind, std::string_view what, int result);
void place(const char* sourceFile, int line);

// The thread goes on with an event that somebody has begun, for a while.
class Resumed {
  public:
    explicit Resumed(uint32_t event);
    ~Resumed();
    Resumed(const Resumed&) = delete;
    Resumed& operator=(const Resumed&) = delete;

  private:
    uint32_t before_;
};

// A name that both ends of a connection know, and how many messages have gone over it: so what was sent is found again
// where it was received.
struct Trip {
    uint32_t connection = 0;
    uint32_t order = 0;
};
uint32_t freshConnection();

// A message that the thread has taken, which it is at until it asks for the next one.
void received(const vcfg_msg_t& message, const Trip& trip);
void askedForNext();
void sent(const vcfg_msg_t& message, const Trip& trip, int64_t timeUs);
void failed(const vcfg_msg_t& message, int code);
void answered(const vcfg_msg_t& answer);

void wasRead(uint32_t oid, const objIndex& iid, int code, uint32_t change);
// `parameter` is its place in the object. `before` is missing when the instance came, `after` when it went.
void changed(uint32_t oid, uint16_t parameter, const objIndex& iid, const std::optional<std::string_view>& before,
             const std::optional<std::string_view>& after);

}  // namespace vcfg::recorder
