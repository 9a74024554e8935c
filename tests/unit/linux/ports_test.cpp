#include "platform/dsl.h"
#include "platform/ethernet_wan.h"
#include "platform/port_names.h"
#include "platform/services.h"
#include "unit/ethernet_port_fixture.h"

namespace {

class LinuxPorts : public EthernetPortTest {
  protected:
    void wanPort(unsigned n, const std::string& name, bool sfp = false) { gw.ethernetPort(n, name, "Down", sfp); }
};

TEST_F(LinuxPorts, OfAnyNameAreEthernetPorts) {
    gw.settled();
    for (const char* name : {"wan0", "ptm0", "a", "enp1s0.3999-lan", "br-lan.100"}) {
        gw.set("Ethernet.Interface.9.Name", name);
        gw.set("Ethernet.Interface.9.Status", "Down");
        updateLinkStatus((std::string(name) + ":up:100:F").c_str());
        EXPECT_EQ(gw.get("Ethernet.Interface.9.Status"), "Up") << name;
    }
    EXPECT_TRUE(gw.actions().empty());
}

TEST_F(LinuxPorts, WanPortOfAnyNameIsFollowed) {
    wanPort(4, "ptm-atm0");
    gw.tableBuilt();
    updateLinkStatus("ptm-atm0:up:2500:F");
    EXPECT_EQ(statusOf("ptm-atm0"), 1);
    EXPECT_EQ(gw.get("Ethernet.Interface.4.MaxBitRate"), "2500");
    updateLinkStatus("ptm-atm0:down:0:H");
    EXPECT_EQ(statusOf("ptm-atm0"), 0);
}

TEST_F(LinuxPorts, AnyRateIsTakenAndNonsenseIsTen) {
    EXPECT_EQ(port::bitRate("25000"), 25000);
    EXPECT_EQ(port::bitRate("100000"), 100000);
    for (const char* nonsense : {"", "x", "1000x", "-1", "0", "99999999999"}) {
        EXPECT_EQ(port::bitRate(nonsense), 10) << nonsense;
    }
}

TEST_F(LinuxPorts, GroupIsFoundByTheWholeName) {
    addBridgePort("Bridging.Bridge.1.Port.2", "lan1");
    addGroup("Bridging.Bridge.1.Port.2", "Bridging.Bridge.2", "Bridging.Bridge.1");
    EXPECT_EQ(removeIfaceGroup("lan10"), 0);
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.2");
    EXPECT_EQ(removeIfaceGroup("lan1"), 0);
    EXPECT_EQ(gw.get("Bridging.Filter.1.Bridge"), "Bridging.Bridge.1");
}

TEST_F(LinuxPorts, AreSwitchedByKind) {
    wanPort(4, "wan0");
    wanPort(5, "sfp0", true);
    gw.set("Ethernet.Interface.6.Name", "both");
    gw.set("Ethernet.Interface.6.X_VORAN_WANPort", "true");
    EXPECT_EQ(tarnEthWanStatusChange(false, 1), 0);
    EXPECT_EQ(gw.commands(), (Commands{"ip link set dev wan0 down", "ip link set dev both down"}));
    gw.forget();
    EXPECT_EQ(tarnEthWanStatusChange(true, 2), 0);
    EXPECT_EQ(gw.commands(), Commands{"ip link set dev sfp0 up"});
    EXPECT_TRUE(gw.logged("stdout", "tarnEthWanStatusChange: sysCmd = ip link set dev sfp0 up"));
    gw.forget();
    tarnEthWanStatusChange(true, 0);
    EXPECT_EQ(gw.commands().size(), 3u);
}

TEST_F(LinuxPorts, LanPortsAndNamelessOnesAreNotSwitched) {
    gw.set("Ethernet.Interface.4.Upstream", "true");
    tarnEthWanStatusChange(false, 0);
    EXPECT_TRUE(gw.commands().empty());
}

TEST_F(LinuxPorts, FailureOfOneIsTheResult) {
    wanPort(4, "wan0");
    wanPort(5, "wan1");
    gw.commandResult("ip link set dev wan0 up", 512);
    EXPECT_EQ(tarnEthWanStatusChange(true, 0), 512);
}

TEST_F(LinuxPorts, NameCannotBecomeACommand) {
    wanPort(4, "w;reboot");
    tarnEthWanStatusChange(true, 0);
    activateEthWanPort("$(reboot)");
    EXPECT_EQ(gw.commands(), (Commands{"ip link set dev 'w;reboot' up", "ip link set dev '$(reboot)' up"}));
}

TEST(LinuxMachine, LacksAModemAndRunsNothingForIt) {
    WanGateway gw;
    handleXtmUpInit(1, 0);
    endPtm();
    removePtmVlanRule("ptm0", 1);
    EXPECT_EQ(openDsl() + closeDsl(), 0);
    restartDslConnection();
    restartQuarterHours();
    runStartScripts();
    startUpnp(true);
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_TRUE(gw.log().empty());
}

}  // namespace
