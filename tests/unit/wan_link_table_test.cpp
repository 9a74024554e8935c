#include <new>

#include "support/short_memory.h"
#include "unit/wan_fixture.h"

namespace {

// "type:instance:name:sfp" of each entry, as a walk meets them.
Commands table() {
    Commands entries;
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        entries.push_back(std::to_string(link->linkType) + ":" + std::to_string(link->iid.idx[0]) + ":" +
                          link->ifaceName.c_str() + ":" + std::to_string(link->isSFP));
    }
    return entries;
}

TEST(WanLinkTable, OfAGatewayWithoutLinksIsEmptyAndComplete) {
    WanGateway gw;
    EXPECT_EQ(initWanLinkInfo(), 0);
    EXPECT_EQ(firstWanLink(), nullptr);
    EXPECT_EQ(wan.wanLinkInfoInit, 1);
    ASSERT_EQ(gw.log().size(), 1u);
    EXPECT_TRUE(gw.logged("syslog", 6, "initializing list of WANDevices"));
}

TEST(WanLinkTable, IsWalkedInReverseOrderOfCreation) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    gw.dslLine(2, "NoSignal");
    gw.usbPort(1, "Down");
    gw.opticalPort(1, "Down");
    gw.ethernetPort(4, "eth0.4", "Down");
    gw.ethernetPort(5, "eth0.5", "Down", true);
    EXPECT_EQ(initWanLinkInfo(), 0);
    EXPECT_EQ(table(), (Commands{"3:5:eth0.5:1", "3:4:eth0.4:0", "5:1:opt:0", "7:1:usb:0", "2:2::0", "2:1::0"}));
}

TEST(WanLinkTable, LeavesOutUsbAndOpticalThatAreNotUpstream) {
    WanGateway gw;
    gw.add("USB.Interface.1");
    gw.add("Optical.Interface.1");
    initWanLinkInfo();
    EXPECT_EQ(firstWanLink(), nullptr);
    EXPECT_EQ(gw.count("ignoring WanDevice"), 2);
}

TEST(WanLinkTable, LeavesOutLanEthernetSilently) {
    WanGateway gw;
    gw.set("Ethernet.Interface.1.Name", "eth0.1");
    initWanLinkInfo();
    EXPECT_EQ(firstWanLink(), nullptr);
    EXPECT_EQ(gw.log().size(), 1u);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(WanLinkTable, TakesAnEthernetPortMarkedAsWan) {
    WanGateway gw;
    gw.set("Ethernet.Interface.1.Name", "eth0.1");
    gw.set("Ethernet.Interface.1.X_VORAN_WANPort", "true");
    initWanLinkInfo();
    EXPECT_EQ(table(), Commands{"3:1:eth0.1:0"});
}

TEST(WanLinkTable, NotesAnSfpPort) {
    WanGateway gw;
    gw.ethernetPort(4, "eth0.4", "Down");
    gw.ethernetPort(5, "eth0.5", "Down", true);
    initWanLinkInfo();
    EXPECT_EQ(wan.supportSFP, 1);
    EXPECT_TRUE(gw.printedAtLine("[initWanLinkInfo][", "]supportSFP=[0]"));
    EXPECT_TRUE(gw.printedAtLine("[initWanLinkInfo][", "]"));
    EXPECT_TRUE(gw.printedAtLine("[initWanLinkInfo][", "]supportSFP=[1]"));
}

TEST(WanLinkTable, RestartsTheEthernetWanPhyAtStart) {
    for (const int32_t priority : {kDslFirst, kAutoDetect, kEthernetKept, 10}) {
        WanGateway gw;
        wan.WANPriority = priority;
        gw.ethernetPort(5, "eth0.5", "Down");
        initWanLinkInfo();
        EXPECT_EQ(gw.commands(), words::activate("eth0.5")) << priority;
    }
}

TEST(WanLinkTable, LeavesThePhyAloneWhenDslIsFirstAndUp) {
    WanGateway gw;
    wan.WANPriority = kDslFirst;
    wan.isDslLinkUp = 1;
    gw.ethernetPort(5, "eth0.5", "Down");
    initWanLinkInfo();
    EXPECT_TRUE(gw.commands().empty());
    EXPECT_EQ(table().size(), 1u);
}

TEST(WanLinkTable, RestartsThePhyWithDslUpInOtherModes) {
    WanGateway gw;
    wan.isDslLinkUp = 1;
    gw.ethernetPort(5, "eth0.5", "Down");
    initWanLinkInfo();
    EXPECT_EQ(gw.commands(), words::activate("eth0.5"));
}

TEST(WanLinkTable, ASecondRunAddsItsEntriesInFront) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    initWanLinkInfo();
    gw.usbPort(1, "Down");
    initWanLinkInfo();
    EXPECT_EQ(table(), (Commands{"7:1:usb:0", "2:1::0", "2:1::0"}));
}

