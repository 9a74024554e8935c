// What a monitor makes of the copies it gets: who sent what to whom, and which answer belongs to which call.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "onlooker.h"

namespace vcfgctl {

// An end of a message.
struct Party {
    uint8_t eid = 0;
    pid_t process = 0;    // 0 when it is not known
    std::string program;  // empty when it is not known
};

enum class Kind { Message, Call, Reply, Failure };
const char* kindWord(Kind kind);

struct Passage {
    Copy copy;
    Kind kind = Kind::Message;
    Party from;
    Party to;
    uint32_t request = 0;           // of a reply or a failure: the type of what it is about
    std::optional<int64_t> tookUs;  // and since when that was sent; nothing when it was not seen
};

class Passages {
  public:
    // Copies are taken in the order of their times.
    Passage take(Copy copy);
    // An answer by who got it, if who gave it has not told.
    std::optional<Passage> takeTaken(Copy copy);

  private:
    struct Request {
        uint32_t id;
        uint32_t type;
        int64_t timeUs;
        Party from;
        Party to;
    };

    Party server(uint8_t eid);
    std::optional<Request> requestOf(const Copy& copy);
    std::optional<Request> settle(std::vector<Request>::iterator found);
    void remember(const Passage& passage);
    Passage reply(Copy copy, const std::optional<Request>& request);
    Passage failure(Copy copy);

    std::vector<Request> open_;  // the oldest first
    std::map<uint8_t, std::pair<ino_t, Party>> servers_;
};

}  // namespace vcfgctl
