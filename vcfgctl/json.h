// Owned JSON values.
#pragma once

#include <json-c/json.h>

#include <memory>

namespace vcfgctl {

struct FreeJson {
    void operator()(json_object* json) const { json_object_put(json); }
};
using JsonPtr = std::unique_ptr<json_object, FreeJson>;

}  // namespace vcfgctl
