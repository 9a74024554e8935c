// What the lines of a recording hold.
#include <vcfg/model_id.h>
#include <vcfg/msg_types.h>

#include <algorithm>
#include <cinttypes>
#include <ctime>

#include "client/holder.h"
#include "instances.h"
#include "lines.h"
#include "names.h"
#include "print.h"
#include "recording.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

std::string formatted(const char* format, uint64_t number) {
    char text[32];
    snprintf(text, sizeof text, format, number);
    return text;
}

std::string timeOfDay() {
    char second[32];
    char text[64];
    timespec now{};
    tm parts{};
    clock_gettime(CLOCK_REALTIME, &now);
    gmtime_r(&now.tv_sec, &parts);
    strftime(second, sizeof second, "%Y-%m-%dT%H:%M:%S", &parts);
    snprintf(text, sizeof text, "%s.%06ldZ", second, now.tv_nsec / 1000);
    return text;
}

// What differs from a new instance's values, as vcmd keeps it in its file.
json_object* valuesOf(const model::Object& object, const void* record, Hidden& hidden) {
    std::string fresh(object.size, '\0');
    setDefaults(object, fresh.data());
    json_object* values = json_object_new_object();
    for (const model::Parameter& parameter : object.parameters) {
        std::string value = valueText(parameter, record);
        if (parameter.countedOid != RDM_OID_NONE || value == valueText(parameter, fresh.data())) {
            continue;
        }
        if (parameter.isSecret()) {
            hidden.learn(value);
            value = model::kHidden;
        }
        json_object_object_add(values, parameter.name, jsonValue(parameter, value));
    }
    return values;
}

json_object* valueOf(const model::Parameter* parameter, const std::optional<std::string>& value, Hidden& hidden) {
    if (!value || parameter == nullptr) {
        return value ? jsonText(*value) : nullptr;
    }
    if (parameter->isSecret() && !value->empty()) {
        hidden.learn(*value);
        return jsonText(model::kHidden);
    }
    return jsonValue(*parameter, *value);
}

// A payload is mostly a text with its NUL.
void addPayload(json_object* line, std::string_view payload, const Hidden& hidden) {
    const bool isTerminated = !payload.empty() && payload.back() == '\0';
    const std::string_view text = payload.substr(0, payload.size() - (isTerminated ? 1 : 0));
    if (isTerminated && isText(text)) {
        addText(line, "text", hidden.text(text));
        return;
    }
    addBytes(line, payload, hidden);
    if (!payload.empty() && isText(payload)) {
        json_object_object_add(line, "unterminated", json_object_new_boolean(1));
    }
}

void addEndpoints(json_object* line, const Passage& passage) {
    json_object_object_add(line, "from", json_object_new_int(passage.from.eid));
    addText(line, "program", passage.from.program);
    json_object_object_add(line, "to", json_object_new_int(passage.to.eid));
    addText(line, "type", formatted("0x%08" PRIx64, passage.copy.message->type));
    const std::string name = typeName(passage.copy.message->type);
    if (!name.empty()) {
        addText(line, "name", name);
    }
}

}  // namespace

json_object* headerLine(int64_t beganUs) {
    const vcfg::bus::Holder daemon = vcfg::bus::holderOf(VCFG_EID_TARN);
    json_object* line = json_object_new_object();
    json_object_object_add(line, "recording", json_object_new_int(kRecordingVersion));
    addText(line, "release", TARN_VERSION);
    addText(line, "model", formatted("%016" PRIx64, VCFG_MODEL_ID));
    json_object_object_add(line, "t_mono_us", json_object_new_int64(beganUs));
    addText(line, "clock", timeOfDay());
    json_object_object_add(line, "daemon", daemon.isThere() ? json_object_new_int(daemon.process) : nullptr);
    json_object_object_add(line, "logs", json_object_new_boolean(1));
    return line;
}

int putModel(RecordingFile& file, Hidden& hidden) {
    int status = kDone;
    for (const model::Object& object : model::objects()) {
        const auto take = [&](const objIndex& iid, const void* record) {
            JsonPtr values(valuesOf(object, record, hidden));
            if (object.isTable || json_object_object_length(values.get()) > 0) {
                json_object* line = json_object_new_object();
                addText(line, "kind", "object");
                addText(line, "path", path(object, iid));
                json_object_object_add(line, "values", values.release());
                file.put(line);
            }
        };
        if (status == kDone) {
            status = forEach({&object, {}, nullptr}, false, take);
        }
    }
    return status;
}

json_object* changeLine(const Change& change, uint32_t event, int64_t beganUs, Hidden& hidden) {
    const std::optional<model::Resolved> where = model::resolve(change.path);
    const model::Parameter* const parameter = where ? where->parameter : nullptr;
    if (parameter != nullptr && parameter->countedOid != RDM_OID_NONE) {
        return nullptr;
    }
    json_object* line = lineAt("change", change.monotonicUs, beganUs);
    addText(line, "path", change.path);
    json_object_object_add(line, "old", valueOf(parameter, change.before, hidden));
    json_object_object_add(line, "new", valueOf(parameter, change.after, hidden));
    addText(line, "by", change.by);
    addNumber(line, "event", event);
    if (change.refreshedFor) {
        json_object_object_add(line, "for", json_object_new_int64(*change.refreshedFor));
    }
    return line;
}

json_object* passageLine(const Passage& passage, int64_t beganUs, const Hidden& hidden) {
    const vcfg_msg_t& message = *passage.copy.message;
    const bool isNotice = message.type == VCFG_MSG_INIT_DATAMODEL_FIN || passage.request == VCFG_MSG_INIT_DATAMODEL_FIN;
    if ((message.srcEid == VCFG_EID_VCMD || message.dstEid == VCFG_EID_VCMD) && !isNotice) {
        return nullptr;
    }
    json_object* line = lineAt(kindWord(passage.kind), passage.copy.timeUs, beganUs);
    addEndpoints(line, passage);
    addNumber(line, "id", message.requestId);
    addNumber(line, "code", passage.kind == Kind::Failure ? passage.copy.code : static_cast<int32_t>(message.statCode));
    addNumber(line, "oid", message.oid);
    addNumber(line, "event", passage.copy.event);
    if (message.objIid.level > 0) {
        addText(line, "iid", iidText(message.objIid));
    }
    addPayload(line, {vcfg_msg_text(&message), passage.copy.held}, hidden);
    return line;
}

json_object* markLine(const char* kind, int64_t timeUs, int64_t beganUs) {
    return lineAt(kind, timeUs, beganUs);
}

}  // namespace vcfgctl
