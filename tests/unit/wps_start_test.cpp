// Requests to begin a setup.
#include <endian.h>

#include "core/path.h"
#include "unit/wps_fixture.h"

namespace {

class WpsStart : public testing::Test {
  protected:
    WpsGateway gw;
};

TEST_F(WpsStart, PushButtonStopsWhatRunsThenStarts) {
    gw.start(gw.request(kWebServer));
    EXPECT_EQ(gw.asked(), (Lines{R"(4015 {"SSIDRef":1})", R"(4006 {"SSIDRef":1})"}));
    EXPECT_EQ(gw.timerRequests(), Lines{gw.kAdded});
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.told().empty());
}

TEST_F(WpsStart, MessagesAreEnvelopesThatWaitFiveSeconds) {
    gw.start(gw.request(kWebServer, R"("WPSActivationMethod":"PushButton","X_VORAN_IfName":"ra0")"));
    for (const SentMessage& message : gw.requests()) {
        EXPECT_EQ(message.srcEid, VCFG_EID_TARN);
        EXPECT_EQ(message.dstEid, VCFG_EID_WIRELESS);
        EXPECT_EQ(message.payload, std::string("{\"SSIDRef\":1}\0", 14));
        EXPECT_EQ(message.length, 14);
        EXPECT_EQ(message.patienceMs, 5000u);
        EXPECT_TRUE(message.awaited);
        EXPECT_EQ(message.bytes.substr(20, 18), std::string("ra0") + std::string(15, '\0'));
        EXPECT_EQ(message.bytes.substr(38, 10), std::string(10, '\0'));
    }
}

TEST_F(WpsStart, BothBandsRequesterHasItsOwnPushButtonWithoutInterface) {
    gw.start(gw.request(kBothBands, R"("WPSActivationMethod":"PushButton","X_VORAN_IfName":"ra0")"));
    EXPECT_EQ(gw.asked(), (Lines{R"(4015 {"SSIDRef":1})", R"(4005 {"SSIDRef":1})"}));
    EXPECT_EQ(gw.interfaces(), (Lines{"", ""}));
}

TEST_F(WpsStart, StationPinIsSent) {
    gw.start(gw.request(
        kTr069,
        R"("WPSActivationMethod":"StationPIN","X_VORAN_WPS_StationPin":"12345670","X_VORAN_WPS_DevicePin":"1")"));
    EXPECT_EQ(gw.asked().at(1), R"(4007 {"SSIDRef":1,"StationPin":"12345670"})");
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgSendWifidConfig: utilize StationPIN 12345670"));
    EXPECT_TRUE(gw.logged("stdout", "X_VORAN_WPS_StationPin: 12345670"));
    EXPECT_FALSE(gw.logged("stdout", "X_VORAN_WPS_DevicePin: 1"));
}

TEST_F(WpsStart, AccessPointsPinGoesUnderTheSameKey) {
    gw.start(gw.request(
        kTr069, R"("WPSActivationMethod":"ApPIN","X_VORAN_WPS_StationPin":"1","X_VORAN_WPS_DevicePin":"87654321")"));
    EXPECT_EQ(gw.asked().at(1), R"(4007 {"SSIDRef":1,"StationPin":"87654321"})");
    EXPECT_TRUE(gw.logged("stdout", "X_VORAN_WPS_DevicePin: 87654321"));
    EXPECT_FALSE(gw.loggedContaining("utilize StationPIN"));
    EXPECT_FALSE(gw.logged("stdout", "X_VORAN_WPS_StationPin: 1"));
}

TEST_F(WpsStart, MethodThatThereIsNotIsBusyAndSendsNoConfiguration) {
    for (const char* method :
         {R"("WPSActivationMethod":"Button")", R"("WPSActivationMethod":"pushbutton")", R"("x":1)"}) {
        gw.forget();
        gw.start(gw.request(kWebServer, method));
        EXPECT_EQ(gw.asked(), Lines{R"(4015 {"SSIDRef":1})"}) << method;
        EXPECT_EQ(gw.runningStatus(1), "DeviceBusy") << method;
        ASSERT_EQ(gw.told().size(), 1u) << method;
        EXPECT_STREQ(gw.told()[0].payload.c_str(), R"({"rst":-4,"msg_type":2147487676})") << method;
    }
}

TEST_F(WpsStart, StopsReplyIsDropped) {
    gw.wireless(4015, sendingFails());
    gw.start(gw.request(kWebServer));
    EXPECT_EQ(gw.asked().size(), 2u);
    EXPECT_TRUE(gw.isRunning());
}

