// The front end of <vcfg/fe.h>: each operation is one request to vcmd.
#include <json-c/json.h>
#include <vcfg/fe.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "client_log.h"
#include "fe_client.h"
#include "fe_wire.h"
#include "guarded.h"
#include "log_level.h"

namespace vcfg {
namespace {

// What the model's records take, by object id.
constexpr size_t kRecordSizes[] = {
    0,
#define RDM_OBJECT(type, id, path) sizeof(::type),
#include <vcfg/model/all.def>
};

size_t recordSize(uint32_t oid) {
    return oid < RDM_OID_COUNT ? kRecordSizes[oid] : 0;
}

template <class Type>
std::string_view bytesOf(const Type& value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

// An iteration that is over is no failure worth a line; a refused write is, because only vcmd knows the reason.
int resultOf(const char* operation, uint32_t oid, const Answer& answer) {
    if (answer.code != VCFG_OK && answer.code != VCFG_ERR_NOT_FOUND) {
        CLIENT_LOG(VLOG_WARNING, "%s of object %u: %s (%d)", operation, oid, answer.body.c_str(), answer.code);
    }
    return answer.code;
}

int handOut(uint32_t oid, const std::string& body, void** record) {
    if (body.size() != recordSize(oid)) {
        CLIENT_LOG(VLOG_ERROR, "vcmd has another data model: a record of object %u takes %zu bytes there, %zu here",
                   oid, body.size(), recordSize(oid));
        return VCFG_ERR_FAIL;
    }
    void* copy = malloc(body.size());
    if (copy == nullptr) {
        CLIENT_LOG(VLOG_ERROR, "memory for %zu bytes is short", body.size());
        return VCFG_ERR_FAIL;
    }
    std::copy(body.begin(), body.end(), static_cast<char*>(copy));
    *record = copy;
    return VCFG_OK;
}

int read(uint32_t type, uint32_t oid, objIndex* iid, void** record, std::string_view payload = {}) {
    if (iid == nullptr || record == nullptr || recordSize(oid) == 0) {
        return VCFG_ERR_INVALID;
    }
    *record = nullptr;
    const Answer answer = request(type, oid, *iid, payload);
    int code = resultOf("read", oid, answer);
    if (code == VCFG_OK) {
        code = handOut(oid, answer.body, record);
    }
    if (code == VCFG_OK) {
        *iid = answer.iid;
    }
    return code;
}

int write(uint32_t type, uint32_t oid, const objIndex* iid, const void* record) {
    if (iid == nullptr || record == nullptr || recordSize(oid) == 0) {
        return VCFG_ERR_INVALID;
    }
    return resultOf("write", oid, request(type, oid, *iid, {static_cast<const char*>(record), recordSize(oid)}));
}

int writeJson(uint32_t oid, const objIndex* iid, const char* json, uint32_t requestType) {
    if (iid == nullptr || json == nullptr || recordSize(oid) == 0) {
        return VCFG_ERR_INVALID;
    }
    const wire::WriteHeader header{requestType};
    std::string payload(bytesOf(header));
    payload.append(json, strlen(json) + 1);
    return resultOf("write", oid, request(wire::kWrite, oid, *iid, payload));
}

int add(uint32_t oid, objIndex* iid) {
    if (iid == nullptr) {
        return VCFG_ERR_INVALID;
    }
    const Answer answer = request(wire::kAdd, oid, *iid, {});
    if (answer.code == VCFG_OK) {
        *iid = answer.iid;
    }
    return resultOf("add", oid, answer);
}

int loadLogLevel(const char* daemon) {
    if (daemon == nullptr) {
        return VCFG_ERR_INVALID;
    }
    objIndex iid{};
    for (;;) {
        const Answer answer = request(wire::kNextStored, RDM_OID_DEBUG_LOG, iid, {});
        if (answer.code == VCFG_ERR_NOT_FOUND) {
            return VCFG_OK;  // nothing is configured for it
        }
        DebugLog entry;
        if (answer.code != VCFG_OK || answer.body.size() != sizeof entry) {
            return answer.code != VCFG_OK ? resultOf("read", RDM_OID_DEBUG_LOG, answer) : VCFG_ERR_FAIL;
        }
        memcpy(static_cast<void*>(&entry), answer.body.data(), sizeof entry);
        if (entry.Daemon == daemon) {
            return setLogLevel(entry.Level) ? VCFG_OK : VCFG_ERR_INVALID;
        }
        iid = answer.iid;
    }
}

}  // namespace
}  // namespace vcfg

using namespace vcfg;

int vcfgFeObjStructGet(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read(wire::kGet, oid, iid, record); });
}

int vcfgFeObjStructGetWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read(wire::kGetStored, oid, iid, record); });
}

int vcfgFeObjStructGetNext(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read(wire::kNext, oid, iid, record); });
}

int vcfgFeObjStructGetNextWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read(wire::kNextStored, oid, iid, record); });
}

int vcfgFeSubInStructGetNext(uint32_t oid, const objIndex* parent, objIndex* iid, void** record) {
    return guarded([=] {
        return parent == nullptr ? VCFG_ERR_INVALID : read(wire::kNextChild, oid, iid, record, bytesOf(*parent));
    });
}

int vcfgFeObjStructSet(uint32_t oid, const objIndex* iid, const void* record, void* /*feedback*/) {
    return guarded([=] { return write(wire::kSet, oid, iid, record); });
}

int vcfgFeObjStructSetWithoutApply(uint32_t oid, const objIndex* iid, const void* record, void* /*feedback*/) {
    return guarded([=] { return write(wire::kSetNoApply, oid, iid, record); });
}

int vcfgFeObjStructBlockedSet(uint32_t oid, const objIndex* iid, const void* record, void* /*feedback*/) {
    return guarded([=] { return write(wire::kSetAndWait, oid, iid, record); });
}

int vcfgFeObjStructAdd(uint32_t oid, objIndex* iid, void* /*feedback*/) {
    return guarded([=] { return add(oid, iid); });
}

int vcfgFeObjStructDel(uint32_t oid, const objIndex* iid, void* /*feedback*/) {
    return guarded([=] {
        return iid == nullptr ? VCFG_ERR_INVALID : resultOf("delete", oid, request(wire::kDelete, oid, *iid, {}));
    });
}

int vcfgFeObjWrite(uint32_t oid, const objIndex* iid, const char* json, uint32_t requestType, void* /*feedback*/) {
    return guarded([=] { return writeJson(oid, iid, json, requestType); });
}

int vcfgFeObjJsonSetWithAdditions(uint32_t oid, const objIndex* iid, json_object* json, uint32_t additions,
                                  uint32_t requestType, void* /*feedback*/) {
    return guarded([=] {
        const bool valid = json != nullptr && additions == 0;
        return valid ? writeJson(oid, iid, json_object_to_json_string_ext(json, JSON_C_TO_STRING_PLAIN), requestType)
                     : VCFG_ERR_INVALID;
    });
}

int vcfgFeDebugCfgObjInit(const char* daemon) {
    return guarded([=] { return loadLogLevel(daemon); });
}
