#include "core/mail_event.h"

#include "core/json.h"
#include "unit/wan_fixture.h"

namespace {

constexpr const char* kStatus = "/var/log/emailNotify";
constexpr const char* kNoFile = "]: fail to create file!";

class MailEventTest : public testing::Test {
  protected:
    MailEventTest() {
        event(1, "MAILSEND_EVENT_OTHER", "root@gw.example");
        event(2, "MAILSEND_EVENT_3G_DOWN", "gw@isp.example");
        account(1, "root@gw.example", "mail.gw.example");
        account(2, "gw@isp.example", "mail.isp.example");
        gw.forget();
    }
    void event(unsigned n, const std::string& name, const std::string& from) {
        const std::string path = "X_VORAN_MailEvent." + std::to_string(n) + ".";
        gw.set(path + "Enable", "true");
        gw.set(path + "Event", name);
        gw.set(path + "MailTo", "user@home.example");
        gw.set(path + "Subject", "Gateway");
        gw.set(path + "Body", "Something happened.");
        gw.set(path + "MailFrom", from);
    }
    void account(unsigned n, const std::string& from, const std::string& server) {
        const std::string path = "X_VORAN_MailAccount." + std::to_string(n) + ".";
        gw.set(path + "Enable", "true");
        gw.set(path + "MailFrom", from);
        gw.set(path + "Server", server);
        gw.set(path + "Port", "587");
        gw.set(path + "UserName", "gateway");
        gw.set(path + "Password", "p\"w'\\");
        gw.set(path + "Security", "STARTTLS");
    }
    void raise(const std::string& payload) { emailEventHandle(payload.c_str(), VCFG_EID_VHTTPD, 77); }
    void raiseOther() { raise(R"({"Event":"MAILSEND_EVENT_OTHER"})"); }
    void raiseDown() { raise(R"({"Event":"MAILSEND_EVENT_3G_DOWN"})"); }
    // The one mail that was handed to the sender.
    Json mail() {
        const auto mails = gw.mails();
        EXPECT_EQ(mails.size(), 1u);
        return Json::parse(mails.empty() ? "{}" : mails.front().c_str());
    }
    std::string status() { return gw.fileContent(kStatus).value_or("none"); }
    WanGateway gw;
};

class MailSent : public MailEventTest {};
class MailBackupDown : public MailEventTest {};
class MailNotSent : public MailEventTest {};
class MailBadInput : public MailEventTest {};

TEST_F(MailSent, RequestNamesAccountAndEvent) {
    raiseOther();
    const Json request = mail();
    EXPECT_EQ(request.text("SMTP"), "mail.gw.example");
    EXPECT_EQ(request.integer("port"), 587);
    EXPECT_EQ(request.text("mailfrom"), "root@gw.example");
    EXPECT_EQ(request.text("mailto"), "user@home.example");
    EXPECT_EQ(request.text("user"), "gateway");
    EXPECT_EQ(request.text("pass"), "p\"w'\\");
    EXPECT_EQ(request.text("security"), "STARTTLS");
    EXPECT_EQ(request.text("subject"), "Gateway");
    EXPECT_EQ(request.text("body"), "Something happened.");
}

TEST_F(MailSent, RequestKeepsTheOtherKeysOfThePayload) {
    raise(R"({"Event":"MAILSEND_EVENT_OTHER","when":"now","list":[1,2]})");
    EXPECT_EQ(mail().text("Event"), "MAILSEND_EVENT_OTHER");
    EXPECT_EQ(mail().text("when"), "now");
    EXPECT_NE(gw.mails().front().find("\"list\":[1,2]"), std::string::npos);
}

TEST_F(MailSent, SuccessLeavesZeroAndSaysSo) {
    raiseOther();
    EXPECT_EQ(status(), "0");
    EXPECT_TRUE(gw.logged("stdout", "[tarn : emailEventHandle]Mail sent success!"));
}

TEST_F(MailSent, FailureLeavesAnEmptyFile) {
    gw.mailResult(-5);
    raiseOther();
    EXPECT_EQ(status(), "");
    EXPECT_FALSE(gw.loggedContaining("success"));
}

TEST_F(MailSent, EntersAndLeaves) {
    raiseOther();
    EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Enter"));
    EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Leaving"));
}

TEST_F(MailSent, FileThatCannotBeMadeIsNamedTwiceAndTheMailGoesOut) {
    gw.unwritable(kStatus);
    raiseOther();
    int lines = 0;
    for (const LogLine& line : gw.log()) {
        lines += line.text.rfind("[tarn : emailEventHandle][", 0) == 0 && line.text.find(kNoFile) != std::string::npos
                     ? 1
                     : 0;
    }
    EXPECT_EQ(lines, 2);
    EXPECT_EQ(gw.mails().size(), 1u);
}

TEST_F(MailSent, FileThatFindsNoRoomOnTheDiskIsNoFileThatCannotBeMade) {
    gw.fullDisk(kStatus);
    raiseOther();
    EXPECT_FALSE(gw.loggedContaining(kNoFile));
    EXPECT_EQ(gw.mails().size(), 1u);
}

TEST_F(MailSent, RecordThatIsMissingIsSaidInTheDaemonsOwnName) {
    inproc::nullRecord("X_VORAN_MailEvent.{i}");
    raiseOther();
    EXPECT_TRUE(gw.logged("vlog", 7, "Free NULL pointer"));
}

TEST_F(MailSent, OtherEventsKeepTheirBody) {
    raiseOther();
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(MailSent, SenderGetsNoReply) {
    gw.receive(VCFG_MSG_MAIL_SEND_EVENT, R"({"Event":"MAILSEND_EVENT_OTHER"})");
    EXPECT_EQ(gw.mails().size(), 1u);
    EXPECT_NO_REPLY(gw);
}

TEST_F(MailBackupDown, NamesEthernetWhenItIsUp) {
    gw.set("Ethernet.Link.1.Status", "Up");
    gw.set("Ethernet.Link.1.LowerLayers", "Ethernet.Interface.5");
    raiseDown();
    EXPECT_EQ(mail().text("body"), "EtherWAN is up, 3G backup is down now.");
    EXPECT_EQ(gw.get("X_VORAN_MailEvent.2.Body"), "EtherWAN is up, 3G backup is down now.");
}

TEST_F(MailBackupDown, NamesDslOtherwise) {
    gw.set("Ethernet.Link.1.Status", "Down");
    gw.set("Ethernet.Link.1.LowerLayers", "Ethernet.Interface.5");
    gw.set("Ethernet.Link.2.Status", "Up");
    gw.set("Ethernet.Link.2.LowerLayers", "PTM.Link.1");
    gw.forget();
    raiseDown();
    EXPECT_EQ(mail().text("body"), "xDSL is up, 3G backup is down now.");
    EXPECT_EQ(gw.writes(), Commands{"set X_VORAN_MailEvent.2"});
}

TEST_F(MailBackupDown, StoresTheBodyEvenWhenTheEventIsDisabled) {
    gw.set("X_VORAN_MailEvent.2.Enable", "false");
    raiseDown();
    EXPECT_EQ(gw.get("X_VORAN_MailEvent.2.Body"), "xDSL is up, 3G backup is down now.");
    EXPECT_TRUE(gw.mails().empty());
}

TEST_F(MailBackupDown, BodyThatCannotBeStoredIsLoggedAndSentAllTheSame) {
    gw.refuseWrite(inproc::Operation::Set, "X_VORAN_MailEvent.{i}");
    raiseDown();
    EXPECT_TRUE(gw.logged("syslog", 3, "Set EmailBody fail when MAILSEND_EVENT_3G_DOWN"));
    EXPECT_EQ(mail().text("body"), "xDSL is up, 3G backup is down now.");
}

TEST_F(MailNotSent, UnknownEventLeavesMinusFive) {
    raise(R"({"Event":"MAILSEND_EVENT_NOBODY_KNOWS"})");
    EXPECT_EQ(status(), "-5");
    EXPECT_TRUE(gw.mails().empty());
    EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Leaving"));
}

TEST_F(MailNotSent, DisabledEventLeavesMinusFiveAndSaysSo) {
    gw.set("X_VORAN_MailEvent.1.Enable", "false");
    raiseOther();
    EXPECT_EQ(status(), "-5");
    EXPECT_TRUE(gw.logged("stdout", "emailEventHandle: Event MAILSEND_EVENT_OTHER doesn't enable"));
    EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Leaving"));
}

TEST_F(MailNotSent, MissingAccountLeavesMinusFive) {
    gw.set("X_VORAN_MailEvent.1.MailFrom", "nobody@gw.example");
    raiseOther();
    EXPECT_EQ(status(), "-5");
    EXPECT_TRUE(gw.mails().empty());
}

TEST_F(MailNotSent, DisabledAccountLeavesMinusFiveAndNamesItsServer) {
    gw.set("X_VORAN_MailAccount.1.Enable", "false");
    raiseOther();
    EXPECT_EQ(status(), "-5");
    EXPECT_TRUE(gw.logged("stdout", "Service mail.gw.example doesn't enable"));
    EXPECT_TRUE(gw.mails().empty());
}

TEST_F(MailBadInput, IsAnEventWithoutName) {
    event(3, "", "root@gw.example");
    for (const std::string payload : {"", "no json", "{}", R"({"Event":null})", R"({"Event":""})", R"({"Event":[1]})",
                                      "[]", R"({"Event":{"a":1}})"}) {
        gw.forget();
        raise(payload);
        EXPECT_TRUE(gw.mails().empty()) << payload;
        EXPECT_EQ(status(), "-5") << payload;
        EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Leaving")) << payload;
    }
}

TEST_F(MailBadInput, MissingPayloadIsAnEventWithoutName) {
    emailEventHandle(nullptr, VCFG_EID_VHTTPD, 77);
    EXPECT_EQ(status(), "-5");
    EXPECT_TRUE(gw.logged("syslog", 6, "emailEventHandle : Leaving"));
}

}  // namespace
