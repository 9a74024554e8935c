#include "unit/ethernet_port_fixture.h"

namespace {

constexpr const char* kIgmpFile = "/proc/tc3162/igmpsnooping_eth_port_stat";

class PortNumber : public EthernetPortTest {};
class PortRate : public EthernetPortTest {};
class PortIgmp : public EthernetPortTest {};

TEST_F(PortNumber, IsFoundByThePortNumberAlone) {
    addBridgePort("Bridging.Bridge.1.Port.2", "lan0.3x");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    EXPECT_EQ(removeIfaceGroup("eth0.3"), 0);
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.1");
}

TEST_F(PortNumber, OfAPortWithoutNumberIsNone) {
    addBridgePort("Bridging.Bridge.1.Port.2", "ra0");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    gw.forget();
    EXPECT_EQ(removeIfaceGroup("eth0"), 0);
    EXPECT_EQ(removeIfaceGroup(""), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(PortRate, UnknownRateFallsBackToTen) {
    EXPECT_EQ(rateAndDuplex("eth0.3:up:42:X"), "10 Half");
    EXPECT_EQ(rateAndDuplex("eth0.3:up:1000x:X"), "10 Half");
}

TEST_F(PortIgmp, NoticeGivesPortIndexAndNumber) {
    addBridgePort("Bridging.Bridge.3.Port.1", "eth0.3");
    updateLanLinkStatus("eth0.3:down:0:H");
    EXPECT_EQ(gw.fileContent(kIgmpFile), "2 3");
}

TEST_F(PortIgmp, LastMatchWins) {
    addBridgePort("Bridging.Bridge.1.Port.1", "eth0.3");
    addBridgePort("Bridging.Bridge.4.Port.1", "eth0.3");
    EXPECT_NE(igmpsnoopingEthPortStat("eth0.3"), -1);
    EXPECT_EQ(gw.fileContent(kIgmpFile), "3 3");
}

TEST_F(PortIgmp, PortInNoBridgeHasIndexZero) {
    igmpsnoopingEthPortStat("eth0.12");
    EXPECT_EQ(gw.fileContent(kIgmpFile), "0 12");
}

TEST_F(PortIgmp, NameWithoutNumberGivesZero) {
    igmpsnoopingEthPortStat("eth0");
    EXPECT_EQ(gw.fileContent(kIgmpFile), "0 0");
    igmpsnoopingEthPortStat("eth0.x");
    EXPECT_EQ(gw.fileContent(kIgmpFile), "0 0");
}

TEST_F(PortIgmp, EndsWithTheCodeOfTheWalk) {
    EXPECT_EQ(igmpsnoopingEthPortStat("eth0.3"), VCFG_ERR_NOT_FOUND);
}

TEST_F(PortIgmp, FileThatCannotBeOpenedGivesMinusOne) {
    gw.unwritable(kIgmpFile);
    EXPECT_EQ(igmpsnoopingEthPortStat("eth0.3"), -1);
}

TEST(WanAutoDetect, DownOpensDslAndReturnsTheCommandsResult) {
    WanGateway gw;
    gw.commandResult("/usr/bin/wan adsl open", 256);
    EXPECT_EQ(handleWANAutoDetectETHDown(), 256);
}

}  // namespace
