#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "ask.h"
#include "names.h"
#include "options.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

using vcfg::bus::MessagePtr;

struct Request {
    uint8_t to = 0;
    uint32_t type = 0;
    uint8_t from = kOwnEid;
    uint64_t requestId = 0;
    uint64_t oid = 0;
    uint64_t timeoutMs = kPatience;
    objIndex iid{};
    std::string payload;
    bool reply = false;
};

// "1.2": instance numbers, outermost first.
bool parseIid(const std::string& text, objIndex* iid) {
    size_t at = 0;
    while (at <= text.size()) {
        const size_t dot = text.find('.', at);
        uint64_t number = 0;
        if (iid->level == sizeof iid->idx || !parseNumber(text.substr(at, dot - at), 255, &number)) {
            return false;
        }
        iid->idx[iid->level++] = static_cast<uint8_t>(number);
        at = dot == text.npos ? text.size() + 1 : dot + 1;
    }
    return true;
}

bool readFile(const std::string& name, std::string* content) {
    FILE* file = name == "-" ? stdin : fopen(name.c_str(), "re");
    if (file == nullptr) {
        return false;
    }
    char buffer[4096];
    size_t count;
    while ((count = fread(buffer, 1, sizeof buffer, file)) > 0 && content->size() <= VCFG_MSG_PAYLOAD_MAX) {
        content->append(buffer, count);
    }
    const bool good = ferror(file) == 0;
    if (file != stdin) {
        fclose(file);
    }
    return good;
}

// An exit status, reported when not kDone.
int takePayload(const Call& call, Request& request) {
    const std::string* text = call.option("payload");
    const std::string* file = call.option("payload-file");
    if (text != nullptr && file != nullptr) {
        return wrongUsage(call, "takes --payload or --payload-file, not both");
    }
    if (text != nullptr) {
        request.payload = *text + '\0';
    }
    if (file != nullptr && !readFile(*file, &request.payload)) {
        return refuse(*file + ": " + strerror(errno));
    }
    if (request.payload.size() > VCFG_MSG_PAYLOAD_MAX) {
        return refuse("the payload is too long; a message takes " + std::to_string(VCFG_MSG_PAYLOAD_MAX) + " bytes");
    }
    return kDone;
}

bool givenEndpoint(const Call& call, const char* name, uint8_t* eid) {
    const std::string* const text = call.option(name);
    return text == nullptr || endpointOption(call, name, *text, eid);
}

int takeOptions(const Call& call, Request& request) {
    if (!call.operands.empty()) {
        return wrongUsage(call, "\"" + oneLine(call.operands.front()) + "\" is too much; a text goes behind --payload");
    }
    if (call.option("to") == nullptr || call.option("type") == nullptr) {
        return wrongUsage(call, "--to and --type are needed");
    }
    request.requestId = static_cast<uint64_t>(getpid());
    request.reply = call.option("reply") != nullptr;
    if (!givenEndpoint(call, "to", &request.to) || !typeOption(call, *call.option("type"), &request.type) ||
        !givenEndpoint(call, "from", &request.from) || !numberOption(call, "oid", UINT32_MAX, &request.oid) ||
        !numberOption(call, "request-id", UINT32_MAX, &request.requestId) ||
        !numberOption(call, "timeout", UINT32_MAX, &request.timeoutMs)) {
        return kWrongUsage;
    }
    const std::string* iid = call.option("iid");
    if (iid != nullptr && !parseIid(*iid, &request.iid)) {
        return wrongUsage(call,
                          "--iid takes up to six instance numbers with dots between, not \"" + oneLine(*iid) + "\"");
    }
    return takePayload(call, request);
}

MessagePtr toMessage(const Request& request) {
    MessagePtr message = newMessage(request.type, request.payload);
    if (message != nullptr) {
        message->srcEid = request.from;
        message->dstEid = request.to;
        message->oid = static_cast<uint32_t>(request.oid);
        message->requestId = static_cast<uint32_t>(request.requestId);
        message->objIid = request.iid;
    }
    return message;
}

void printReply(const vcfg_msg_t& reply, bool json) {
    const char* payload = vcfg_msg_text(&reply);
    if (json) {
        printMessage(reply);
    } else {
        printf("type=%s statCode=%d payload=%s\n", typeText(reply.type).c_str(), static_cast<int32_t>(reply.statCode),
               oneLine({payload, strnlen(payload, reply.length)}).c_str());
    }
}

}  // namespace

int runSend(const Call& call) {
    Request request;
    int status = takeOptions(call, request);
    if (status == kDone) {
        status = joinBus(call.runDir, request.from);
    }
    if (status != kDone) {
        return status;
    }
    MessagePtr message = toMessage(request);
    if (message == nullptr) {
        return refuse("memory is short");
    }
    vcfg_msg_t* reply = nullptr;
    const int code = vcfg_msg_sendAndGetReply(message.release(), request.reply ? &reply : nullptr,
                                              static_cast<uint32_t>(request.timeoutMs));
    const MessagePtr owned(reply);
    if (code != (request.reply ? VCFG_OK : VCFG_DELIVERED)) {
        return reportBusFailure(code, request.to);
    }
    if (reply != nullptr) {
        printReply(*reply, call.json);
    }
    return kDone;
}

}  // namespace vcfgctl
