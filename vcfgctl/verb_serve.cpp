#include <climits>
#include <csignal>

#include "ask.h"
#include "client/bus_client.h"
#include "client/holder.h"
#include "names.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace bus = vcfg::bus;
using bus::MessagePtr;

struct Service {
    uint8_t eid = 0;
    int64_t statCode = 0;
    std::string text;
    uint64_t count = 0;      // 0: without end
    uint64_t timeoutMs = 0;  // of all of it; 0: without limit
};

// A statCode is signed; the same 32 bits may also be written without a sign.
bool parseStatCode(const std::string& text, int64_t* statCode) {
    const bool isNegative = text.starts_with('-');
    uint64_t number = 0;
    if (!parseNumber(text.substr(isNegative ? 1 : 0), isNegative ? uint64_t{1} << 31 : UINT32_MAX, &number)) {
        return false;
    }
    *statCode = isNegative ? -static_cast<int64_t>(number) : static_cast<int64_t>(number);
    return true;
}

int takeOptions(const Call& call, Service& service) {
    const std::optional<uint32_t> eid = call.operands.size() == 1 ? parseEndpoint(call.operands.front()) : std::nullopt;
    if (!eid) {
        return wrongUsage(call, "takes one endpoint, 1 to 255 or by name (" + endpointList() + ")");
    }
    service.eid = static_cast<uint8_t>(*eid);
    if (!numberOption(call, "count", UINT32_MAX, &service.count) ||
        !numberOption(call, "timeout", INT_MAX, &service.timeoutMs)) {
        return kWrongUsage;
    }
    const std::string* reply = call.option("reply");
    if (reply == nullptr) {
        return kDone;
    }
    const size_t colon = reply->find(':');
    if (!parseStatCode(reply->substr(0, colon), &service.statCode)) {
        return wrongUsage(call, "--reply takes STATCODE or STATCODE:TEXT, not \"" + oneLine(*reply) + "\"");
    }
    service.text = colon == reply->npos ? "" : reply->substr(colon + 1);
    if (service.text.size() >= VCFG_MSG_PAYLOAD_MAX) {
        return refuse("the reply's text is too long");
    }
    return kDone;
}

// Goes back on the connection that the message came by, where only who waits takes it. Who expects an answer without
// waiting for it gets it as a message to its endpoint.
void answer(bus::Server& server, bus::ConnectionId from, const vcfg_msg_t& message, const Service& service) {
    const MessagePtr reply = newMessage(message.type, service.text + '\0');
    if (reply == nullptr) {
        return;
    }
    reply->srcEid = service.eid;
    reply->dstEid = message.srcEid;
    reply->requestId = message.requestId;
    reply->statCode = static_cast<uint32_t>(service.statCode);
    reply->objIid = message.objIid;
    const int code = server.answer(from, *reply);
    if (code == VCFG_ERR_NO_PEER && (message.type & VCFG_MSG_NO_REPLY) == 0) {
        bus::deliverNow(*reply);
    }
}

int receive(bus::Server& server, const Service& service) {
    const vcfg::Deadline deadline = vcfg::Deadline::ofCall(static_cast<uint32_t>(service.timeoutMs));
    uint64_t received = 0;
    while (service.count == 0 || received < service.count) {
        bus::ConnectionId from = 0;
        int code = VCFG_OK;
        const MessagePtr message = server.wait(deadline.remainingMs(), &from, &code);
        if (message != nullptr) {
            printMessage(*message);
            if (!outputTakes()) {
                return outputRefuses();
            }
            answer(server, from, *message, service);
            ++received;
        } else if (code != VCFG_ERR_TIMEOUT) {
            return refuse("endpoint " + endpointText(service.eid) + " cannot receive any more");
        } else {
            return service.count == 0 ? kDone
                                      : refuse("the time is up; " + std::to_string(received) + " of " +
                                               std::to_string(service.count) + " messages have come");
        }
    }
    return kDone;
}

}  // namespace

int runServe(const Call& call) {
    Service service;
    int status = takeOptions(call, service);
    if (status == kDone) {
        status = joinBus(call.runDir, service.eid);
    }
    if (status != kDone) {
        return status;
    }
    const bus::Holder holder = bus::holderOf(service.eid);
    if (holder.isThere() && call.option("take-over") == nullptr) {
        return refuse("endpoint " + endpointText(service.eid) + " is served by " + holder.text() +
                      "; with --take-over it is taken from it");
    }
    std::signal(SIGPIPE, SIG_IGN);
    int code = VCFG_OK;
    const std::unique_ptr<bus::Server> server = bus::Server::open(service.eid, &code);
    if (server == nullptr) {
        return refuse("endpoint " + endpointText(service.eid) + " cannot be served in " + call.runDir);
    }
    return receive(*server, service);
}

}  // namespace vcfgctl
