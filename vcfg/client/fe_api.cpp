// The front end of <vcfg/fe.h>: reads are answered in this process, each write is one request to vcmd.
#include <json-c/json.h>
#include <vcfg/fe.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>

#include "client_log.h"
#include "fe_change.h"
#include "fe_client.h"
#include "fe_read.h"
#include "fe_wire.h"
#include "free.h"
#include "guarded.h"
#include "log_level.h"
#include "model/describe.h"
#include "store/json_text.h"

namespace vcfg {
namespace {

size_t recordSize(uint32_t oid) {
    const model::Object* object = model::find(oid);
    return object != nullptr ? object->size : 0;
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

int read(const Wanted& wanted, objIndex* iid, void** record) {
    if (iid == nullptr || record == nullptr || recordSize(wanted.oid) == 0) {
        return VCFG_ERR_INVALID;
    }
    return readModel(wanted, iid, record);
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

bool isStep(const vcfg_step_t& step) {
    const bool takesText = step.kind == VCFG_STEP_WRITE || step.kind == VCFG_STEP_ADD;
    return recordSize(step.oid) != 0 && (takesText || (step.kind == VCFG_STEP_DELETE && step.json == nullptr));
}

int change(std::span<vcfg_step_t> steps, uint32_t requestType) {
    for (const vcfg_step_t& step : steps) {
        if (!isStep(step)) {
            return VCFG_ERR_INVALID;
        }
    }
    if (steps.empty()) {
        return VCFG_OK;
    }
    return resultOf("change", steps.front().oid, requestChange(steps, requestType));
}

int loadLogLevel(const char* daemon) {
    if (daemon == nullptr) {
        return VCFG_ERR_INVALID;
    }
    objIndex iid{};
    void* record = nullptr;
    int code = VCFG_OK;
    while ((code = readModel({Step::Next, false, RDM_OID_DEBUG_LOG}, &iid, &record)) == VCFG_OK) {
        const std::unique_ptr<DebugLog, Free> entry(static_cast<DebugLog*>(record));
        if (entry->Daemon == daemon) {
            return setLogLevel(entry->Level) ? VCFG_OK : VCFG_ERR_INVALID;
        }
    }
    return code == VCFG_ERR_NOT_FOUND ? static_cast<int>(VCFG_OK) : code;  // nothing is configured for it
}

}  // namespace
}  // namespace vcfg

using namespace vcfg;

int vcfgFeObjStructGet(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read({Step::Get, true, oid}, iid, record); });
}

int vcfgFeObjStructGetWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read({Step::Get, false, oid}, iid, record); });
}

int vcfgFeObjStructGetNext(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read({Step::Next, true, oid}, iid, record); });
}

int vcfgFeObjStructGetNextWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return guarded([=] { return read({Step::Next, false, oid}, iid, record); });
}

int vcfgFeSubInStructGetNext(uint32_t oid, const objIndex* parent, objIndex* iid, void** record) {
    return guarded([=] {
        return parent == nullptr ? VCFG_ERR_INVALID : read({Step::Next, true, oid, *parent}, iid, record);
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
        return valid ? writeJson(oid, iid, store::textOf(json).c_str(), requestType) : VCFG_ERR_INVALID;
    });
}

int vcfgFeObjChange(vcfg_step_t* steps, size_t count, uint32_t requestType, void* /*feedback*/) {
    return guarded([=] {
        return steps == nullptr && count > 0 ? VCFG_ERR_INVALID : change({steps, count}, requestType);
    });
}

int vcfgFeDebugCfgObjInit(const char* daemon) {
    return guarded([=] { return loadLogLevel(daemon); });
}
