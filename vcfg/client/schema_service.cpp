// Who serves an object: the one thing about the schema that only vcmd knows.
#include <vcfg/schema.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "client_log.h"
#include "fe_client.h"
#include "fe_wire.h"
#include "guarded.h"

namespace vcfg {
namespace {

constexpr uint32_t kPatienceMs = 10000;

// The two texts behind the header, NUL-terminated; nothing else may be there.
bool isWhole(std::string_view body) {
    return body.size() > sizeof(wire::ServiceHeader) && body.back() == '\0' &&
           std::count(body.begin() + sizeof(wire::ServiceHeader), body.end(), '\0') == 2;
}

const char* orNull(const char* text) {
    return text[0] != '\0' ? text : nullptr;
}

int handOut(std::string_view body, vcfg_schema_service_t** service) {
    wire::ServiceHeader header;
    memcpy(&header, body.data(), sizeof header);
    body.remove_prefix(sizeof header);
    auto* made = static_cast<vcfg_schema_service_t*>(malloc(sizeof(vcfg_schema_service_t) + body.size()));
    if (made == nullptr) {
        CLIENT_LOG(VLOG_ERROR, "memory for %zu bytes is short", body.size());
        return VCFG_ERR_FAIL;
    }
    char* texts = reinterpret_cast<char*>(made + 1);
    body.copy(texts, body.size());
    *made = {orNull(texts), orNull(texts + strlen(texts) + 1), header.process, VCFG_EID_VCMD};
    *service = made;
    return VCFG_OK;
}

int getService(uint32_t oid, vcfg_schema_service_t** service) {
    const Answer answer = request(wire::kService, oid, {}, {}, Deadline::in(kPatienceMs));
    if (answer.code != VCFG_OK) {
        return answer.code;
    }
    if (!isWhole(answer.body)) {
        CLIENT_LOG(VLOG_ERROR, "vcmd's answer about object %u is not of this release", oid);
        return VCFG_ERR_FAIL;
    }
    return handOut(answer.body, service);
}

}  // namespace
}  // namespace vcfg

using namespace vcfg;

int vcfgSchemaServiceGet(uint32_t oid, vcfg_schema_service_t** service) {
    if (service == nullptr) {
        return VCFG_ERR_INVALID;
    }
    *service = nullptr;
    if (oid == RDM_OID_NONE || oid >= RDM_OID_COUNT) {
        return VCFG_ERR_NOT_FOUND;
    }
    return guarded([&] { return getService(oid, service); });
}
