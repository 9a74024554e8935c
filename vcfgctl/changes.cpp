#include "changes.h"

#include <vcfg/rdm.h>

#include "ask.h"
#include "client/bus_client.h"
#include "json.h"
#include "verb.h"

namespace vcfgctl {
namespace {

std::string textOf(json_object* line, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(line, name, &value);
    return value == nullptr ? "" : std::string(json_object_get_string(value));
}

std::optional<std::string> valueOf(json_object* line, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(line, name, &value);
    return value == nullptr ? std::nullopt : std::optional(textOf(line, name));
}

std::optional<uint32_t> numberOf(json_object* line, const char* name) {
    json_object* value = nullptr;
    json_object_object_get_ex(line, name, &value);
    return value == nullptr ? std::nullopt : std::optional(static_cast<uint32_t>(json_object_get_int64(value)));
}

Change toChange(json_object* line) {
    json_object* time = nullptr;
    json_object_object_get_ex(line, "t_mono_us", &time);
    return {json_object_get_int64(time),   textOf(line, "path"), valueOf(line, "old"),
            valueOf(line, "new"),          textOf(line, "by"),   numberOf(line, "event").value_or(0),
            numberOf(line, "refreshedFor")};
}

vcfg::Answer askFor(const std::string& patterns) {
    return ask(vcfg::wire::kWatch, RDM_OID_NONE, {}, patterns.empty() ? "" : patterns + '\0');
}

}  // namespace

int Changes::open(const std::string& patterns) {
    const vcfg::Answer answer = askFor(patterns);
    return answer.code == VCFG_OK ? kDone : reportFailure(answer, "watch");
}

bool Changes::tryOpen(const std::string& patterns) {
    return askFor(patterns).code == VCFG_OK;
}

void Changes::take(std::string_view lines) {
    while (!lines.empty()) {
        const size_t end = lines.find('\n');
        const JsonPtr line(json_tokener_parse(std::string(lines.substr(0, end)).c_str()));
        if (line != nullptr) {
            told_.push_back(toChange(line.get()));
        }
        lines.remove_prefix(end == lines.npos ? lines.size() : end + 1);
    }
}

int Changes::next(const vcfg::Deadline& deadline, Change* change) {
    while (told_.empty()) {
        vcfg::bus::MessagePtr message;
        const int code = vcfg::bus::nextFrom(VCFG_EID_VCMD, deadline, &message);
        if (code != VCFG_OK) {
            return code;
        }
        if (message->type == vcfg::wire::kChange) {
            take(vcfg_msg_text(message.get()));
        }
    }
    *change = std::move(told_.front());
    told_.pop_front();
    return VCFG_OK;
}

}  // namespace vcfgctl
