#include "print.h"

#include <endian.h>
#include <json-c/json.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "model/utf8.h"
#include "names.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

std::string hex(const void* bytes, size_t count) {
    std::string text;
    char digits[3];
    for (size_t i = 0; i < count; ++i) {
        snprintf(digits, sizeof digits, "%02x", static_cast<const unsigned char*>(bytes)[i]);
        text.append(digits);
    }
    return text;
}

// The envelope as it lies on the wire.
std::string headerHex(const vcfg_msg_t& message) {
    vcfg_msg_t wire = message;
    wire.type = htole32(message.type);
    wire.oid = htole32(message.oid);
    wire.length = htole16(message.length);
    wire.requestId = htole32(message.requestId);
    wire.statCode = htole32(message.statCode);
    return hex(&wire, VCFG_MSG_HEADER_SIZE);
}

}  // namespace

std::string hexText(std::string_view bytes) {
    return hex(bytes.data(), bytes.size());
}

std::string iidText(const objIndex& iid) {
    std::string text = std::to_string(iid.level) + ":";
    for (size_t i = 0; i < iid.level && i < sizeof iid.idx; ++i) {
        text.append(i > 0 ? "." : "").append(std::to_string(iid.idx[i]));
    }
    return text;
}

std::string oneLine(std::string_view text) {
    std::string line;
    for (const char c : text) {
        if (c == '\n') {
            line.append("\\n");
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) {
            char escaped[5];
            snprintf(escaped, sizeof escaped, "\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
            line.append(escaped);
        } else {
            line.push_back(c);
        }
    }
    return line;
}

// Bytes from outside need not be UTF-8, which JSON must be: what is none shows as U+FFFD.
json_object* jsonText(std::string_view text) {
    std::string clean;
    while (!text.empty()) {
        const size_t length = vcfg::utf8Length(text);
        clean.append(length > 0 ? text.substr(0, length) : std::string_view("\xEF\xBF\xBD"));
        text.remove_prefix(length > 0 ? length : 1);
    }
    return json_object_new_string_len(clean.data(), static_cast<int>(clean.size()));
}

json_object* jsonValue(const model::Parameter& parameter, const std::string& value) {
    switch (parameter.kind) {
        case model::Kind::Bool:
            return json_object_new_boolean(value == "true");
        case model::Kind::Int:
        case model::Kind::Uint:
        case model::Kind::Long:
            return json_object_new_int64(strtoll(value.c_str(), nullptr, 10));
        case model::Kind::Ulong:
            return json_object_new_uint64(strtoull(value.c_str(), nullptr, 10));
        default:
            return jsonText(value);
    }
}

void printJsonLine(json_object* object) {
    puts(json_object_to_json_string_ext(object, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE));
    fflush(stdout);
    json_object_put(object);
}

void printValue(const std::string& path, const model::Parameter& parameter, const std::string& value, bool json) {
    if (!json) {
        printf("%s=%s\n", path.c_str(), oneLine(value).c_str());
        return;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "path", jsonText(path));
    json_object_object_add(line, "value", jsonValue(parameter, value));
    printJsonLine(line);
}

void addEnvelope(json_object* line, const vcfg_msg_t& message) {
    const auto number = [line](const char* key, int64_t value) {
        json_object_object_add(line, key, json_object_new_int64(value));
    };
    const auto name = [line](const char* key, const std::string& value) {
        json_object_object_add(line, key, value.empty() ? nullptr : jsonText(value));
    };
    number("type", message.type);
    name("typeName", typeName(message.type));
    number("srcEid", message.srcEid);
    name("srcName", endpointName(message.srcEid));
    number("dstEid", message.dstEid);
    name("dstName", endpointName(message.dstEid));
    number("oid", message.oid);
    number("requestId", message.requestId);
    number("statCode", static_cast<int32_t>(message.statCode));
    json_object_object_add(line, "objIid", jsonText(iidText(message.objIid)));
    number("length", message.length);
}

void addBytes(json_object* line, const vcfg_msg_t& message, std::optional<size_t> payload) {
    json_object_object_add(line, "payloadHex", payload ? jsonText(hex(vcfg_msg_text(&message), *payload)) : nullptr);
    json_object_object_add(line, "headerHex", jsonText(headerHex(message)));
}

void printMessage(const vcfg_msg_t& message) {
    const char* payload = vcfg_msg_text(&message);
    json_object* line = json_object_new_object();
    addEnvelope(line, message);
    json_object_object_add(line, "payload", jsonText({payload, strnlen(payload, message.length)}));
    addBytes(line, message, message.length);
    printJsonLine(line);
}

}  // namespace vcfgctl
