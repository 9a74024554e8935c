#include <json-c/json.h>
#include <vcfg/fe.h>

#include <cstring>
#include <optional>

#include "ask.h"
#include "print.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;
namespace wire = vcfg::wire;

struct FreeJson {
    void operator()(json_object* json) const { json_object_put(json); }
};

// All that is written into one object.
struct Write {
    const model::Object* object;
    objIndex iid;
    std::unique_ptr<json_object, FreeJson> values;
    std::string subject;  // of a complaint: the parameter's path when there is only one, else the object's
};

std::string refusal(const model::Parameter& parameter, const std::string& value, const std::string& why) {
    const std::string takes = std::string(parameter.name) + " takes ";
    const std::string accepted = why.starts_with(takes) ? why.substr(takes.size()) : why;
    if (accepted.starts_with("one of ")) {
        return "\"" + oneLine(value) + "\" is not " + accepted;
    }
    return "\"" + oneLine(value) + "\" is refused; it takes " + accepted;
}

// Why the value would be refused; empty when it is good.
std::string check(const model::Resolved& where, const std::string& value) {
    if (where.parameter->countedOid != RDM_OID_NONE) {
        return "is counted, it cannot be written";
    }
    std::vector<std::byte> scratch(where.object->size);
    std::string why;
    return setValue(*where.parameter, scratch.data(), value, &why) ? "" : refusal(*where.parameter, value, why);
}

Write& writeFor(const model::Resolved& where, std::vector<Write>& writes) {
    for (Write& write : writes) {
        if (write.object == where.object && memcmp(&write.iid, &where.iid, sizeof write.iid) == 0) {
            write.subject = model::path(*write.object, write.iid);
            return write;
        }
    }
    writes.push_back(
        {where.object, where.iid, {}, model::path(*where.object, where.iid) + "." + where.parameter->name});
    writes.back().values.reset(json_object_new_object());
    return writes.back();
}

// An exit status, reported when not kDone.
int collect(const Call& call, const std::string& assignment, std::vector<Write>& writes) {
    const size_t equals = assignment.find('=');
    if (equals == assignment.npos) {
        return wrongUsage(call, "\"" + oneLine(assignment) + "\" is not PATH=VALUE");
    }
    const std::string path = assignment.substr(0, equals);
    const std::string value = assignment.substr(equals + 1);
    if (path.find('*') != path.npos) {
        return refuse(path + ": '*' is for reading; a write names its instance");
    }
    const std::optional<model::Resolved> where = model::resolve(path);
    if (!where || where->parameter == nullptr) {
        return refuse(path + ": " + suggestion(path));
    }
    const std::string why = check(*where, value);
    if (!why.empty()) {
        return refuse(path + ": " + why);
    }
    Write& write = writeFor(*where, writes);
    json_object_object_add(write.values.get(), where->parameter->name,
                           json_object_new_string_len(value.data(), static_cast<int>(value.size())));
    return kDone;
}

int send(const Write& write, uint32_t requestType) {
    const wire::WriteHeader header{requestType};
    std::string payload(reinterpret_cast<const char*>(&header), sizeof header);
    payload.append(json_object_to_json_string_ext(write.values.get(), JSON_C_TO_STRING_PLAIN));
    payload.push_back('\0');
    const uint32_t limit = requestType == wire::kWriteAndWait ? kWithoutLimit : kPatience;
    const vcfg::Answer answer = ask(wire::kWrite, write.object->oid, write.iid, payload, limit);
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, write.subject);
}

}  // namespace

int runSet(const Call& call) {
    const bool noApply = call.option("no-apply") != nullptr;
    const bool wait = call.option("wait") != nullptr;
    if (call.operands.empty()) {
        return wrongUsage(call, "PATH=VALUE is missing");
    }
    if (noApply && wait) {
        return wrongUsage(call, "--no-apply has nothing to --wait for");
    }
    std::vector<Write> writes;
    int status = kDone;
    for (size_t i = 0; i < call.operands.size() && status == kDone; ++i) {
        status = collect(call, call.operands[i], writes);
    }
    if (status == kDone) {
        status = joinBus(call.runDir);
    }
    const uint32_t type = noApply ? VCFG_FE_WRITE_NO_APPLY : wait ? wire::kWriteAndWait : VCFG_FE_WRITE_APPLY;
    for (size_t i = 0; i < writes.size() && status == kDone; ++i) {
        status = send(writes[i], type);
    }
    return status;
}

}  // namespace vcfgctl
