// What the model's objects and parameters are called, whether or not an instance of them is there.
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "describe.h"

namespace vcfg::model {

// The place of an instance number: 1..255 without leading zeros, or 0 where "*" or "{i}" stands for any.
std::optional<uint8_t> instancePlace(std::string_view part);

// The path without the "Device." that it may begin with.
std::string_view withoutRoot(std::string_view path);

struct Named {
    const Object* object;
    objIndex iid;                // as many places as the path has; 0 for any
    const Parameter* parameter;  // null when the path names the object
};
// What a path names: "IP.Interface.1.Status", "Device.IP.Interface.{i}.Status", "IP.Interface.*." and "IP.Interface"
// for the table.
std::optional<Named> named(std::string_view path);

// All objects, each before what lies below it and that before the next one beside it; otherwise by ascending oid.
std::span<const Object* const> inTreeOrder();

}  // namespace vcfg::model
