#include "unit/costs.h"

namespace {

std::string message(uint16_t type, const std::string& text) {
    const size_t length = 16 + (text.empty() ? 0 : text.size() + 1);
    std::string bytes(16, '\0');
    bytes[0] = static_cast<char>(length);
    bytes[4] = static_cast<char>(type & 0xFF);
    bytes[5] = static_cast<char>(type >> 8);
    return text.empty() ? bytes : bytes + text + '\0';
}
void linkEvent(WanGateway& gw, const std::string& text) {
    gw.kernelDatagram(message(0x2000, text));
}

// One link of each kind, all down; one IP interface, which is up and without an address.
void links(WanGateway& gw) {
    gw.dslLine(1, "NoSignal");
    gw.usbPort(1, "Down");
    gw.opticalPort(1, "Down");
    gw.ethernetPort(1, "eth0.5", "Down");
    set(gw, "IP.Interface.1.",
        {{"Enable", "true"}, {"IPv4Enable", "true"}, {"X_VORAN_WAN", "true"}, {"X_VORAN_IfName", "eth0.5"}});
    gw.set("IP.Interface.1.Status", "Up");
    gw.add("Routing.Router.1");
    gw.settled();
}
void ethernetIsUp(WanGateway& gw) {
    links(gw);
    linkEvent(gw, "eth0.5:up:1000:F");
    gw.runThreads();
}
void lanPort(WanGateway& gw) {
    links(gw);
    set(gw, "Ethernet.Interface.2.", {{"Name", "eth0.2"}, {"Status", "Up"}});
    gw.set("Bridging.Bridge.1.Port.1.X_VORAN_IfName", "eth0.2");
    set(gw, "Bridging.Filter.1.", {{"Interface", "Bridging.Bridge.1.Port.1"}, {"Bridge", "Bridging.Bridge.2"}});
    gw.set("Bridging.Filter.1.X_VORAN_PreviousBridge", "Bridging.Bridge.1");
}
void lineComesUp(WanGateway& gw) {
    links(gw);
    set(gw, "DSL.Channel.1.", {{"LowerLayers", "DSL.Line.1"}, {"LinkEncapsulationUsed", "G.992.3_Annex_K_PTM"}});
    gw.dslLine(1, "Up");
}
void lineGoesDown(WanGateway& gw) {
    lineComesUp(gw);
    linkEvent(gw, "ptm0:up");
    gw.runThreads();
    gw.dslLine(1, "NoSignal");
}
void lineUpWithoutTable(WanGateway& gw) {
    gw.dslLine(1, "Up");
}
void usbComesUp(WanGateway& gw) {
    links(gw);
    gw.usbPort(1, "Up");
}
void service(WanGateway& gw, bool up) {
    gw.receive(VCFG_MSG_OPTICAL_LINK_STATUS, up ? R"({"serviceStatus":true})" : R"({"serviceStatus":false})");
}
void opticalIsUp(WanGateway& gw) {
    links(gw);
    service(gw, true);
    gw.runThreads();
}

void backup(WanGateway& gw) {
    set(gw, "X_VORAN_WWANBackup.", {{"Enable", "1"}, {"Status", "Up"}, {"Interface", "IP.Interface.5"}});
    set(gw, "X_VORAN_MailEvent.1.",
        {{"Enable", "true"}, {"Event", "MAILSEND_EVENT_3G_UP"}, {"MailFrom", "root@gw.example"}});
    set(gw, "X_VORAN_MailAccount.1.", {{"Enable", "true"}, {"MailFrom", "root@gw.example"}});
}
void noBackup(WanGateway& gw) {
    gw.set("X_VORAN_WWANBackup.Enable", "0");
}

void dualStackPpp(WanGateway& gw) {
    links(gw);
    wan.wanLinkDown = 0;
    set(gw, "IP.Interface.2.", {{"Enable", "true"}, {"IPv4Enable", "true"}, {"IPv6Enable", "true"}});
    set(gw, "IP.Interface.2.", {{"X_VORAN_WAN", "true"}, {"X_VORAN_IfName", "ppp0"}, {"Status", "LowerLayerDown"}});
    gw.set("IP.Interface.2.LowerLayers", "PPP.Interface.1");
    set(gw, "PPP.Interface.1.", {{"Enable", "true"}, {"X_VORAN_IfName", "ppp0"}, {"ConnectionStatus", "Connecting"}});
    gw.set("Routing.Router.1.X_VORAN_IPv6DefaultInterfaces", "IP.Interface.2");
}

}  // namespace

CostCases linkCosts() {
    return {
        {0, "kernel: Ethernet WAN up", links, [](WanGateway& gw) { linkEvent(gw, "eth0.5:up:1000:F"); }},
        {0, "kernel: Ethernet WAN down", ethernetIsUp, [](WanGateway& gw) { linkEvent(gw, "eth0.5:down:0:H"); }},
        {0, "kernel: LAN port up", lanPort, [](WanGateway& gw) { linkEvent(gw, "eth0.2:up:1000:F"); }},
        {0, "kernel: LAN port down, its group undone", lanPort,
         [](WanGateway& gw) { linkEvent(gw, "eth0.2:down:0:H"); }},
        {0, "kernel: PTM line up", lineComesUp, [](WanGateway& gw) { linkEvent(gw, "ptm0:up"); }},
        {0, "kernel: PTM line down", lineGoesDown, [](WanGateway& gw) { linkEvent(gw, "ptm0:down"); }},
        {0, "kernel: event without text, a USB link came up", usbComesUp,
         [](WanGateway& gw) { gw.kernelDatagram(message(0x1000, "")); }},
        {0, "kernel: event before the links are known, DSL line up", lineUpWithoutTable,
         [](WanGateway& gw) { linkEvent(gw, "ptm0:up"); }},
        {0, "kernel: platform event", links, [](WanGateway& gw) { gw.kernelDatagram(message(0x4000, "x")); }},
        {VCFG_MSG_WAN_LINK, "links looked at, nothing changed", links,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_LINK); }},
        {VCFG_MSG_OPTICAL_LINK_STATUS, "optical service up", links, [](WanGateway& gw) { service(gw, true); }},
        {VCFG_MSG_OPTICAL_LINK_STATUS, "optical service still up", opticalIsUp,
         [](WanGateway& gw) { service(gw, true); }},
        {VCFG_MSG_OPTICAL_LINK_STATUS, "optical service down", opticalIsUp, [](WanGateway& gw) { service(gw, false); }},
        {VCFG_MSG_WAN_CONNECTION_READY, "connection ready, the backup's", backup,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WAN_CONNECTION_READY, "IP.Interface.5"); }},
        {VCFG_MSG_WAN_CONNECTION_LOST, "connection lost, no backup", noBackup,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_WAN_CONNECTION_LOST, "IP.Interface.5"); }},
        {VCFG_MSG_WAN_INTERNET_LED_UPDATE, "LED update: a PPP interface of both families being attempted", dualStackPpp,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WAN_INTERNET_LED_UPDATE); }},
        {VCFG_MSG_WIFI_LED_ENABLE, "wireless LED", links,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_WIFI_LED_ENABLE); }},
    };
}
