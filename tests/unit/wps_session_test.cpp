// Requests, what ends a session, and what is written about it.
#include "lan/wps.h"
#include "lan/wps_messages.h"
#include "lan/wps_status.h"
#include "support/short_memory.h"
#include "unit/wps_fixture.h"

namespace {

class WpsRequest : public testing::Test {
  protected:
    WpsGateway gw;
};
class WpsStop : public WpsRequest {};
class WpsWrite : public WpsRequest {};
class WpsMemory : public WpsRequest {};

TEST_F(WpsStop, WhenIdleSendsStopAndSaysSo) {
    gw.stop(gw.request(kWebServer, R"("X_VORAN_IfName":"ra0")"));
    EXPECT_EQ(gw.asked(), Lines{R"(4015 {"SSIDRef":1})"});
    EXPECT_EQ(gw.interfaces(), Lines{"ra0"});
    EXPECT_EQ(gw.writes(), Lines{R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"NoError, WPS stop!"})"});
    EXPECT_EQ(gw.runs(1), "true");  // only the text is written
    EXPECT_TRUE(gw.told().empty());
}

TEST_F(WpsStop, PrintsWhatWasAnswered) {
    gw.wireless(4015, says(0, R"({"a":1})"));
    gw.stop(gw.request(kWebServer));
    for (const char* line : {"wpsParseReplyMsg: now status: 0", "wpsParseReplyMsg: rst: 0",
                             "wpsParseReplyMsg: statCode: 0", "wpsParseReplyMsg: replyMsgData: {\"a\":1}"}) {
        EXPECT_TRUE(gw.logged("stdout", line)) << line;
    }
    gw.forget();
    gw.wireless(4015, says(0));
    gw.stop(gw.request(kWebServer));
    EXPECT_TRUE(gw.logged("stdout", "wpsParseReplyMsg: statCode: 0"));
    EXPECT_FALSE(gw.loggedContaining("replyMsgData"));
}

TEST_F(WpsStop, OfAnyApplicationIsSent) {
    gw.stop(gw.request(kStranger));
    EXPECT_EQ(gw.runningStatus(1), "NoError, WPS stop!");
}

TEST_F(WpsStop, BothBandsRequesterSendsNoInterface) {
    gw.stop(gw.request(kBothBands, R"("X_VORAN_IfName":"ra0")"));
    EXPECT_EQ(gw.interfaces(), Lines{""});
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgSendWifidStop: ifname ra0, send msg rst = 0"));
}

TEST_F(WpsStop, ThatFailsIsBusy) {
    for (const Answer& answer : {sendingFails(), says(2), says(static_cast<uint32_t>(-20))}) {
        gw.forget();
        gw.wireless(4015, answer);
        gw.stop(gw.request(kWebServer));
        EXPECT_EQ(gw.writes(), Lines{R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"DeviceBusy"})"});
        EXPECT_TRUE(gw.told().empty());
    }
}

TEST_F(WpsStop, WhileRunningSendsStopAndStaysRunningWithoutTimer) {
    gw.running(kWebServer);
    gw.stop(gw.request(kWebServer));
    EXPECT_EQ(gw.timerRequests(), Lines{gw.kDeleted});
    EXPECT_EQ(gw.asked(), Lines{R"(4015 {"SSIDRef":1})"});
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.isRunning());
}

TEST_F(WpsRequest, IndexOutsideOneToEightIsZero) {
    for (const char* index : {"0", "9", "-1", "256", "99999999999", "\"x\"", "null", "[1]", "{}"}) {
        gw.forget();
        gw.stop(std::string("{\"WPSIndex\":") + index + "}");
        EXPECT_EQ(gw.asked(), Lines{R"(4015 {"SSIDRef":0})"}) << index;
        EXPECT_TRUE(gw.writes().empty()) << index;
    }
    gw.stop(R"({"WPSIndex":"8"})");
    EXPECT_EQ(gw.runningStatus(8), "NoError, WPS stop!");
}

TEST_F(WpsRequest, TextsAreCutToTheirFields) {
    gw.start(gw.request(kTr069, R"("X_VORAN_IfName":"123456789012345678X","WPSActivationMethod":"StationPINX",)"
                                R"("X_VORAN_WPS_StationPin":"1234567890X")"));
    EXPECT_EQ(gw.asked().at(1), R"(4007 {"SSIDRef":1,"StationPin":"1234567890"})");
    EXPECT_EQ(gw.interfaces(), (Lines{"123456789012345678", "123456789012345678"}));
    EXPECT_TRUE(gw.logged("stdout", "X_VORAN_IfName: 123456789012345678"));
}

TEST_F(WpsRequest, ValuesOfOtherTypesAreConverted) {
    gw.start(R"({"StartApp":"9","WPSIndex":2.9,"WPSActivationMethod":"StationPIN","X_VORAN_WPS_StationPin":12345670})");
    EXPECT_EQ(gw.asked().at(1), R"(4007 {"SSIDRef":2,"StationPin":"12345670"})");
}

