// What the lines of a recording are made of.
#pragma once

#include <cstdint>
#include <string_view>

#include "hidden.h"
#include "json.h"

namespace vcfgctl {

// Times are microseconds since the recording began.
json_object* lineAt(const char* kind, int64_t timeUs, int64_t beganUs);
void addText(json_object* line, const char* name, std::string_view text);
// 0 is left out.
void addNumber(json_object* line, const char* name, int64_t number);
// As "text", or as "hex" when they are none; nothing of none.
void addBytes(json_object* line, std::string_view bytes, const Hidden& hidden);
bool isText(std::string_view bytes);

}  // namespace vcfgctl
