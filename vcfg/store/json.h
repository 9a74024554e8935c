// Records as JSON objects, and back.
#pragma once

#include <json-c/json.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "model/describe.h"

namespace vcfg::store {

struct PutJson {
    void operator()(json_object* json) const { json_object_put(json); }
};
using JsonPtr = std::unique_ptr<json_object, PutJson>;

// One JSON object and nothing behind it. Null with a reason in `why` (may be null) for anything else, for what is
// nested deeper than any of our texts, and when memory is short.
JsonPtr parseObject(std::string_view text, std::string* why);

// All parameters of a record with their values: booleans and numbers as such, everything else as text.
JsonPtr recordJson(const model::Object& object, const void* record);
// Only those whose value differs from `base`'s.
JsonPtr recordJson(const model::Object& object, const void* record, const void* base);

// Puts one JSON value into a record. A boolean or a number may be given as text, a boolean as 0 or 1 too; on failure
// the record is untouched and `why` says what would be accepted.
bool setJson(const model::Parameter& parameter, void* record, json_object* value, std::string* why);

// Puts all parameters that `json` names into a record. Refused are unknown names, counted parameters and what setJson
// refuses; the record is then partly changed, so callers give a copy.
bool setJson(const model::Object& object, void* record, json_object* json, std::string* why);

}  // namespace vcfg::store
