#include "core/mail_event.h"

#include <vcfg/os.h>

#include <string>

#include "core/json.h"
#include "core/log.h"
#include "core/os.h"
#include "core/record.h"

namespace {

constexpr const char* kStatusFile = "/var/log/emailNotify";
constexpr const char* kBackupDown = "MAILSEND_EVENT_3G_DOWN";
constexpr const char* kHandler = "emailEventHandle";
constexpr const char* kModule = "tarn";

void leaveStatus(const char* status, int line) {
    if (!os::writeFile(kStatusFile, status)) {
        logs::print("[%s : %s][%d]: fail to create file!", kModule, kHandler, line);
    }
}

bool wanIsOnEthernet() {
    return static_cast<bool>(findInstance<EthernetLink>([](const EthernetLink& link) {
        return link.Status == "Up" && link.LowerLayers.contains(path::kEthernetInterface);
    }));
}

void sayWhatTookOver(Record<MailEvent>& event, bool ethernet) {
    event->Body = ethernet ? "EtherWAN is up, 3G backup is down now." : "xDSL is up, 3G backup is down now.";
    if (event.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "Set EmailBody fail when MAILSEND_EVENT_3G_DOWN\n");
    }
}

void addMail(Json& request, const MailAccount& account, const MailEvent& event) {
    request.set("SMTP", account.Server.view());
    request.set("port", account.Port);
    request.set("mailfrom", account.MailFrom.view());
    request.set("mailto", event.MailTo.view());
    request.set("user", account.UserName.view());
    request.set("pass", account.Password.view());
    request.set("security", account.Security.view());
    request.set("subject", event.Subject.view());
    request.set("body", event.Body.view());
}

void send(Json& request, const MailAccount& account, const MailEvent& event) {
    addMail(request, account, event);
    const bool sent = voUtilMailSend(request.toText().c_str()) == 0;
    if (sent) {
        logs::print("[%s : %s]Mail sent success!\n", kModule, kHandler);
    }
    leaveStatus(sent ? "0" : "", __LINE__);
}

void sendThroughAccount(Json& request, const MailEvent& event) {
    const auto account = findInstance<MailAccount>(
        [&](const MailAccount& candidate) { return candidate.MailFrom == event.MailFrom.view(); });
    if (!account) {
        return;
    }
    if (!account->Enable) {
        logs::print("Service %s doesn't enable\n", account->Server.c_str());
        return;
    }
    send(request, *account, event);
}

void handleEvent(Json& request) {
    const std::string name = request.textOr("Event", "");
    const bool ethernet = wanIsOnEthernet();
    if (name.empty()) {
        return;
    }
    auto event = findInstance<MailEvent>([&](const MailEvent& candidate) { return candidate.Event == name; });
    if (!event) {
        return;
    }
    if (name == kBackupDown) {
        sayWhatTookOver(event, ethernet);
    }
    if (!event->Enable) {
        logs::print("%s: Event %s doesn't enable\n", kHandler, name.c_str());
        return;
    }
    sendThroughAccount(request, *event);
}

}  // namespace

void emailEventHandle(const char* payload, uint8_t, uint32_t) {
    logs::system(LOG_INFO, "%s : Enter\n", kHandler);
    leaveStatus("-5", __LINE__);
    Json request = Json::parse(payload);
    handleEvent(request);
    logs::system(LOG_INFO, "%s : Leaving\n", kHandler);
}