TEST_F(WpsStart, OfAnotherApplicationDoesNothingWhenIdle) {
    for (const uint32_t other : {0u, 1u, 2u, 16u, kStranger}) {
        gw.start(gw.request(other));
        EXPECT_TRUE(gw.requests().empty()) << other;
        EXPECT_TRUE(gw.timerRequests().empty()) << other;
        EXPECT_TRUE(gw.writes().empty()) << other;
    }
    EXPECT_FALSE(gw.isRunning());
}

TEST_F(WpsStart, WithoutStartAppDoesNothing) {
    gw.start(R"({"WPSIndex":1,"WPSActivationMethod":"PushButton"})");
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(WpsStart, StartAppOfAnEarlierRequestIsForgotten) {
    gw.wireless(4006, says(5));
    gw.start(gw.request(kWebServer));
    gw.forget();
    gw.start(R"({"WPSIndex":1,"WPSActivationMethod":"PushButton","StartApp":0})");
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(WpsStart, WithoutDataUsesTheRecordAsItStands) {
    gw.wireless(4006, says(5));
    gw.start(gw.request(kTr069));
    gw.forget();
    gw.receiveEmpty(VCFG_MSG_WPS_START);
    EXPECT_EQ(gw.asked(), (Lines{R"(4015 {"SSIDRef":1})", R"(4006 {"SSIDRef":1})"}));
}

TEST_F(WpsStart, RefusalIsBusyAndLeavesTheSessionIdle) {
    gw.wireless(4006, says(2));
    gw.start(gw.request(kTr069));
    EXPECT_EQ(gw.writes(),
              Lines{R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"DeviceBusy","WPSRunning":false})"});
    EXPECT_EQ(gw.runs(1), "false");
    EXPECT_TRUE(gw.timerRequests().empty());
    EXPECT_FALSE(gw.isRunning());
}

TEST_F(WpsStart, WebServerHearsAFailedSendingAtOnce) {
    gw.wireless(4006, sendingFails(VCFG_ERR_TIMEOUT));
    gw.start(gw.request(kWebServer));
    ASSERT_EQ(gw.told().size(), 1u);
    const SentMessage outcome = gw.told()[0];
    EXPECT_EQ(outcome.payload, std::string("{\"rst\":-62,\"msg_type\":2147487676}\0", 34));
    std::string header(56, '\0');
    header.replace(0, 4, std::string("\xBF\x0F\0\x80", 4));
    header[8] = VCFG_EID_TARN;
    header[9] = VCFG_EID_VHTTPD;
    header[10] = 34;
    EXPECT_EQ(outcome.bytes.substr(0, VCFG_MSG_HEADER_SIZE), header);
    EXPECT_EQ(outcome.patienceMs, 5000u);
    EXPECT_FALSE(outcome.awaited);
    EXPECT_TRUE(gw.logged("vlog", 7, R"(replyMsgData: {"rst":-62,"msg_type":2147487676})"));
    EXPECT_TRUE(gw.logged("vlog", 7, "msg sent"));
}

TEST_F(WpsStart, WebServerHearsANegativeCodeAtOnceAndAnotherNot) {
    for (const uint32_t code : {0u, 1u, 2u, 0x7FFFFFFFu}) {
        gw.wireless(4006, says(code));
        gw.start(gw.request(kWebServer));
        EXPECT_TRUE(gw.told().empty()) << code;
    }
    for (const uint32_t code : {0x80000000u, static_cast<uint32_t>(-20), static_cast<uint32_t>(-1)}) {
        gw.forget();
        gw.wireless(4006, says(code, R"({"why":"busy"})"));
        gw.start(gw.request(kWebServer));
        ASSERT_EQ(gw.told().size(), 1u) << code;
        EXPECT_STREQ(gw.told()[0].payload.c_str(), R"({"why":"busy","rst":0,"msg_type":2147487676})");
        EXPECT_EQ(gw.told()[0].statCode, code);
    }
}

TEST_F(WpsStart, OthersThanTheWebServerHearNothing) {
    gw.wireless(4005, sendingFails());
    gw.wireless(4006, sendingFails());
    gw.start(gw.request(kTr069));
    gw.start(gw.request(kBothBands));
    EXPECT_TRUE(gw.told().empty());
}

TEST_F(WpsStart, OutcomeKeepsTheEnvelopeOfTheAnswer) {
    Answer answer = says(static_cast<uint32_t>(-3), R"({"rst":"old","a":1})");
    answer.header.oid = 7;
    answer.header.requestId = 0x01020304;
    answer.header.type = 4006;
    answer.header.srcEid = VCFG_EID_WIRELESS;
    answer.header.dstEid = VCFG_EID_TARN;
    answer.header.reserved[0] = 'r';
    answer.header.reserved[27] = 'x';
    answer.header.objIid = instanceId({3, 4});
    answer.header.spare = 9;
    gw.wireless(4006, answer);
    gw.start(gw.request(kWebServer));
    vcfg_msg_t expected = answer.header;
    expected.type = htole32(0x80000FBF);
    expected.oid = htole32(expected.oid);
    expected.requestId = htole32(expected.requestId);
    expected.srcEid = VCFG_EID_TARN;
    expected.dstEid = VCFG_EID_VHTTPD;
    expected.statCode = htole32(static_cast<uint32_t>(-3));
    const std::string text = R"({"rst":0,"a":1,"msg_type":2147487676})";
    expected.length = htole16(static_cast<uint16_t>(text.size() + 1));
    ASSERT_EQ(gw.told().size(), 1u);
    EXPECT_EQ(gw.told()[0].bytes.substr(0, VCFG_MSG_HEADER_SIZE),
              std::string(reinterpret_cast<const char*>(&expected), sizeof expected));
    EXPECT_EQ(gw.told()[0].payload, text + '\0');
}

TEST_F(WpsStart, WebServerThatIsNotThereIsLogged) {
    gw.endpointAnswers(VCFG_EID_VHTTPD, VCFG_ERR_NO_PEER);
    gw.wireless(4006, sendingFails());
    gw.start(gw.request(kWebServer));
    EXPECT_TRUE(gw.logged("vlog", 3, "the web server is not told: -111"));
    EXPECT_FALSE(gw.loggedContaining("msg sent"));
}

TEST_F(WpsStart, AnswersDataThatFitsNoMessageAnyMoreIsLogged) {
    gw.wireless(4006, says(static_cast<uint32_t>(-1), "{\"x\":\"" + std::string(65'520, 'x') + "\"}"));
    gw.start(gw.request(kWebServer));
    EXPECT_TRUE(gw.told().empty());
    EXPECT_TRUE(gw.loggedContaining("the web server cannot be told"));
}

TEST_F(WpsStart, PrintsWhatWasSentAndAnswered) {
    gw.wireless(4006, says(1, R"({"a":1})"));
    gw.start(gw.request(kWebServer, R"("WPSActivationMethod":"PushButton","X_VORAN_IfName":"ra0")"));
    for (const char* line :
         {"startApp: 15", "X_VORAN_IfName: ra0", "WPSActivationMethod: PushButton",
          "wpsMsgSendWifidStop: ifname ra0, send msg rst = 0", "wpsMsgSendWifidConfig: send msg rst = 0",
          "wpsParseReplyMsg: now status: 0", "wpsParseReplyMsg: rst: 0", "wpsParseReplyMsg: statCode: 1",
          "wpsParseReplyMsg: replyMsgData: {\"a\":1}"}) {
        EXPECT_TRUE(gw.logged("stdout", line)) << line;
    }
}

TEST_F(WpsStart, AgainStartsAnew) {
    gw.running(kTr069);
    gw.start(gw.request(kWebServer));
    EXPECT_EQ(gw.timerRequests(), (Lines{gw.kDeleted, gw.kAdded}));
    EXPECT_EQ(gw.asked(), (Lines{R"(4015 {"SSIDRef":1})", R"(4006 {"SSIDRef":1})"}));
}

TEST_F(WpsStart, AgainThatFailsLeavesTheSessionRunningWithoutTimer) {
    gw.running(kWebServer);
    gw.wireless(4006, says(static_cast<uint32_t>(-20)));
    gw.start(gw.request(kWebServer));
    EXPECT_EQ(gw.timerRequests(), Lines{gw.kDeleted});
    EXPECT_EQ(gw.runningStatus(1), "DeviceBusy");
    EXPECT_EQ(gw.told().size(), 1u);
    EXPECT_TRUE(gw.isRunning());
}

TEST_F(WpsStart, AgainOfAnotherApplicationTakesTheSessionOver) {
    gw.running(kWebServer);
    gw.polls(11);
    gw.forget();
    gw.start(gw.request(kStranger));
    EXPECT_EQ(gw.timerRequests(), (Lines{gw.kDeleted, gw.kAdded}));
    EXPECT_TRUE(gw.requests().empty());
    gw.forget();
    gw.polls(11);  // its time has begun anew
    EXPECT_EQ(gw.timerRequests(), Lines(11, gw.kAdded));
    gw.forget();
    gw.poll();
    EXPECT_EQ(gw.runningStatus(1), "RegistrationSessionTimeout");
}

}  // namespace
