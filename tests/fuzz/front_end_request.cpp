// Requests to vcmd that change the model, up to eight in a row on one model. Each begins with its number, the object's
// and the instance's numbers (level, then one byte each), then comes the payload.
#include <vcfg/codes.h>

#include <cstdlib>
#include <cstring>

#include "client/fe_wire.h"
#include "target.h"
#include "vcmd/requests.h"

using namespace vcfg::vcmd;
namespace wire = vcfg::wire;

namespace {

constexpr char kNextRequest = '\x1e';
constexpr int kMostRequests = 8;
constexpr uint32_t kRequests[] = {wire::kSet,   wire::kSetNoApply, wire::kSetAndWait, wire::kAdd,      wire::kDelete,
                                  wire::kWrite, wire::kLoadPart,   wire::kLoad,       wire::kChangeAll};

uint8_t takeByte(std::string_view& bytes) {
    const auto byte = static_cast<uint8_t>(bytes.empty() ? 0 : bytes[0]);
    bytes.remove_prefix(bytes.empty() ? 0 : 1);
    return byte;
}

Staged request(std::string_view bytes) {
    vcfg_msg_t envelope{};
    envelope.type = kRequests[takeByte(bytes) % std::size(kRequests)];
    envelope.srcEid = VCFG_EID_VHTTPD;
    envelope.oid = takeByte(bytes);
    envelope.objIid.level = takeByte(bytes);
    for (size_t i = 0; i < sizeof envelope.objIid.idx && i < envelope.objIid.level; ++i) {
        envelope.objIid.idx[i] = takeByte(bytes);
    }
    envelope.length = static_cast<uint16_t>(bytes.size());
    Staged staged;
    staged.request.message.reset(static_cast<vcfg_msg_t*>(malloc(sizeof envelope + bytes.size() + 1)));
    memcpy(staged.request.message.get(), &envelope, sizeof envelope);
    char* const payload = vcfg_msg_payload(staged.request.message.get());
    memcpy(payload, bytes.data(), bytes.size());
    payload[bytes.size()] = '\0';
    return staged;
}

}  // namespace

void handleInput(std::string_view bytes) {
    Vcmd vcmd;
    vcmd.hooks.directory = "/nonexistent";
    for (int count = 0; count < kMostRequests && !bytes.empty() && bytes.size() < VCFG_MSG_PAYLOAD_MAX; ++count) {
        const size_t end = bytes.find(kNextRequest);
        Staged staged = request(bytes.substr(0, end));
        const bool served = serveWrite(vcmd, staged) || serveModel(vcmd, staged);
        if (!served || (staged.answer == nullptr && staged.jobs.empty())) {
            finding("a request is not answered");
        }
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
}
