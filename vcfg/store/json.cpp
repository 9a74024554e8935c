#include "json.h"

#include <climits>
#include <cstring>
#include <new>

#include "json_text.h"

namespace vcfg::store {
namespace {

using model::Kind;
using model::Object;
using model::Parameter;

constexpr int kDeepest = 8;

bool refuse(std::string* why, const std::string& text) {
    if (why != nullptr) {
        *why = text;
    }
    return false;
}

template <class Number>
Number number(const Parameter& parameter, const void* record) {
    Number value;
    std::memcpy(&value, static_cast<const char*>(record) + parameter.offset, sizeof value);
    return value;
}

json_object* valueJson(const Parameter& parameter, const void* record) {
    switch (parameter.kind) {
        case Kind::Bool:
            return json_object_new_boolean(number<uint8_t>(parameter, record));
        case Kind::Int:
            return json_object_new_int64(number<int32_t>(parameter, record));
        case Kind::Uint:
            return json_object_new_int64(number<uint32_t>(parameter, record));
        case Kind::Long:
            return json_object_new_int64(number<int64_t>(parameter, record));
        case Kind::Ulong:
            return json_object_new_uint64(number<uint64_t>(parameter, record));
        default: {
            const std::string text = valueText(parameter, record);
            return json_object_new_string_len(text.data(), static_cast<int>(text.size()));
        }
    }
}

bool sameValue(const Parameter& parameter, const void* left, const void* right) {
    return std::memcmp(static_cast<const char*>(left) + parameter.offset,
                       static_cast<const char*>(right) + parameter.offset, parameter.size) == 0;
}

// Whether a JSON value of that type can stand for the parameter at all.
bool fits(const Parameter& parameter, json_type type) {
    switch (type) {
        case json_type_string:
            return true;
        case json_type_int:
            return !parameter.isText();
        case json_type_boolean:
            return parameter.kind == Kind::Bool;
        default:
            return false;
    }
}

}  // namespace

JsonPtr parseObject(std::string_view text, std::string* why) {
    struct FreeTokener {
        void operator()(json_tokener* tokener) const { json_tokener_free(tokener); }
    };
    const std::unique_ptr<json_tokener, FreeTokener> tokener(json_tokener_new_ex(kDeepest));
    if (!tokener || text.size() >= INT_MAX) {
        refuse(why, !tokener ? "no memory" : "too long");
        return nullptr;
    }
    JsonPtr json(json_tokener_parse_ex(tokener.get(), text.data(), static_cast<int>(text.size())));
    const json_tokener_error error = json_tokener_get_error(tokener.get());
    if (error != json_tokener_success) {
        refuse(why, std::string("not JSON: ") + json_tokener_error_desc(error));
        return nullptr;
    }
    const std::string_view rest = text.substr(json_tokener_get_parse_end(tokener.get()));
    if (!json_object_is_type(json.get(), json_type_object) || rest.find_first_not_of(" \t\r\n") != rest.npos) {
        refuse(why, "takes one JSON object");
        return nullptr;
    }
    return json;
}

JsonPtr recordJson(const Object& object, const void* record, const void* base) {
    JsonPtr json(json_object_new_object());
    if (!json) {
        throw std::bad_alloc();
    }
    for (const Parameter& parameter : object.parameters) {
        if (base != nullptr && sameValue(parameter, record, base)) {
            continue;
        }
        json_object* value = valueJson(parameter, record);
        if (value == nullptr || json_object_object_add(json.get(), parameter.name, value) != 0) {
            json_object_put(value);
            throw std::bad_alloc();
        }
    }
    return json;
}

JsonPtr recordJson(const Object& object, const void* record) {
    return recordJson(object, record, nullptr);
}

bool setJson(const Parameter& parameter, void* record, json_object* value, std::string* why) {
    const json_type type = json_object_get_type(value);
    std::string printed;
    std::string_view text;
    if (fits(parameter, type) && type == json_type_string) {
        text = {json_object_get_string(value), static_cast<size_t>(json_object_get_string_len(value))};
    } else if (fits(parameter, type)) {
        text = printed = textOf(value);
    } else if (parameter.isText()) {
        return refuse(why, std::string(parameter.name) + " takes a text");
    } else {
        text = "-";  // no number and no boolean
    }
    return setValue(parameter, record, text, why);
}

bool setJson(const Object& object, void* record, json_object* json, std::string* why) {
    if (!json_object_is_type(json, json_type_object)) {
        return refuse(why, "takes one JSON object");
    }
    json_object_object_foreach(json, name, value) {
        const Parameter* parameter = find(object, name);
        if (parameter == nullptr) {
            return refuse(why, std::string("there is no parameter ") + name);
        }
        if (parameter->countedOid != RDM_OID_NONE) {
            return refuse(why, std::string(name) + " is counted and takes no value");
        }
        if (!setJson(*parameter, record, value, why)) {
            return false;
        }
    }
    return true;
}

}  // namespace vcfg::store
