// How a running session is polled, ends, and runs out of time.
#include "unit/wps_fixture.h"

namespace {

class WpsPoll : public testing::Test {
  protected:
    std::string told(size_t which) const { return gw.told().at(which).payload.c_str(); }
    WpsGateway gw;
};
class WpsUnconfigured : public WpsPoll {
  protected:
    static constexpr const char* kUnconfigured = R"("WPSActivationMethod":"PushButton","X_VORAN_WPS_Configured":false)";
};
class WpsTimeout : public WpsPoll {};

TEST_F(WpsPoll, AsksForTheStatusWithTheInterface) {
    for (const uint32_t requester : {kTr069, kWebServer, kBothBands}) {
        gw.running(requester, R"("WPSActivationMethod":"PushButton","X_VORAN_IfName":"ra0")");
        gw.poll();
        EXPECT_EQ(gw.asked(), Lines{R"(4012 ["WPSStatus"])"});
        EXPECT_EQ(gw.interfaces(), Lines{"ra0"});
        EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusQryWifidStatus: ifname ra0, send msg rst = 0"));
        EXPECT_TRUE(gw.logged("stdout", "wpsParseReplyMsg: now status: 3"));
    }
}

TEST_F(WpsPoll, ProgressIsPolledOnAndWritesNothing) {
    gw.running(kTr069);
    gw.statusIs(1);
    gw.poll();
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_EQ(gw.timerRequests(), (Lines{gw.kAdded, gw.kAdded}));
}

TEST_F(WpsPoll, SuccessIsWrittenAndEndsTheSessionWhichTicksOn) {
    gw.running(kTr069);
    gw.statusIs(2);
    gw.poll();
    EXPECT_EQ(
        gw.writes(),
        Lines{R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"NoError, WPS ok!","WPSRunning":false})"});
    EXPECT_EQ(gw.timerRequests(), (Lines{gw.kDeleted, gw.kAdded}));
    gw.forget();
    gw.polls(11);  // the empty session asks nobody
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_EQ(gw.timerRequests(), Lines(11, gw.kAdded));
    gw.forget();
    gw.polls(2);
    EXPECT_TRUE(gw.timerRequests().empty());
    EXPECT_TRUE(gw.writes().empty());  // there is no access point 0
    EXPECT_EQ(gw.runningStatus(1), "NoError, WPS ok!");
}

TEST_F(WpsPoll, WebServerHearsEachOfItsPolls) {
    gw.running(kWebServer);
    gw.statusIs(1);
    gw.polls(2);
    gw.statusIs(2);
    gw.poll();
    ASSERT_EQ(gw.told().size(), 3u);
    EXPECT_EQ(told(0), R"({"WPSStatus":1,"rst":0,"msg_type":2147487675})");
    EXPECT_EQ(told(2), R"({"WPSStatus":2,"rst":0,"msg_type":2147487675})");
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusHandle: wps status 1 1"));
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusHandle: wps status 2 2"));
}

TEST_F(WpsPoll, OthersHearNothingAndPrintNoStatus) {
    for (const uint32_t requester : {kTr069, kBothBands}) {
        gw.running(requester);
        gw.statusIs(2);
        gw.poll();
        EXPECT_TRUE(gw.told().empty());
        EXPECT_FALSE(gw.loggedContaining("wps status "));
    }
}

TEST_F(WpsPoll, BothBandsRequesterHasTheOtherBandWrittenToo) {
    struct Case {
        const char* index;
        unsigned own;
        unsigned other;
    };
    for (const Case& each : {Case{"1", 1, 5}, Case{"5", 5, 1}, Case{"2", 2, 1}}) {
        gw.running(kBothBands);
        gw.start(std::string(R"({"StartApp":35,"WPSActivationMethod":"PushButton","WPSIndex":)") + each.index + "}");
        gw.forget();
        gw.statusIs(2);
        gw.poll();
        EXPECT_EQ(gw.writes().size(), 2u);
        EXPECT_EQ(gw.runningStatus(each.own), "NoError, WPS ok!") << each.index;
        EXPECT_EQ(gw.runningStatus(each.other), "NoError, WPS ok!") << each.index;
        EXPECT_EQ(gw.runs(each.other), "false");
    }
}

TEST_F(WpsPoll, ThirdWithoutStatusEndsTheSessionWithThree) {
    gw.running(kWebServer);
    gw.polls(2);
    EXPECT_EQ(told(1), R"({"rst":0,"msg_type":2147487675})");
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusHandle: wps status 4294967295 4294967295"));
    gw.poll();
    EXPECT_EQ(told(2), R"({"WPSStatus":3,"rst":0,"msg_type":2147487675})");
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusHandle: wps status 4294967295 3"));
    EXPECT_EQ(gw.runningStatus(1), "DeviceBusy, no wps status reply!");
    gw.forget();
    gw.poll();
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(WpsPoll, StatusInBetweenStartsTheCountAnew) {
    gw.running(kTr069);
    gw.polls(2);
    gw.statusIs(1);
    gw.poll();
    gw.wireless(4012, says(0));
    gw.polls(2);
    gw.forget();
    gw.poll();
    EXPECT_EQ(gw.asked().size(), 1u);
    gw.forget();
    gw.poll();
    EXPECT_TRUE(gw.asked().empty());
}

TEST_F(WpsPoll, FailedSendingWritesItsTextAndThenTheStatus) {
    gw.running(kTr069);
    gw.wireless(4012, sendingFails());
    gw.poll();
    EXPECT_EQ(
        gw.writes(),
        (Lines{
            R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"DeviceBusy, msg send\/response error!","WPSRunning":false})",
            R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"DeviceBusy, no wps status reply!","WPSRunning":false})"}));
}

TEST_F(WpsPoll, DataThatIsNoObjectCountsAsNone) {
    gw.running(kWebServer);
    for (const char* data : {"", "rubbish", "[2]", "2", "null", "{\"WPSStatus\":"}) {
        gw.start(gw.request(kWebServer));
        gw.forget();
        gw.wireless(4012, says(0, data));
        gw.poll();
        EXPECT_EQ(gw.runningStatus(1), "DeviceBusy, no wps status reply!") << data;
        EXPECT_EQ(told(0), R"({"rst":0,"msg_type":2147487675})") << data;
    }
}

TEST_F(WpsPoll, StatusOfAnotherTypeIsConvertedOrMissing) {
    gw.running(kTr069);
    for (const auto& [value, text] :
         std::vector<std::pair<std::string, std::string>>{{"\"2\"", "NoError, WPS ok!"},
                                                          {"2.7", "NoError, WPS ok!"},
                                                          {"99999999999", "DeviceBusy"},
                                                          {"null", "DeviceBusy, no wps status reply!"},
                                                          {"[2]", "DeviceBusy, no wps status reply!"},
                                                          {"{}", "DeviceBusy, no wps status reply!"}}) {
        gw.start(gw.request(kTr069));
        gw.wireless(4012, says(0, "{\"WPSStatus\":" + value + "}"));
        gw.poll();
        EXPECT_EQ(gw.runningStatus(1), text) << value;
    }
}

TEST_F(WpsPoll, WhenIdleDoesNothing) {
    gw.polls(3);
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_TRUE(gw.timerRequests().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WpsPoll, GoesOnWithoutTimer) {
    gw.timerSocket("/nonexistent/socket");
    gw.start(gw.request(kWebServer));
    gw.poll();
    EXPECT_EQ(gw.asked().back(), R"(4012 ["WPSStatus"])");
    EXPECT_TRUE(gw.logged("vlog", 3, "Init skCltLocalConn failed"));
}

TEST_F(WpsUnconfigured, MissingStatusCountsAsProgress) {
    gw.running(kWebServer, kUnconfigured);
    gw.polls(5);
    ASSERT_EQ(gw.told().size(), 5u);
    EXPECT_EQ(told(4), R"({"WPSStatus":1,"rst":0,"msg_type":2147487675})");
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusHandle: wps status 4294967295 1"));
    EXPECT_TRUE(gw.logged("stdout", "wpsMsgStatusOnWpsConfiguredHandle"));
}

TEST_F(WpsUnconfigured, NotRunningStillEndsTheSession) {
    gw.running(kTr069, kUnconfigured);
    gw.poll();
    gw.statusIs(0);
    gw.poll();
    gw.forget();
    gw.poll();
    EXPECT_TRUE(gw.asked().empty());
}

TEST_F(WpsUnconfigured, FailedSendingIsNoProgress) {
    gw.running(kTr069, kUnconfigured);
    gw.wireless(4012, sendingFails());
    gw.polls(3);
    EXPECT_FALSE(gw.loggedContaining("wpsMsgStatusOnWpsConfiguredHandle"));
    gw.forget();
    gw.poll();
    EXPECT_TRUE(gw.asked().empty());
}

TEST_F(WpsUnconfigured, OtherStatusesAreAsTheyAre) {
    gw.running(kWebServer, kUnconfigured);
    gw.statusIs(4);
    gw.poll();
    EXPECT_EQ(told(0), R"({"WPSStatus":4,"rst":0,"msg_type":2147487675})");
}

TEST_F(WpsTimeout, ComesWithTheTwelfthPoll) {
    gw.running(kWebServer);
    gw.statusIs(1);
    gw.polls(11);
    EXPECT_EQ(gw.told().size(), 11u);
    gw.forget();
    gw.poll();
    EXPECT_EQ(gw.writes(),
              Lines{R"(write WiFi.AccessPoint.1.WPS {"X_VORAN_WPSRunningStatus":"RegistrationSessionTimeout"})"});
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_TRUE(gw.timerRequests().empty());
    EXPECT_FALSE(gw.isRunning());
}

TEST_F(WpsTimeout, IsApplied) {
    inproc::ownerApplies("WiFi.AccessPoint.{i}.WPS");
    gw.running(kTr069);
    gw.statusIs(1);
    gw.polls(12);
    EXPECT_EQ(inproc::applied(), Lines{"set WiFi.AccessPoint.1.WPS"});
}

TEST_F(WpsTimeout, OfTheTr069AgentStopsTheSetup) {
    gw.running(kTr069, R"("WPSActivationMethod":"PushButton","X_VORAN_IfName":"ra0")");
    gw.statusIs(1);
    gw.polls(11);
    gw.forget();
    gw.poll();
    EXPECT_EQ(gw.asked(), Lines{R"(4015 {"SSIDRef":1})"});
    EXPECT_EQ(gw.interfaces(), Lines{"ra0"});
}

TEST_F(WpsTimeout, OfBothBandsIsWrittenToBoth) {
    gw.running(kBothBands);
    gw.statusIs(1);
    gw.polls(12);
    EXPECT_EQ(gw.runningStatus(1), "RegistrationSessionTimeout");
    EXPECT_EQ(gw.runningStatus(5), "RegistrationSessionTimeout");
}

}  // namespace
