// The messages whose payloads tests/fuzz/corpus has, in a folder each. A file there is some messages, one behind the
// other.
#pragma once

#include <vcfg/msg_types.h>

#include <cstdint>
#include <string_view>
#include <vector>

struct PayloadSeeds {
    std::string_view name;
    std::vector<uint32_t> types;  // chosen by the first byte of each message when there are several
    bool runsItsPayload = false;
};

inline const PayloadSeeds kPayloadSeeds[] = {
    {"payload_dhcpc", {VCFG_MSG_DHCPC_OPTION, VCFG_MSG_DHCPC_BOUND, VCFG_MSG_DHCPC_RENEWED}},
    {"payload_dhcp6c", {VCFG_MSG_DHCP6C}},
    {"payload_ra_info", {VCFG_MSG_RA_INFO}},
    {"payload_pppd", {VCFG_MSG_PPPD}},
    {"payload_dhcpd_option", {VCFG_MSG_DHCPD_OPTION}},
    {"payload_mgmt_nat", {VCFG_MSG_MGMT_NAT_DETECT, VCFG_MSG_MGMT_NAT_CLEAR}},
    {"payload_ntp_sync", {VCFG_MSG_NTP_SYNC_SUCCESS}},
    {"payload_nslookup", {VCFG_MSG_NSLOOKUP_MSG}},
    {"payload_loopback", {VCFG_MSG_ATM_OAM_F5_COMPLETE, VCFG_MSG_ATM_OAM_F4_COMPLETE}},
    {"payload_download", {VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT}},
    {"payload_upload", {VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT}},
    {"payload_servers", {VCFG_MSG_PINGSVRS_RST}},
    {"payload_ping", {VCFG_MSG_PING_MSG}},
    {"payload_traceroute", {VCFG_MSG_TRACERT_MSG}},
    {"payload_mail", {VCFG_MSG_MAIL_SEND_EVENT, VCFG_MSG_WAN_CONNECTION_READY, VCFG_MSG_WAN_CONNECTION_LOST}},
    {"payload_optical", {VCFG_MSG_OPTICAL_LINK_STATUS}},
    {"payload_wps", {VCFG_MSG_WPS_START, VCFG_MSG_WPS_STOP, VCFG_MSG_WPS_POLL}},
    {"payload_command",
     {VCFG_MSG_VOSH_COMMAND, VCFG_MSG_FAKEROOT_SYS_COMMAND, VCFG_MSG_FAKEROOT_SHELL_COMMAND,
      VCFG_MSG_FAKEROOT_VOCLI_COMMAND},
     true},
};

struct SeedMessage {
    uint32_t type;
    std::string_view payload;
};

// Takes the first message off the bytes.
inline SeedMessage takeMessage(const PayloadSeeds& seeds, std::string_view& bytes) {
    constexpr char kNextMessage = '\x1e';
    const size_t end = bytes.find(kNextMessage);
    SeedMessage message{seeds.types.front(), bytes.substr(0, end)};
    bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    if (seeds.types.size() > 1 && !message.payload.empty()) {
        message.type = seeds.types[static_cast<uint8_t>(message.payload[0]) % seeds.types.size()];
        message.payload.remove_prefix(1);
    }
    return message;
}
