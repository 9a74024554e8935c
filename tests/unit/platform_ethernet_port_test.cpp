#include "unit/ethernet_port_fixture.h"

namespace {

using inproc::Operation;

constexpr const char* kIgmpFile = "/proc/tc3162/igmpsnooping_eth_port_stat";
constexpr const char* kFewFields = "\" has fewer than four fields, no port is changed";

class PortEvent : public EthernetPortTest {};
class PortBadEvent : public EthernetPortTest {};
class PortGroup : public EthernetPortTest {};

TEST_F(PortEvent, UpSetsStatusRateAndDuplex) {
    updateLanLinkStatus("eth0.3:up:2500:F");
    EXPECT_EQ(port(2, "Status"), "Up");
    EXPECT_EQ(port(2, "MaxBitRate"), "2500");
    EXPECT_EQ(port(2, "DuplexMode"), "Full");
}

TEST_F(PortEvent, RatesAreTakenAsTheyAre) {
    for (const char* rate : {"10", "100", "1000", "2500", "5000", "10000"}) {
        EXPECT_EQ(rateAndDuplex(std::string("eth0.3:up:") + rate + ":H"), std::string(rate) + " Half");
    }
}

TEST_F(PortEvent, UnknownDuplexFollowsTheRate) {
    EXPECT_EQ(rateAndDuplex("eth0.3:up:1000:X"), "1000 Full");
    EXPECT_EQ(rateAndDuplex("eth0.3:up:100:X"), "100 Half");
    EXPECT_EQ(rateAndDuplex("eth0.3:up:10:X"), "10 Half");
    EXPECT_EQ(rateAndDuplex("eth0.3:up:2500:X"), "2500 Auto");
}

TEST_F(PortEvent, DownSetsAutomaticRateAndDuplexWhateverItSays) {
    gw.set("Ethernet.Interface.2.Status", "Up");
    EXPECT_EQ(rateAndDuplex("eth0.3:down:0:H"), "-1 Auto");
    EXPECT_EQ(port(2, "Status"), "Down");
}

TEST_F(PortEvent, UpInOtherLetterCaseIsDownForThePort) {
    gw.set("Ethernet.Interface.2.Status", "Up");
    updateLanLinkStatus("eth0.3:UP:1000:F");
    EXPECT_EQ(port(2, "Status"), "Down");
}

TEST_F(PortEvent, ChangeOfStatusTakesTheUptime) {
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(port(2, "LastChange"), "50");
    gw.advance(10'000);
    updateLanLinkStatus("eth0.3:down:0:H");
    EXPECT_EQ(port(2, "LastChange"), "60");
}

TEST_F(PortEvent, SystemWithoutUptimeKeepsTheTime) {
    gw.noUptime();
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(port(2, "Status"), "Up");
    EXPECT_EQ(port(2, "LastChange"), "7");
    updateLanLinkStatus("eth0.3:down:0:H");
    EXPECT_EQ(port(2, "Status"), "Down");
    EXPECT_EQ(port(2, "LastChange"), "7");
}

TEST_F(PortEvent, UnchangedStatusKeepsItsTime) {
    updateLanLinkStatus("eth0.3:down:0:H");
    EXPECT_EQ(port(2, "LastChange"), "7");
}

TEST_F(PortEvent, IsPublishedNotApplied) {
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(gw.writes(), Commands{"publish Ethernet.Interface.2"});
}

TEST_F(PortEvent, OtherPortsStayAsTheyAre) {
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(port(1, "Status"), "Down");
}

TEST_F(PortEvent, WritesItsLines) {
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_TRUE(gw.logged("syslog", 6, "updateLanLinkStatus: msgData: eth0.3:up:100:F"));
    EXPECT_TRUE(gw.logged("syslog", 6, "setEthIntfInfo: setEthIfaceObj: eth0.3, Up"));
}

TEST_F(PortEvent, RefusedWriteIsLoggedAndTheNextPortOfThatNameTried) {
    addPort(3, "eth0.3");
    gw.refuseWrite(Operation::SetNoApply, "Ethernet.Interface.{i}", 1);
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_TRUE(gw.logged("syslog", 3, "setEthIntfInfo"));
    EXPECT_EQ(port(2, "Status"), "Down");
    EXPECT_EQ(port(3, "Status"), "Up");
}

TEST_F(PortEvent, StopsAtTheFirstPortThatTookIt) {
    addPort(3, "eth0.3");
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(port(3, "Status"), "Down");
}

TEST_F(PortEvent, EmptyFieldsAreNoFields) {
    updateLanLinkStatus("::eth0.3::up:100::F:more");
    EXPECT_EQ(port(2, "Status"), "Up");
    EXPECT_EQ(port(2, "DuplexMode"), "Full");
}

TEST_F(PortEvent, OfTheWanSetsTheStatusOnly) {
    gw.set("Ethernet.Interface.2.Status", "Up");
    addBridgePort("Bridging.Bridge.1.Port.2", "eth0.3");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    gw.forget();
    updateETHWANStatus("eth0.3:down:0:H");
    EXPECT_EQ(port(2, "Status"), "Down");
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.2");
    EXPECT_FALSE(gw.fileContent(kIgmpFile));
    EXPECT_FALSE(gw.loggedContaining("msgData"));
}

TEST_F(PortBadEvent, WithoutTextSaysSo) {
    updateLanLinkStatus(nullptr);
    EXPECT_TRUE(gw.logged("syslog", 6, "updateLanLinkStatus: msgData: no msgData"));
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortBadEvent, WithFewerThanFourFieldsChangesNothingAndWritesOneLine) {
    gw.set("Ethernet.Interface.2.Status", "Up");
    addBridgePort("Bridging.Bridge.1.Port.2", "eth0.3");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    for (const std::string event : {"", "eth0.3", "eth0.3:down", "eth0.3:down:10", "eth0.3:down::H"}) {
        gw.forget();
        updateLanLinkStatus(event.c_str());
        EXPECT_TRUE(gw.writes().empty()) << event;
        EXPECT_EQ(gw.count("port event \"" + event + kFewFields), 1) << event;
        EXPECT_FALSE(gw.fileContent(kIgmpFile)) << event;
    }
}

TEST_F(PortBadEvent, OfAnUnknownPortChangesNothing) {
    updateLanLinkStatus("eth9.9:up:100:F");
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortBadEvent, OfFourThousandCharactersChangesNothing) {
    updateLanLinkStatus((std::string(4000, 'e') + ":down:10:F").c_str());
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortBadEvent, WithShellCharactersRunsNothing) {
    updateLanLinkStatus("eth0.3;reboot:down:$(reboot):F");
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortGroup, IsUndoneWhenThePortGoesDown) {
    addBridgePort("Bridging.Bridge.1.Port.1", "eth0.2");
    addBridgePort("Bridging.Bridge.2.Port.4", "eth0.3");
    addGroup("Bridging.Bridge.2.Port.4", "Bridging.Bridge.2", "Bridging.Bridge.1");
    gw.forget();
    updateLanLinkStatus("eth0.3:down:0:H");
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.1");
    EXPECT_EQ(gw.get("Bridging.Filter.1.X_VORAN_PreviousBridge"), "");
    EXPECT_EQ(gw.writes(), (Commands{"publish Ethernet.Interface.2", "set Bridging.Filter.1"}));
}

TEST_F(PortGroup, StaysWhenThePortComesUp) {
    addBridgePort("Bridging.Bridge.2.Port.4", "eth0.3");
    addGroup("Bridging.Bridge.2.Port.4", "Bridging.Bridge.2", "Bridging.Bridge.1");
    updateLanLinkStatus("eth0.3:up:100:F");
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.2");
    EXPECT_FALSE(gw.fileContent(kIgmpFile));
}

TEST_F(PortGroup, WithoutBridgePortOrFilterNothingChanges) {
    EXPECT_EQ(removeIfaceGroup("eth0.3"), 0);
    addBridgePort("Bridging.Bridge.1.Port.2", "eth0.3");
    addGroup("Bridging.Bridge.1.Port.1", "Bridging.Bridge.2", "Bridging.Bridge.1");
    gw.forget();
    EXPECT_EQ(removeIfaceGroup("eth0.3"), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortGroup, WithoutEarlierBridgeStays) {
    addBridgePort("Bridging.Bridge.1.Port.2", "eth0.3");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "");
    gw.forget();
    EXPECT_EQ(removeIfaceGroup("eth0.3"), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortGroup, RefusedWriteIsLogged) {
    addBridgePort("Bridging.Bridge.1.Port.2", "eth0.3");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    gw.refuseWrite(Operation::Set, "Bridging.Filter.{i}");
    EXPECT_EQ(removeIfaceGroup("eth0.3"), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "removeIfaceGroup : Set BridgeFilter fail"));
}

TEST(WanAutoDetect, ShutsDslDownWhenDslCarriedTheWan) {
    for (const int32_t mode : {kLinkDslAtm, kLinkDslPtm}) {
        WanGateway gw;
        wan.currWanLinkType = mode;
        EXPECT_EQ(handleWANAutoDetectETH(), 0);
        EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
        EXPECT_EQ(gw.commands(), words::closeDsl());
        EXPECT_TRUE(gw.logged("syslog", 6, "handleWANAutoDetectETH: ethernet link up, shut down dsl"));
    }
}

TEST(WanAutoDetect, TakesTheWanThatNobodyCarried) {
    WanGateway gw;
    EXPECT_EQ(handleWANAutoDetectETH(), 1);
    EXPECT_EQ(wan.currWanLinkType, kLinkEthernet);
    EXPECT_EQ(gw.commands(), words::closeDsl());
    EXPECT_TRUE(gw.logged("syslog", 6, "handleWANAutoDetectETH: physical linkup mode is ethernet"));
}

TEST(WanAutoDetect, RunsNothingWhenEthernetCarriedTheWanAlready) {
    WanGateway gw;
    wan.currWanLinkType = kLinkEthernet;
    EXPECT_EQ(handleWANAutoDetectETH(), 1);
    EXPECT_TRUE(gw.commands().empty());
}

}  // namespace
