// Whether a lower layer ends in a bridged IP interface.
#include "lan/bridge.h"
#include "support/kit.h"

namespace {

class LowerLayerBridged : public testing::Test {
  protected:
    LowerLayerBridged() {
        gw.set("Bridging.Bridge.1.Port.2.LowerLayers", "Ethernet.Interface.1");
        gw.set("Bridging.Bridge.3.Port.5.LowerLayers", "Ethernet.Interface.2");
        gw.set("Ethernet.Link.1.LowerLayers", "Bridging.Bridge.1.Port.1");
        gw.set("Ethernet.Link.4.LowerLayers", "Bridging.Bridge.3.Port.1");
        gw.set("IP.Interface.1.LowerLayers", "Ethernet.Link.1");
        gw.set("IP.Interface.1.X_VORAN_ConnectionType", "IP_Routed");
        gw.set("IP.Interface.2.LowerLayers", "Ethernet.Link.4");
        gw.set("IP.Interface.2.X_VORAN_ConnectionType", "IP_Bridged");
    }

    Gateway gw;
};

TEST_F(LowerLayerBridged, IsTrueBelowABridgedInterface) {
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 1u);
}

TEST_F(LowerLayerBridged, IsFalseBelowARoutedInterfaceOrOneOfNoType) {
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.1"), 0u);
    gw.set("IP.Interface.2.X_VORAN_ConnectionType", "");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 0u);
}

TEST_F(LowerLayerBridged, PathThatNoPortNamesReadsNeitherLinksNorInterfaces) {
    const unsigned before = inproc::calls();
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.9"), 0u);
    EXPECT_EQ(inproc::calls() - before, 3u);  // two ports and the end of their walk
}

TEST_F(LowerLayerBridged, BridgeWhoseFirstPortHasNoLinkIsNot) {
    gw.set("Ethernet.Link.4.LowerLayers", "Bridging.Bridge.3.Port.5");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 0u);
}

TEST_F(LowerLayerBridged, LinkWithoutAnInterfaceIsNot) {
    gw.set("IP.Interface.2.LowerLayers", "Ethernet.Link.44");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 0u);
}

TEST_F(LowerLayerBridged, ListsWithSeveralEntriesDoNotMatch) {
    gw.set("Bridging.Bridge.3.Port.5.LowerLayers", "Ethernet.Interface.2,Ethernet.Interface.3");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 0u);
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2,Ethernet.Interface.3"), 1u);
    gw.set("IP.Interface.2.LowerLayers", "Ethernet.Link.4,Ethernet.Link.1");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2,Ethernet.Interface.3"), 0u);
}

TEST_F(LowerLayerBridged, FirstPortOfThePathCounts) {
    gw.set("Bridging.Bridge.2.Port.1.LowerLayers", "Ethernet.Interface.2");
    EXPECT_EQ(isLowerLayerBridged("Ethernet.Interface.2"), 0u);
}

}  // namespace
