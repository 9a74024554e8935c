#include "value.h"

#include <cstddef>
#include <vector>

#include "print.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

std::string refusal(const model::Parameter& parameter, std::string_view value, const std::string& why) {
    const std::string takes = std::string(parameter.name) + " takes ";
    const std::string accepted = why.starts_with(takes) ? why.substr(takes.size()) : why;
    if (parameter.isSecret()) {
        return "the value is refused; it takes " + accepted;
    }
    if (accepted.starts_with("one of ")) {
        return "\"" + oneLine(value) + "\" is not " + accepted;
    }
    return "\"" + oneLine(value) + "\" is refused; it takes " + accepted;
}

}  // namespace

std::optional<std::string> asShown(const model::Parameter& parameter, std::string_view value, std::string* why) {
    std::vector<std::byte> scratch(parameter.offset + parameter.size);
    std::string reason;
    if (!setValue(parameter, scratch.data(), value, &reason)) {
        *why = refusal(parameter, value, reason);
        return std::nullopt;
    }
    return valueText(parameter, scratch.data());
}

}  // namespace vcfgctl
