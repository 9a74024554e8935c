#include "fe_change.h"

#include <cstring>

#include "fe_wire.h"

namespace vcfg {
namespace {

template <class Header>
void append(std::string& bytes, const Header& header) {
    bytes.append(reinterpret_cast<const char*>(&header), sizeof header);
}

// What is too long already grows no further: it is refused as it is.
std::string payloadOf(std::span<const vcfg_step_t> steps, uint32_t requestType) {
    std::string bytes;
    append(bytes, wire::WriteHeader{requestType});
    for (const vcfg_step_t& step : steps) {
        const size_t length = step.json != nullptr ? strlen(step.json) + 1 : 0;
        append(bytes,
               wire::StepHeader{step.oid, static_cast<uint32_t>(length), static_cast<uint8_t>(step.kind), step.iid});
        bytes.append(step.json != nullptr ? step.json : "", length);
        if (bytes.size() > VCFG_MSG_PAYLOAD_MAX) {
            break;
        }
    }
    return bytes;
}

}  // namespace

Answer requestChange(std::span<vcfg_step_t> steps, uint32_t requestType, const Deadline& deadline) {
    const Answer answer = request(wire::kChangeAll, RDM_OID_NONE, {}, payloadOf(steps, requestType), deadline);
    if (answer.code == VCFG_OK && answer.body.size() != steps.size() * sizeof(objIndex)) {
        return {VCFG_ERR_FAIL, {}, "the answer of vcmd is none to this request"};
    }
    for (size_t each = 0; answer.code == VCFG_OK && each < steps.size(); ++each) {
        memcpy(&steps[each].iid, answer.body.data() + each * sizeof(objIndex), sizeof(objIndex));
    }
    return answer;
}

}  // namespace vcfg
