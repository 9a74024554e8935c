#include "dispatch.h"

#include <string>

#include "connection/dhcpv4_client.h"
#include "connection/dhcpv6_client.h"
#include "connection/ppp.h"
#include "connection/router_advertisement.h"
#include "connection/wan_commands.h"
#include "core/command_relay.h"
#include "core/event.h"
#include "core/log.h"
#include "core/mail_event.h"
#include "core/message.h"
#include "core/system_log.h"
#include "diag/loopback_result.h"
#include "diag/name_lookup_result.h"
#include "diag/server_selection_result.h"
#include "diag/trace_route_result.h"
#include "diag/transfer_result.h"
#include "lan/wps.h"
#include "link/internet_led.h"
#include "link/optical.h"
#include "link/wan_link_status.h"
#include "link/wwan_backup.h"
#include "mgmt/checksum.h"
#include "mgmt/dhcp_server.h"
#include "mgmt/management_nat.h"
#include "mgmt/ntp.h"
#include "mgmt/tr064.h"
#include "platform/wrapper.h"
#include "startup.h"

namespace {

constexpr uint32_t kTypeNumber = 0xFFFFFF;
constexpr uint32_t kSlowMs = 2000;

// One message, as its handler sees it.
struct Message {
    uint32_t type;
    uint8_t srcEid;
    uint32_t requestId;
    const objIndex* objIid;
    const char* payload;     // null when there is none; always followed by a NUL
    std::string_view bytes;  // the payload as it came
};

enum class Channel { None, VlogDebug, SyslogInfo };

// The line that announces a message: `format`, in which "%s" stands for the payload.
struct Announcement {
    Channel channel;
    const char* format;
};

enum class Payload { Optional, Required };

struct Row {
    uint32_t type;
    const char* name;
    Announcement announcement;
    Payload payload;
    void (*handle)(const Message&);
};

constexpr Announcement kSilent{Channel::None, ""};
constexpr Announcement debugLine(const char* format) {
    return {Channel::VlogDebug, format};
}
constexpr Announcement infoLine(const char* format) {
    return {Channel::SyslogInfo, format};
}

void dhcpc(const Message& m) {
    processDhcpcMsg(m.payload, m.type);
}
void ntpSyncSuccess(const Message& m) {
    tarnNtpUpdate(m.payload);
    if (!ntpSyncNoticeSent.exchange(true)) {
        feNTPSync();
    }
}
void fakerootCommand(const Message& m) {
    if (runFakerootCommand(m.bytes)) {
        processFakeroot_Command_Reply(m.srcEid, m.requestId);
    }
}
void wps(const Message& m) {
    wpsMsgStatusHandle(m.type, m.bytes);
}

constexpr Announcement kDhcpcOption = infoLine("DHCPC Option %s\n");

constexpr Row kRows[] = {
    // clang-format off
    {VCFG_MSG_VOSH_COMMAND, "VCFG_MSG_VOSH_COMMAND", kSilent, Payload::Optional,
        [](const Message& m) { process_vosh_cmd(m.bytes); }},
    {VCFG_MSG_FAKEROOT_SYS_COMMAND, "VCFG_MSG_FAKEROOT_SYS_COMMAND",
        infoLine("receiving VCFG_MSG_FAKEROOT_SYS_COMMAND buf \"%s\"\n"), Payload::Optional,
        [](const Message& m) { processAtshGetRomfileCksum(m.srcEid, m.requestId); }},
    {VCFG_MSG_FAKEROOT_SHELL_COMMAND, "VCFG_MSG_FAKEROOT_SHELL_COMMAND", kSilent, Payload::Optional, fakerootCommand},
    {VCFG_MSG_WAN_PPP_DISCONNECT, "VCFG_MSG_WAN_PPP_DISCONNECT", kSilent, Payload::Optional,
        [](const Message& m) { tarnWanPppConnect(*m.objIid, 0, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_PPP_CONNECT, "VCFG_MSG_WAN_PPP_CONNECT", kSilent, Payload::Optional,
        [](const Message& m) { tarnWanPppConnect(*m.objIid, 1, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_IP_RELEASE, "VCFG_MSG_WAN_IP_RELEASE", kSilent, Payload::Optional,
        [](const Message& m) { tarnWanIpRenew(*m.objIid, 0, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_IP_RENEW, "VCFG_MSG_WAN_IP_RENEW", kSilent, Payload::Optional,
        [](const Message& m) { tarnWanIpRenew(*m.objIid, 1, m.srcEid, m.requestId); }},
    {VCFG_MSG_DHCPC_OPTION, "VCFG_MSG_DHCPC_OPTION", kDhcpcOption, Payload::Required, dhcpc},
    {VCFG_MSG_DHCPC_BOUND, "VCFG_MSG_DHCPC_BOUND", kDhcpcOption, Payload::Required, dhcpc},
    {VCFG_MSG_DHCP6C, "VCFG_MSG_DHCP6C", kSilent, Payload::Required,
        [](const Message& m) { processDhcp6cMsg(m.payload); }},
    {VCFG_MSG_RA_INFO, "VCFG_MSG_RA_INFO", kSilent, Payload::Required,
        [](const Message& m) { processRaInfo(m.payload); }},
    {VCFG_MSG_MGMT_NAT_DETECT, "VCFG_MSG_MGMT_NAT_DETECT",
        debugLine("receiving VCFG_MSG_MGMT_NAT_DETECT"), Payload::Required,
        [](const Message& m) { mgmtNatDetect(m.payload); }},
    {VCFG_MSG_MGMT_NAT_CLEAR, "VCFG_MSG_MGMT_NAT_CLEAR",
        debugLine("receiving VCFG_MSG_MGMT_NAT_CLEAR"), Payload::Optional,
        [](const Message&) { mgmtNatClear(); }},
    {VCFG_MSG_NSLOOKUP_MSG, "VCFG_MSG_NSLOOKUP_MSG", debugLine("receiving VCFG_MSG_NSLOOKUP_MSG"), Payload::Required,
        [](const Message& m) { tarnProcessNslookupMsg(m.payload); }},
    {VCFG_MSG_ATM_OAM_F5_COMPLETE, "VCFG_MSG_ATM_OAM_COMPLETE (F5)", debugLine("receiving VCFG_MSG_ATM_OAM_COMPLETE"),
        Payload::Required,
        [](const Message& m) { tarnProcessAtmF5LoMsg(m.payload); }},
    {VCFG_MSG_ATM_OAM_F4_COMPLETE, "VCFG_MSG_ATM_OAM_COMPLETE (F4)", debugLine("receiving VCFG_MSG_ATM_OAM_COMPLETE"),
        Payload::Required,
        [](const Message& m) { tarnProcessAtmF4LoMsg(m.payload); }},
    {VCFG_MSG_NTP_SYNC_SUCCESS, "VCFG_MSG_NTP_SYNC_SUCCESS",
        infoLine("receiving VCFG_MSG_NTP_SYNC_SUCCESS buf \"%s\"\n"), Payload::Optional, ntpSyncSuccess},
    {VCFG_MSG_INIT_DATAMODEL_FIN, "VCFG_MSG_INIT_DATAMODEL_FIN", kSilent, Payload::Optional,
        [](const Message&) { startupCompleted(); }},
    {VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT, "VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT",
        debugLine("receiving VCFG_MSG_DOWNLOAD_DIAG_COMPLETE_EVENT"), Payload::Required,
        [](const Message& m) { tarnDlDiagComplete(m.payload); }},
    {VCFG_MSG_TR64_LAN_DEVICE_UPDATE, "VCFG_MSG_TR64_LAN_DEVICE_UPDATE",
        infoLine("receiving VCFG_MSG_TR64_LAN_DEVICE_UPDATE\n"), Payload::Optional,
        [](const Message&) { tr64LanDeviceUpdate(); }},
    {VCFG_MSG_DHCPC_RENEWED, "VCFG_MSG_DHCPC_RENEWED", kDhcpcOption, Payload::Required, dhcpc},
    {VCFG_MSG_AUTO_HUNT_FINISHED, "VCFG_MSG_AUTO_HUNT_FINISHED", kSilent, Payload::Optional,
        [](const Message&) { initialiseLinks(true); }},
    {VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT, "VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT",
        infoLine("receiving VCFG_MSG_UPLOAD_DIAG_COMPLETE_EVENT\n"), Payload::Optional,
        [](const Message& m) { tarnUlDiagComplete(m.payload); }},
    {VCFG_MSG_DHCPD_OPTION, "VCFG_MSG_DHCPD_OPTION", debugLine("receiving VCFG_MSG_DHCPD_OPTION"), Payload::Required,
        [](const Message& m) { tarnProcessDhcpdOption(m.payload); }},
    {VCFG_MSG_PINGSVRS_RST, "VCFG_MSG_PINGSVRS_RST", debugLine("receiving VCFG_MSG_PINGSVRS_RST"), Payload::Required,
        [](const Message& m) { tarnProcessPingSvrsMsg(m.payload); }},
    {VCFG_MSG_MAIL_SEND_EVENT, "VCFG_MSG_MAIL_SEND_EVENT", infoLine("receving VCFG_MSG_MAIL_SEND_EVENT\n"),
        Payload::Optional, [](const Message& m) { emailEventHandle(m.payload, m.srcEid, m.requestId); }},
    {VCFG_MSG_PPPD, "VCFG_MSG_PPPD", kSilent, Payload::Required, [](const Message& m) { processPppdMsg(m.payload); }},
    {VCFG_MSG_LAN_MAC_CONTROL_EVENT, "VCFG_MSG_LAN_MAC_CONTROL_EVENT",
        debugLine("receiving VCFG_MSG_LAN_MAC_CONTROL_EVENT"),
        Payload::Optional, [](const Message&) {}},  // acknowledged in the log only
    {VCFG_MSG_INIT_WAN_LINK_INFO, "VCFG_MSG_INIT_WAN_LINK_INFO", kSilent, Payload::Optional,
        [](const Message&) { initialiseLinks(false); }},
    {VCFG_MSG_PING_MSG, "VCFG_MSG_PING_MSG", debugLine("receiving VCFG_MSG_PING_MSG"), Payload::Required,
        [](const Message& m) { tarnProcessPingMsg(m.payload); }},
    {VCFG_MSG_TRACERT_MSG, "VCFG_MSG_TRACERT_MSG", debugLine("receiving VCFG_MSG_TRACERT_MSG"), Payload::Required,
        [](const Message& m) { tarnProcessTracertMsg(m.payload); }},
    {VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "VCFG_MSG_FAKEROOT_VOCLI_COMMAND",
        infoLine("receiving VCFG_MSG_FAKEROOT_VOCLI_COMMAND buf \"%s\"\n"), Payload::Optional,
        [](const Message& m) { runFakerootVocliCommand(m.payload); }},
    {VCFG_MSG_OPTICAL_LINK_STATUS, "VCFG_MSG_OPTICAL_LINK_STATUS", kSilent, Payload::Optional,
        [](const Message& m) { updateOpticalLinkStatus(m.payload); }},
    {VCFG_MSG_DHCPC_RESTART, "VCFG_MSG_DHCPC_RESTART", kSilent, Payload::Optional,
        [](const Message&) { restartDhcpc(); }},
    // Ready and lost are announced in the mail event's words, which the platform's log readers know them by.
    {VCFG_MSG_WAN_CONNECTION_READY, "VCFG_MSG_WAN_CONNECTION_READY",
        infoLine("receving VCFG_MSG_MAIL_SEND_EVENT\n"), Payload::Optional,
        [](const Message& m) { wanConnctionReadyHandle(m.payload, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_CONNECTION_LOST, "VCFG_MSG_WAN_CONNECTION_LOST",
        debugLine("receving VCFG_MSG_MAIL_SEND_EVENT"), Payload::Optional,
        [](const Message& m) { wanConnctionLostHandle(m.payload, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_LINK, "VCFG_MSG_WAN_LINK", debugLine("receiving VCFG_MSG_WAN_LINK"), Payload::Optional,
        [](const Message&) { updateWanLinkStatus(nullptr, false); }},
    {VCFG_MSG_WAN_PPP_DISCONNECTED, "VCFG_MSG_WAN_PPP_DISCONNECTED",
        infoLine("receiving VCFG_MSG_WAN_PPP_DISCONNECTED \"%s\"\n"), Payload::Optional,
        [](const Message& m) { tarnWanPppConnected(*m.objIid, 0, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_PPP_CONNECTING, "VCFG_MSG_WAN_PPP_CONNECTING",
        infoLine("receiving VCFG_MSG_WAN_PPP_CONNECTING \"%s\"\n"), Payload::Optional,
        [](const Message& m) { tarnWanPppConnected(*m.objIid, 1, m.srcEid, m.requestId); }},
    {VCFG_MSG_WAN_INTERNET_LED_UPDATE, "VCFG_MSG_WAN_INTERNET_LED_UPDATE",
        infoLine("receving VCFG_MSG_WAN_INTERNET_LED_UPDATE\n"), Payload::Optional,
        [](const Message&) { wanInternetLEDUpdate(); }},
    {VCFG_MSG_WIFI_LED_ENABLE, "VCFG_MSG_WIFI_LED_ENABLE",
        infoLine("receiving VCFG_MSG_WIFI_LED_ENABLE\n"), Payload::Optional,
        [](const Message&) { voEnableWifiLED(); }},
    {VCFG_MSG_WPS_POLL, "VCFG_MSG_WPS_POLL", kSilent, Payload::Optional, wps},
    {VCFG_MSG_WPS_START, "VCFG_MSG_WPS_START", kSilent, Payload::Optional, wps},
    {VCFG_MSG_WPS_STOP, "VCFG_MSG_WPS_STOP", kSilent, Payload::Optional, wps},
    {VCFG_MSG_SYSTEM_LOG_START, "VCFG_MSG_SYSTEM_LOG_START", kSilent, Payload::Optional,
        [](const Message&) { SystemLogThreadHandle(1); }},
    {VCFG_MSG_SYSTEM_LOG_STOP, "VCFG_MSG_SYSTEM_LOG_STOP", kSilent, Payload::Optional,
        [](const Message&) { SystemLogThreadHandle(0); }},
    // clang-format on
};

const Row* rowOf(uint32_t type) {
    for (const Row& row : kRows) {
        if (row.type == type) {
            return &row;
        }
    }
    return nullptr;
}

void announce(const Announcement& line, const char* payload) {
    std::string text = line.format;
    if (const size_t place = text.find("%s"); place != std::string::npos) {
        text.replace(place, 2, payload != nullptr ? payload : "(null)");
    }
    switch (line.channel) {
        case Channel::None:
            break;
        case Channel::VlogDebug:
            VLOG(VLOG_DEBUG, "%s", text.c_str());
            break;
        case Channel::SyslogInfo:
            logs::system(LOG_INFO, "%s", text.c_str());
            break;
    }
}

void dispatch(const Message& message) {
    const Row* const row = rowOf(message.type);
    if (row == nullptr) {
        VLOG(VLOG_ERROR, "unknown msg type %d is received from EID %u", static_cast<int>(message.type), message.srcEid);
        return;
    }
    handleEvent(row->name, [&] {
        announce(row->announcement, message.payload);
        const bool missing = row->payload == Payload::Required && message.payload == nullptr;
        if (!missing) {
            row->handle(message);
        }
    });
}

}  // namespace

std::atomic<bool> ntpSyncNoticeSent{false};

void processRequest() {
    vcfg_msg_t* received = nullptr;
    if (vcfg_msg_serverRecv(&received, 0) != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to receive message");
        return;
    }
    const MessagePtr msg(received);
    if (msg == nullptr) {
        VLOG(VLOG_DEBUG, "Free NULL pointer");
        return;
    }
    if (voUtilHandleRecvdMsgDebugCfg(msg.get()) == 0) {
        return;
    }
    const uint32_t number = msg->type & kTypeNumber;
    const char* const reply = (msg->type & VCFG_MSG_NO_REPLY) != 0 ? "without" : "with";
    VLOG(VLOG_DEBUG, "process msg type = %u %s reply, oid = %u, from EID = %u", number, reply, msg->oid, msg->srcEid);

    const uint32_t start = vos_mtime_get();
    const char* const text = vcfg_msg_text(msg.get());
    dispatch({msg->type, msg->srcEid, msg->requestId, &msg->objIid, msg->length != 0 ? text : nullptr,
              std::string_view(text, msg->length)});
    const uint32_t elapsed = vos_mtime_get() - start;
    if (elapsed >= kSlowMs) {
        VLOG(VLOG_WARNING, "process msg type = %u %s reply, oid = %u, from EID = %u by %u ms", number, reply, msg->oid,
             msg->srcEid, elapsed);
    }
}
