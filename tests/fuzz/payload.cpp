// The payload of each message, through the dispatcher, over a furnished gateway. The program has one name per handler;
// an input is up to eight messages, and where a handler takes several types the first byte of each chooses its own.
#include <algorithm>
#include <vector>

#include "house.h"
#include "target.h"

namespace {

constexpr char kNextMessage = '\x1e';
constexpr int kMostMessages = 8;

struct Handler {
    std::string_view name;
    std::vector<uint32_t> types;
    bool runsItsPayload = false;
};

const Handler kHandlers[] = {
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

const Handler& ownHandler() {
    static const Handler* const own = std::find_if(std::begin(kHandlers), std::end(kHandlers),
                                                   [](const Handler& one) { return one.name == targetName(); });
    if (own == std::end(kHandlers)) {
        finding("the program has no handler's name");
    }
    return *own;
}

void receive(Gateway& gateway, const Handler& handler, std::string_view message) {
    size_t type = 0;
    if (handler.types.size() > 1 && !message.empty()) {
        type = static_cast<uint8_t>(message[0]) % handler.types.size();
        message.remove_prefix(1);
    }
    gateway.receiveBytes(handler.types[type], std::string(message));
    gateway.runThreads();
}

}  // namespace

void handleInput(std::string_view bytes) {
    const Handler& handler = ownHandler();
    Gateway gateway;
    house::furnish(gateway);
    for (int message = 0; message < kMostMessages && (message == 0 || !bytes.empty()); ++message) {
        const size_t end = bytes.find(kNextMessage);
        receive(gateway, handler, bytes.substr(0, end));
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    if (!handler.runsItsPayload) {
        house::checkCommands(gateway);
    }
}
