// Endpoints and message types by name. Shown as "2(tarn)" and "0x000003ec(VCFG_MSG_WAN_IP_RELEASE)"; taken as that, as
// the name or as the number.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vcfgctl {

// Empty for one that has none.
std::string endpointName(uint32_t eid);
std::string typeName(uint32_t type);

std::string endpointText(uint32_t eid);
std::string typeText(uint32_t type);

// "tarn", "2"; "VCFG_MSG_WAN_IP_RELEASE", "wan_ip_release", "1004", "0x3ec". Upper and lower case are the same.
std::optional<uint32_t> parseEndpoint(std::string_view text);
std::optional<uint32_t> parseType(std::string_view text);

std::vector<std::string> endpointNames();
// "vcmd, tarn, tr069", for people.
std::string endpointList();
std::vector<std::string> typeNames();

}  // namespace vcfgctl