TEST(WanLinkTable, StartsWithEveryLinkDown) {
    WanGateway gw;
    gw.dslLine(1, "Up");
    initWanLinkInfo();
    firstWanLink()->linkStatus = 1;
    initWanLinkInfo();
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        EXPECT_EQ(link->linkStatus, 0);
    }
}

TEST(WanLinkTable, AWalkThatFailsEndsItsStepOnly) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    gw.usbPort(1, "Down");
    gw.refuseWrite(inproc::Operation::Next, "DSL.Line.{i}");
    EXPECT_EQ(initWanLinkInfo(), 0);
    EXPECT_EQ(table(), Commands{"7:1:usb:0"});
}

TEST(WanLinkTable, CutsALongInterfaceName) {
    WanGateway gw;
    gw.ethernetPort(5, std::string(64, 'e'), "Down");
    initWanLinkInfo();
    EXPECT_EQ(firstWanLink()->ifaceName.view(), std::string(64, 'e'));
}

// Fails one allocation after the other; true when one of them was that of an entry.
bool runsOutOfMemoryForAnEntry(WanGateway& gw) {
    for (int after = 0; after < 200; ++after) {
        forgetWanLinks();
        wan.wanLinkInfoInit = 0;
        gw.forget();
        short_memory::failOneNew(after);
        int32_t result = 0;
        try {
            result = initWanLinkInfo();
        } catch (const std::bad_alloc&) {
            result = -1;
        }
        short_memory::allNewsSucceed();
        if (result == -5) {
            return true;
        }
    }
    return false;
}

TEST(WanLinkTable, WithoutMemoryForAnEntryStaysIncomplete) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    ASSERT_TRUE(runsOutOfMemoryForAnEntry(gw));
    EXPECT_TRUE(gw.logged("vlog", 3, "fail to calloc memory, size = " + std::to_string(sizeof(WanLinkInfo))));
    EXPECT_TRUE(gw.logged("vlog", 3, "memory insuffcient"));
    EXPECT_EQ(firstWanLink(), nullptr);
    EXPECT_EQ(wan.wanLinkInfoInit, 0);
}

TEST(WanLinkReset, OfOneTypeLeavesTheOthersUp) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    gw.ethernetPort(5, "eth0.5", "Down");
    gw.tableBuilt();
    for (WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        link->linkStatus = 1;
    }
    tarnResetWanLinkStatus(kLinkEthernet);
    EXPECT_EQ(statusOf("eth0.5"), 0);
    EXPECT_EQ(statusOf(""), 1);
}

TEST(WanLinkReset, OfAllTypesTakesAllDown) {
    WanGateway gw;
    gw.dslLine(1, "NoSignal");
    gw.ethernetPort(5, "eth0.5", "Down");
    gw.tableBuilt();
    for (WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        link->linkStatus = 1;
    }
    tarnResetWanLinkStatus(kLinkNone);
    EXPECT_EQ(statusOf("eth0.5"), 0);
    EXPECT_EQ(statusOf(""), 0);
}

TEST(WanLinkPhy, RestartNeedsAName) {
    WanGateway gw;
    EXPECT_EQ(restartEthWanPhy(nullptr), -17);
    EXPECT_EQ(restartEthWanPhy(""), -17);
    EXPECT_TRUE(gw.commands().empty());
}

TEST(WanLinkPhy, RestartDisablesAndEnables) {
    WanGateway gw;
    EXPECT_EQ(restartEthWanPhy("eth9;reboot"), 0);
    EXPECT_EQ(gw.commands(), words::activate("'eth9;reboot'"));
}

TEST(WanLinkDsl, IsUpWhenAnyLineIs) {
    WanGateway gw;
    EXPECT_EQ(isDslLineLinkUp(), 0);
    gw.dslLine(1, "NoSignal");
    EXPECT_EQ(isDslLineLinkUp(), 0);
    gw.dslLine(2, "Up");
    EXPECT_EQ(isDslLineLinkUp(), 1);
}

TEST(WanLinkDsl, WalkStopsAtTheFirstLineThatIsUp) {
    WanGateway gw;
    gw.dslLine(1, "Up");
    gw.dslLine(2, "Up");
    const unsigned before = inproc::calls();
    EXPECT_EQ(isDslLineLinkUp(), 1);
    EXPECT_EQ(inproc::calls() - before, 1u);
}

}  // namespace
