#include "core/timer.h"
#include "core/timer_tasks.h"
#include "core/timer_thread.h"
#include "unit/costs.h"

namespace {

void nothing(WanGateway&) {}

void mailService(WanGateway& gw) {
    set(gw, "Ethernet.Link.1.", {{"Status", "Up"}, {"LowerLayers", "Ethernet.Interface.1"}});
    set(gw, "X_VORAN_MailEvent.1.",
        {{"Enable", "true"}, {"Event", "MAILSEND_EVENT_3G_DOWN"}, {"MailFrom", "root@gw.example"}});
    set(gw, "X_VORAN_MailAccount.1.", {{"Enable", "true"}, {"MailFrom", "root@gw.example"}});
}

void systemDebug(WanGateway& gw) {
    set(gw, "X_VORAN_SystemDebug.", {{"Server", "192.0.2.21"}, {"Interval", "5"}});
    gw.file("/tmp/systemDebug.sh", "#!/bin/sh\n");
    wan.wanInternetUp = 1;
}

void systemLogRuns(WanGateway& gw) {
    systemDebug(gw);
    gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START);
    gw.duringPause(2, [&gw] { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_STOP); });
}

// One link of each kind, none up; one LAN and one WAN interface.
void hardware(WanGateway& gw) {
    gw.dslLine(1, "NoSignal");
    gw.usbPort(1, "Down");
    gw.opticalPort(1, "Down");
    gw.ethernetPort(1, "eth0.5", "Down");
    gw.set("UPnP.Device.Enable", "true");
}

void startedUp(WanGateway& gw) {
    hardware(gw);
    gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN);
}

void timerTaskIsDue(WanGateway&) {
    Timer timer;
    handleTimerRequest(timer, R"({"tmApplyObj":{"Name":"poll","exprTime":1,"msg_type":1}})", 0);
    for (const TimerTask& task : tick(timer, 1000)) {
        tmApplyObjSendMsg(task);
    }
}

}  // namespace

CostCases coreCosts() {
    return {
        {VCFG_MSG_VOSH_COMMAND, "vosh command", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_VOSH_COMMAND, "x"); }},
        {VCFG_MSG_FAKEROOT_SYS_COMMAND, "checksum of the configuration file", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_FAKEROOT_SYS_COMMAND, "x"); }},
        {VCFG_MSG_FAKEROOT_SHELL_COMMAND, "shell command", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_FAKEROOT_SHELL_COMMAND, "true"); }},
        {VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "VOCLI command", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_FAKEROOT_VOCLI_COMMAND, "show version"); }},
        {VCFG_MSG_NTP_SYNC_SUCCESS, "clock synchronised, the first time ever", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, "2026-01-02T00:00:00Z"); }},
        {VCFG_MSG_NTP_SYNC_SUCCESS, "clock synchronised again",
         [](WanGateway& gw) { gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, "2026-01-02T00:00:00Z"); },
         [](WanGateway& gw) { gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, "2026-01-03T00:00:00Z"); }},
        {VCFG_MSG_MAIL_SEND_EVENT, "mail event: backup down", mailService,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_MAIL_SEND_EVENT, R"({"Event":"MAILSEND_EVENT_3G_DOWN"})"); }},
        {VCFG_MSG_LAN_MAC_CONTROL_EVENT, "LAN MAC control", nothing,
         [](WanGateway& gw) { gw.receive(VCFG_MSG_LAN_MAC_CONTROL_EVENT, "x"); }},
        {VCFG_MSG_SYSTEM_LOG_START, "system log starts", systemDebug,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START); }},
        {VCFG_MSG_SYSTEM_LOG_STOP, "system log stops", systemLogRuns,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_SYSTEM_LOG_STOP); }},
        {0, "system log thread: its settings and one period", systemLogRuns, [](WanGateway& gw) { gw.runThreads(); }},
        {VCFG_MSG_INIT_DATAMODEL_FIN, "start-up completed: one link of each kind, all down", hardware,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN); }},
        {VCFG_MSG_AUTO_HUNT_FINISHED, "auto-hunt finished: one link of each kind, all down", startedUp,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_AUTO_HUNT_FINISHED); }},
        {VCFG_MSG_INIT_WAN_LINK_INFO, "links set up anew: one link of each kind, all down", startedUp,
         [](WanGateway& gw) { gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO); }},
        {0, "timer task is due", nothing, timerTaskIsDue},
    };
}
