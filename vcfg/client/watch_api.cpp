// The changes of <vcfg/loop.h>: a connection to vcmd of its own, by which they come as vcmd sends them.
#include <json-c/json.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vcfg/loop.h>

#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "bus_client.h"
#include "endpoint.h"
#include "fe_wire.h"
#include "guarded.h"
#include "link.h"
#include "refusal.h"

namespace {

using vcfg::bus::Arrival;
using vcfg::bus::MessagePtr;

constexpr uint32_t kPatienceMs = 10000;

struct FreeJson {
    void operator()(json_object* json) const { json_object_put(json); }
};

}  // namespace

struct vcfg_watch_t {
    vcfg_watch_t() = default;
    ~vcfg_watch_t() {
        if (link.socket >= 0) {
            close(link.socket);
        }
    }
    vcfg_watch_t(const vcfg_watch_t&) = delete;
    vcfg_watch_t& operator=(const vcfg_watch_t&) = delete;

    vcfg::bus::Receiver receiver;
    vcfg::bus::Link link = vcfg::bus::unconnected(VCFG_EID_VCMD, vcfg::bus::Way::Request, &receiver);
    MessagePtr news;                                // the lines that `left` is of
    std::string_view left;                          // not handed out yet
    std::unique_ptr<json_object, FreeJson> change;  // handed out last
};

namespace vcfg {
namespace {

MessagePtr requestFor(const char* const* paths, size_t count) {
    std::string patterns;
    for (size_t each = 0; each < count; ++each) {
        patterns.append(paths[each]).append("\n");
    }
    MessagePtr message;
    if (patterns.size() < VCFG_MSG_PAYLOAD_MAX) {
        message.reset(static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + patterns.size() + 1)));
    }
    if (message != nullptr) {
        message->type = wire::kWatch;
        message->srcEid = threadEid();
        message->dstEid = VCFG_EID_VCMD;
        message->requestId = bus::freshRequestId();
        message->length = static_cast<uint16_t>(patterns.empty() ? 0 : patterns.size() + 1);
        patterns.copy(vcfg_msg_payload(message.get()), patterns.size());
    }
    return message;
}

int answered(const vcfg_msg_t& reply) {
    const int code = static_cast<int32_t>(reply.statCode);
    noteRefusal(code == VCFG_OK ? "" : vcfg_msg_text(&reply));
    return code;
}

int open(const char* const* paths, size_t count, vcfg_watch_t** watch) {
    if (watch == nullptr || (paths == nullptr && count > 0)) {
        return VCFG_ERR_INVALID;
    }
    *watch = nullptr;
    const MessagePtr request = requestFor(paths, count);
    if (request == nullptr) {
        return VCFG_ERR_INVALID;
    }
    const Deadline deadline = Deadline::in(kPatienceMs);
    auto opened = std::make_unique<vcfg_watch_t>();
    MessagePtr reply;
    int code = bus::callBy(opened->link, *request, deadline, &reply);
    code = code == VCFG_OK ? answered(*reply) : code;
    if (code == VCFG_OK) {
        *watch = opened.release();
    }
    return code;
}

// The next line of news that is there already; false when there is none.
bool takeLine(vcfg_watch_t& watch, std::string* line) {
    const size_t end = watch.left.find('\n');
    *line = watch.left.substr(0, end);
    watch.left.remove_prefix(end == watch.left.npos ? watch.left.size() : end + 1);
    return !line->empty();
}

int receiveNews(vcfg_watch_t& watch) {
    switch (watch.receiver.receive(watch.link.socket, MSG_DONTWAIT, &watch.news)) {
        case Arrival::Message:
            watch.left = watch.news->type == wire::kChange ? vcfg_msg_text(watch.news.get()) : "";
            return VCFG_OK;
        case Arrival::Nothing:
            return VCFG_ERR_TIMEOUT;
        default:
            return VCFG_ERR_NO_PEER;
    }
}

const char* textOf(json_object* line, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(line, name, &value);
    return json_object_get_string(value);
}

void describe(json_object* line, vcfg_change_t* change) {
    json_object* time = nullptr;
    json_object_object_get_ex(line, "t_mono_us", &time);
    *change = {textOf(line, "path"), textOf(line, "old"), textOf(line, "new"), textOf(line, "by"),
               json_object_get_int64(time)};
}

int next(vcfg_watch_t* watch, vcfg_change_t* change) {
    if (watch == nullptr || change == nullptr) {
        return VCFG_ERR_INVALID;
    }
    std::string line;
    while (!takeLine(*watch, &line)) {
        const int code = receiveNews(*watch);
        if (code != VCFG_OK) {
            return code;
        }
    }
    watch->change.reset(json_tokener_parse(line.c_str()));
    describe(watch->change.get(), change);
    return change->path != nullptr && change->by != nullptr ? VCFG_OK : VCFG_ERR_FAIL;
}

}  // namespace
}  // namespace vcfg

int vcfgWatchOpen(const char* const* paths, size_t count, vcfg_watch_t** watch) {
    return vcfg::guarded([=] { return vcfg::open(paths, count, watch); });
}

int vcfgWatchFd(const vcfg_watch_t* watch) {
    return watch != nullptr ? watch->link.socket : -1;
}

int vcfgWatchNext(vcfg_watch_t* watch, vcfg_change_t* change) {
    return vcfg::guarded([=] { return vcfg::next(watch, change); });
}

void vcfgWatchClose(vcfg_watch_t* watch) {
    delete watch;
}
