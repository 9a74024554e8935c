// What vcfgctl prints: plain lines, or JSON lines.
#pragma once

#include <vcfg/msg.h>

#include <optional>
#include <string>
#include <string_view>

#include "model/describe.h"

struct json_object;

namespace vcfgctl {

// Text with control characters escaped, so that one value is one line.
std::string oneLine(std::string_view text);

std::string hexText(std::string_view bytes);

// Instance numbers as "level:i1.i2".
std::string iidText(const objIndex& iid);
json_object* jsonText(std::string_view text);
// A boolean or number as such, everything else as text. `value` as the model shows it.
json_object* jsonValue(const vcfg::model::Parameter& parameter, const std::string& value);
// Prints the object on a line of its own at once, and frees it.
void printJsonLine(json_object* object);

// "path=value", or {"path":...,"value":...}. `path` is the parameter's.
void printValue(const std::string& path, const vcfg::model::Parameter& parameter, const std::string& value, bool json);
// The members of a message's JSON line: all of its envelope, and its bytes, of the payload so many (null for nothing).
void addEnvelope(json_object* line, const vcfg_msg_t& message);
void addBytes(json_object* line, const vcfg_msg_t& message, std::optional<size_t> payload);
// The JSON line of a message.
void printMessage(const vcfg_msg_t& message);

}  // namespace vcfgctl
