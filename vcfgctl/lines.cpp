#include "lines.h"

#include "model/utf8.h"
#include "print.h"

namespace vcfgctl {

json_object* lineAt(const char* kind, int64_t timeUs, int64_t beganUs) {
    json_object* line = json_object_new_object();
    json_object_object_add(line, "at", json_object_new_int64(timeUs - beganUs));
    addText(line, "kind", kind);
    return line;
}

void addText(json_object* line, const char* name, std::string_view text) {
    json_object_object_add(line, name, jsonText(text));
}

void addNumber(json_object* line, const char* name, int64_t number) {
    if (number != 0) {
        json_object_object_add(line, name, json_object_new_int64(number));
    }
}

bool isText(std::string_view bytes) {
    return bytes.find('\0') == bytes.npos && vcfg::isUtf8(bytes);
}

void addBytes(json_object* line, std::string_view bytes, const Hidden& hidden) {
    if (isText(bytes) && !bytes.empty()) {
        addText(line, "text", hidden.text(bytes));
    } else if (!bytes.empty()) {
        addText(line, "hex", hexText(hidden.bytes(bytes)));
    }
}

}  // namespace vcfgctl
