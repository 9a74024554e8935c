#include "passing.h"

#include <sys/stat.h>

#include <algorithm>

#include "client/holder.h"
#include "client/run_dir.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;

// Calls that nobody answers are forgotten.
constexpr size_t kMostOpen = 4096;

}  // namespace

const char* kindWord(Kind kind) {
    switch (kind) {
        case Kind::Call:
            return "call";
        case Kind::Reply:
            return "reply";
        case Kind::Failure:
            return "failed";
        default:
            return "message";
    }
}

// Who serves an endpoint is looked up anew when its socket is another one.
Party Passages::server(uint8_t eid) {
    struct stat file {};
    if (lstat(bus::socketPath(eid).c_str(), &file) != 0) {
        return {eid, 0, ""};
    }
    auto& [inode, party] = servers_[eid];
    if (inode != file.st_ino) {
        const bus::Holder holder = bus::holderOf(eid);
        inode = file.st_ino;
        party = holder.isThere() ? Party{eid, holder.process, holder.program} : Party{eid, 0, ""};
    }
    return party;
}

std::optional<Passages::Request> Passages::settle(std::vector<Request>::iterator found) {
    if (found == open_.end()) {
        return std::nullopt;
    }
    const Request request = *found;
    open_.erase(found);
    return request;
}

// The latest that this answers.
std::optional<Passages::Request> Passages::requestOf(const Copy& copy) {
    const vcfg_msg_t& message = *copy.message;
    const auto found = std::find_if(open_.rbegin(), open_.rend(), [&](const Request& one) {
        return one.id == message.requestId && one.from.eid == message.dstEid && one.to.eid == message.srcEid;
    });
    return settle(found == open_.rend() ? open_.end() : std::prev(found.base()));
}

void Passages::remember(const Passage& passage) {
    const vcfg_msg_t& message = *passage.copy.message;
    const bool expects = passage.kind == Kind::Call || (message.type & VCFG_MSG_NO_REPLY) == 0;
    if (!expects || message.requestId == 0) {
        return;
    }
    if (open_.size() == kMostOpen) {
        open_.erase(open_.begin(), open_.begin() + kMostOpen / 4);
    }
    open_.push_back({message.requestId, message.type, passage.copy.timeUs, passage.from, passage.to});
}

Passage Passages::reply(Copy copy, const std::optional<Request>& request) {
    Passage passage;
    const vcfg_msg_t& message = *copy.message;
    passage.kind = Kind::Reply;
    passage.from = {message.srcEid, copy.process, copy.program};
    passage.to = request ? request->from : server(message.dstEid);
    if (request) {
        passage.request = request->type;
        passage.tookUs = copy.timeUs - request->timeUs;
    }
    passage.copy = std::move(copy);
    return passage;
}

// A call that was not answered says its id and whom it was for.
Passage Passages::failure(Copy copy) {
    vcfg_msg_t& message = *copy.message;
    const auto found = std::find_if(open_.rbegin(), open_.rend(), [&](const Request& one) {
        return one.id == message.requestId && one.to.eid == message.dstEid && one.from.process == copy.process;
    });
    const std::optional<Request> request = settle(found == open_.rend() ? open_.end() : std::prev(found.base()));
    Passage passage;
    passage.kind = Kind::Failure;
    if (request) {
        message.type = request->type;
        message.srcEid = request->from.eid;
        passage.tookUs = copy.timeUs - request->timeUs;
    }
    passage.request = message.type;
    passage.from = {message.srcEid, copy.process, copy.program};
    passage.to = request ? request->to : server(message.dstEid);
    passage.copy = std::move(copy);
    return passage;
}

std::optional<Passage> Passages::takeTaken(Copy copy) {
    const std::optional<Request> request = requestOf(copy);
    if (!request) {
        return std::nullopt;
    }
    Passage passage = reply(std::move(copy), request);
    passage.from = request->to;
    return passage;
}

Passage Passages::take(Copy copy) {
    if (copy.passing == bus::Passing::Failure) {
        return failure(std::move(copy));
    }
    const std::optional<Request> request =
        copy.passing != bus::Passing::Call && copy.message->requestId != 0 ? requestOf(copy) : std::nullopt;
    if (request || copy.passing == bus::Passing::Answer) {
        return reply(std::move(copy), request);
    }
    Passage passage;
    passage.kind = copy.passing == bus::Passing::Call ? Kind::Call : Kind::Message;
    passage.from = {copy.message->srcEid, copy.process, copy.program};
    passage.to = server(copy.message->dstEid);
    passage.copy = std::move(copy);
    remember(passage);
    return passage;
}

}  // namespace vcfgctl
