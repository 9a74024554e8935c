#include "belonging.h"

namespace vcfgctl {

int64_t numberIn(json_object* line, const char* name) {
    json_object* value = nullptr;
    return json_object_object_get_ex(line, name, &value) && json_object_is_type(value, json_type_int)
               ? json_object_get_int64(value)
               : 0;
}

std::string textIn(json_object* line, const char* name) {
    json_object* value = nullptr;
    return json_object_object_get_ex(line, name, &value) && json_object_is_type(value, json_type_string)
               ? json_object_get_string(value)
               : "";
}

Bond bondOf(json_object* line) {
    return {textIn(line, "kind"), numberIn(line, "at"), numberIn(line, "of"),
            static_cast<uint32_t>(numberIn(line, "event")), static_cast<uint32_t>(numberIn(line, "cause"))};
}

// What an event has sent and begun belongs to it, and so does what it was received as.
bool Belonging::take(const Bond& line) {
    const bool isReceived = line.kind == "received";
    if (events_.contains(line.event) && (isReceived || line.isMessage())) {
        messages_.insert(isReceived ? line.of : line.at);
    }
    if (line.event != 0 && (events_.contains(line.cause) || (isReceived && messages_.contains(line.of)))) {
        events_.insert(line.event);
    }
    return events_.contains(line.event) || (line.isMessage() && messages_.contains(line.at));
}

}  // namespace vcfgctl
