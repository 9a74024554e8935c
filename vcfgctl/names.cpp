#include "names.h"

#include <vcfg/msg.h>
#include <vcfg/msg_types.h>

#include <algorithm>
#include <cstdio>
#include <span>

#include "ask.h"
#include "verb.h"

namespace vcfgctl {
namespace {

struct Named {
    uint32_t number;
    const char* constant;
};

constexpr Named kEndpoints[] = {
#include "endpoint_names.inc"
};
constexpr Named kTypes[] = {
#include "type_names.inc"
};

// Of the data-model requests, which have no constants in the API; an answer to one has bit 31 set.
constexpr Named kFrontEnd[] = {{vcfg::wire::kRefresh, "FE_REFRESH"},
                               {vcfg::wire::kSet, "FE_SET"},
                               {vcfg::wire::kSetNoApply, "FE_SET_NO_APPLY"},
                               {vcfg::wire::kSetAndWait, "FE_SET_AND_WAIT"},
                               {vcfg::wire::kAdd, "FE_ADD"},
                               {vcfg::wire::kDelete, "FE_DELETE"},
                               {vcfg::wire::kWrite, "FE_WRITE"},
                               {vcfg::wire::kWatch, "FE_WATCH"},
                               {vcfg::wire::kPing, "FE_PING"},
                               {vcfg::wire::kChange, "FE_CHANGE"},
                               {vcfg::wire::kDebugConfig, "FE_DEBUG_CONFIG"},
                               {vcfg::wire::kService, "FE_SERVICE"},
                               {vcfg::wire::kSave, "FE_SAVE"},
                               {vcfg::wire::kLoadPart, "FE_LOAD_PART"},
                               {vcfg::wire::kLoad, "FE_LOAD"},
                               {vcfg::wire::kChangeAll, "FE_CHANGE_ALL"},
                               {vcfg::wire::kStartUp, "FE_START_UP"}};

constexpr std::string_view kEndpointPrefix = "VCFG_EID_";
constexpr std::string_view kTypePrefix = "VCFG_MSG_";
constexpr const char* kOwnName = "vcfgctl";

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; });
    return result;
}

const char* constantOf(std::span<const Named> all, uint32_t number) {
    const auto found = std::find_if(all.begin(), all.end(), [=](const Named& one) { return one.number == number; });
    return found != all.end() ? found->constant : "";
}

// By its constant, with or without the prefix.
std::optional<uint32_t> find(std::span<const Named> all, std::string_view prefix, std::string_view text) {
    const std::string wanted = lower(text);
    for (const Named& one : all) {
        const std::string constant = lower(one.constant);
        if (constant == wanted || constant.substr(prefix.size()) == wanted) {
            return one.number;
        }
    }
    return std::nullopt;
}

std::string withName(const std::string& number, const std::string& name) {
    return name.empty() ? number : number + "(" + name + ")";
}

// The number of "2" or of "2(tarn)" as `shown` shows it.
std::optional<uint32_t> parseShown(std::string_view text, uint32_t most, std::string (*shown)(uint32_t)) {
    const size_t end = text.find('(');
    uint64_t number = 0;
    if (!parseNumber(std::string(text.substr(0, end)), most, &number)) {
        return std::nullopt;
    }
    const uint32_t found = static_cast<uint32_t>(number);
    return end == text.npos || shown(found).ends_with(text.substr(end)) ? std::optional(found) : std::nullopt;
}

}  // namespace

std::string endpointName(uint32_t eid) {
    if (eid == kOwnEid) {
        return kOwnName;
    }
    const std::string_view constant = constantOf(kEndpoints, eid);
    return constant.empty() ? "" : lower(constant.substr(kEndpointPrefix.size()));
}

std::string typeName(uint32_t type) {
    const std::string name = constantOf(kTypes, type);
    return name.empty() ? constantOf(kFrontEnd, type & ~VCFG_MSG_NO_REPLY) : name;
}

std::string endpointText(uint32_t eid) {
    return withName(std::to_string(eid), endpointName(eid));
}

std::string typeText(uint32_t type) {
    char number[11];
    snprintf(number, sizeof number, "0x%08x", type);
    return withName(number, typeName(type));
}

std::optional<uint32_t> parseEndpoint(std::string_view text) {
    if (lower(text) == kOwnName) {
        return kOwnEid;
    }
    std::optional<uint32_t> found = find(kEndpoints, kEndpointPrefix, text);
    found = found ? found : parseShown(text, UINT8_MAX, endpointText);
    return found && *found != 0 ? found : std::nullopt;
}

std::optional<uint32_t> parseType(std::string_view text) {
    std::optional<uint32_t> found = find(kTypes, kTypePrefix, text);
    found = found ? found : find(kFrontEnd, "", text);
    return found ? found : parseShown(text, UINT32_MAX, typeText);
}

std::vector<std::string> endpointNames() {
    std::vector<std::string> names;
    for (const Named& one : kEndpoints) {
        names.push_back(endpointName(one.number));
    }
    return names;
}

std::string endpointList() {
    std::string text;
    for (const std::string& name : endpointNames()) {
        text.append(text.empty() ? "" : ", ").append(name);
    }
    return text;
}

std::vector<std::string> typeNames() {
    std::vector<std::string> names;
    for (const Named& one : kTypes) {
        names.emplace_back(one.constant);
    }
    for (const Named& one : kFrontEnd) {
        names.emplace_back(one.constant);
    }
    return names;
}

}  // namespace vcfgctl