TEST_F(WpsRequest, PinEndsAtAnEmbeddedNulAndIsNoJson) {
    gw.start(gw.request(kTr069, R"("WPSActivationMethod":"StationPIN","X_VORAN_WPS_StationPin":"1\u0000\",\"a")"));
    EXPECT_EQ(gw.asked().at(1), R"(4007 {"SSIDRef":1,"StationPin":"1"})");
    gw.start(gw.request(kTr069, R"("WPSActivationMethod":"StationPIN","X_VORAN_WPS_StationPin":"\",\"a\":\"")"));
    EXPECT_EQ(gw.asked().at(3), R"(4007 {"SSIDRef":1,"StationPin":"\",\"a\":\""})");
}

TEST_F(WpsRequest, IsLogged) {
    gw.stop(R"({"WPSIndex":1})");
    EXPECT_TRUE(gw.logged("vlog", 7, R"(wpsParamStr = {"WPSIndex":1})"));
}

TEST_F(WpsRequest, ThatIsNoJsonObjectChangesNothing) {
    gw.running(kWebServer);
    const std::string deep = std::string(5000, '[') + std::string(5000, ']');
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("[1]"), std::string("null"), std::string("WPS"),
          std::string("\xFF\xFE\x01"), std::string("\0{}", 3), deep, "{\"a\":" + deep + "}"}) {
        gw.forget();
        EXPECT_EQ(wpsMsgStatusHandle(VCFG_MSG_WPS_STOP, text + '\0'), 0u) << text.substr(0, 10);
        EXPECT_TRUE(gw.requests().empty());
        EXPECT_TRUE(gw.timerRequests().empty());
        EXPECT_TRUE(gw.logged("vlog", 3, "the WPS request is not a JSON object"));
    }
    gw.poll();
    EXPECT_EQ(gw.asked(), Lines{R"(4012 ["WPSStatus"])"});  // still the web server's session
}

TEST_F(WpsRequest, IsHandled) {
    EXPECT_EQ(wpsMsgStatusHandle(VCFG_MSG_WPS_STOP, "{}"), 1u);
    EXPECT_EQ(wpsMsgStatusHandle(VCFG_MSG_WPS_POLL, {}), 1u);
    EXPECT_EQ(wpsMsgStatusHandle(0x80000FBE, "{}"), 1u);  // nothing to do, and nothing wrong with it
}

TEST_F(WpsRequest, WithoutTerminatorIsTakenByItsLength) {
    gw.receiveBytes(VCFG_MSG_WPS_STOP, R"({"WPSIndex":3})");
    EXPECT_EQ(gw.runningStatus(3), "NoError, WPS stop!");
}

TEST_F(WpsRequest, WithoutSessionHasNoInterfaceAndNoAccessPoint) {
    MessagePtr reply;
    EXPECT_EQ(wpsMsgSendWifidStop(nullptr, reply), 0);
    EXPECT_EQ(wpsMsgStatusQryWifidStatus(nullptr, reply), 0);
    EXPECT_EQ(gw.asked(), (Lines{R"(4015 {"SSIDRef":0})", R"(4012 ["WPSStatus"])"}));
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgSendWifidStop: ifname none, send msg rst = 0"));
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusQryWifidStatus: ifname none, send msg rst = 0"));
}

TEST_F(WpsWrite, EachModeWritesItsParametersAndOneIsApplied) {
    inproc::ownerApplies("WiFi.AccessPoint.{i}.WPS");
    wpsApWriteRunningStatus("a", kWpsWriteResult, 2);
    wpsApWriteRunningStatus("b", kWpsWriteStop, 2);
    EXPECT_TRUE(inproc::applied().empty());
    wpsApWriteRunningStatus("c", kWpsWriteTimeout, 2);
    EXPECT_EQ(inproc::applied(), Lines{"set WiFi.AccessPoint.2.WPS"});
    EXPECT_EQ(gw.writes(), (Lines{R"(write WiFi.AccessPoint.2.WPS {"X_VORAN_WPSRunningStatus":"a","WPSRunning":false})",
                                  R"(write WiFi.AccessPoint.2.WPS {"X_VORAN_WPSRunningStatus":"b"})",
                                  R"(write WiFi.AccessPoint.2.WPS {"X_VORAN_WPSRunningStatus":"c"})"}));
    EXPECT_TRUE(gw.logged("vlog", 7, "wpsApWriteRunningStatus: write WPSRunningStatus: a"));
}

TEST_F(WpsWrite, GlobalObjectIsWrittenTheSameWayAndNeverApplied) {
    inproc::ownerApplies("X_VORAN_WPS");
    gw.set("X_VORAN_WPS.WPSRunning", "true");
    wpsWriteRunningStatus("a", kWpsWriteStop);
    EXPECT_EQ(gw.get("X_VORAN_WPS.WPSRunning"), "true");
    wpsWriteRunningStatus("b", kWpsWriteTimeout);
    wpsWriteRunningStatus("c", kWpsWriteResult);
    EXPECT_EQ(gw.get("X_VORAN_WPS.WPSRunning"), "false");
    EXPECT_EQ(gw.get("X_VORAN_WPS.WPSRunningStatus"), "c");
    EXPECT_TRUE(inproc::applied().empty());
    EXPECT_TRUE(gw.logged("vlog", 7, "wpsWriteRunningStatus: write WPSRunningStatus: a"));
}

TEST_F(WpsMemory, ShortageSendsNothingAndIsBusy) {
    short_memory::leaveCallocs(0);
    gw.start(gw.request(kWebServer));
    short_memory::leaveCallocs(-1);
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to calloc memory, size = 70"));
    EXPECT_TRUE(gw.logged("vlog", 3, "memory insuffcient"));
    EXPECT_EQ(gw.runningStatus(1), "DeviceBusy");
}

}  // namespace
