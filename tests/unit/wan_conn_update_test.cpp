#include "connection/wan_conn_update.h"

#include <thread>

#include "connection/link_walks.h"
#include "support/short_memory.h"
#include "support/world.h"
#include "unit/wan_fixture.h"

namespace {

using inproc::Operation;

class ConnUpdateTest : public testing::Test {
  protected:
    void stack(unsigned n, const std::string& higher, const std::string& lower) {
        const std::string path = "InterfaceStack." + std::to_string(n) + ".";
        gw.set(path + "HigherLayer", higher);
        gw.set(path + "LowerLayer", lower);
    }
    void channel(unsigned n, const std::string& line, const std::string& encapsulation) {
        const std::string path = "DSL.Channel." + std::to_string(n) + ".";
        gw.set(path + "LowerLayers", line);
        gw.set(path + "LinkEncapsulationUsed", encapsulation);
    }
    void link(const char* path, uint8_t status, int32_t type) {
        gw.forget();
        EXPECT_EQ(tarnWanConnUpdate(path, status, type), 0);
        gw.runThreads();
    }
    // The thread that was asked for last, to be run when the test says so.
    static kit::Thread takeThread() {
        const std::lock_guard lock(kit::world().guard);
        const kit::Thread thread = kit::world().threads.back();
        kit::world().threads.pop_back();
        return thread;
    }
    WanGateway gw;
};

class WanConnTask : public ConnUpdateTest {};
class WanConnDsl : public ConnUpdateTest {
  protected:
    WanConnDsl() {
        channel(1, "DSL.Line.1", "G.992.3_Annex_K_ATM");
        channel(2, "DSL.Line.1", "G.992.3_Annex_K_PTM");
        stack(1, "ATM.Link.1", "DSL.Channel.1");
        stack(2, "PTM.Link.1", "DSL.Channel.2");
        gw.add("ATM.Link.1");
        gw.add("PTM.Link.1");
    }
};
class WanConnEthernet : public ConnUpdateTest {};
class WanConnPpp : public ConnUpdateTest {};
class WanConnFlap : public ConnUpdateTest {};

TEST_F(WanConnTask, SaysThatItsThreadStarts) {
    link("Ethernet.Interface.5", 1, kLinkEthernet);
    EXPECT_TRUE(gw.logged("vlog", 6, "thread starts"));
    EXPECT_TRUE(gw.logged("syslog", 6, "execWanConnUpdateProc : Enter"));
}

TEST_F(WanConnTask, DoesNothingBeforeItsThreadRuns) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    gw.add("Ethernet.Link.1");
    EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 1, kLinkEthernet), 0);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Down");
    gw.runThreads();
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
}

TEST_F(WanConnTask, ThreadThatCannotBeCreatedFails) {
    gw.refuseThreads();
    EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 1, kLinkEthernet), -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnUpdate : create pthread failed"));
}

TEST_F(WanConnTask, WithoutMemoryFailsWithItsLine) {
    gw.forget();
    short_memory::failOneNew(0);  // the record is the first thing that the call makes
    const int32_t result = tarnWanConnUpdate("Ethernet.Interface.5", 1, kLinkEthernet);
    short_memory::allNewsSucceed();
    EXPECT_EQ(result, -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnUpdate : allocate memory failed"));
    gw.runThreads();
    EXPECT_FALSE(gw.logged("vlog", 6, "thread starts"));
}

TEST_F(WanConnTask, WithoutRecordSaysSo) {
    execTarnWanConnUpdateTaskHandler(nullptr);
    EXPECT_TRUE(gw.logged("syslog", 3, "execTarnWanConnUpdateTaskHandler : args is NULL!"));
}

TEST_F(WanConnTask, PathOf130CharactersIsTaken) {
    const std::string path(130, 'x');
    stack(1, "Ethernet.Link.1", path);
    gw.add("Ethernet.Link.1");
    link(path.c_str(), 1, kLinkEthernet);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
}

TEST_F(WanConnTask, LongerPathIsRefusedWithOneLine) {
    for (const size_t size : {131u, 4000u}) {
        gw.forget();
        EXPECT_EQ(tarnWanConnUpdate(std::string(size, 'x').c_str(), 1, kLinkEthernet), -5);
        EXPECT_EQ(gw.log().size(), 1u);
        EXPECT_TRUE(gw.logged("vlog", 3, "a link's path is missing or longer than 130 characters, refused"));
        gw.runThreads();
        EXPECT_FALSE(gw.logged("vlog", 6, "thread starts"));
    }
}

TEST_F(WanConnTask, MissingPathIsRefused) {
    EXPECT_EQ(tarnWanConnUpdate(nullptr, 1, kLinkEthernet), -5);
}

TEST_F(WanConnTask, FourHigherLayersTakeThreeThreeFiveAndFiveSeconds) {
    for (unsigned n = 1; n <= 4; ++n) {
        stack(n, "Ethernet.Link." + std::to_string(n), "Ethernet.Interface.5");
        gw.add("Ethernet.Link." + std::to_string(n));
    }
    link("Ethernet.Interface.5", 1, kLinkEthernet);
    EXPECT_EQ(gw.sleeps(), (std::vector<uint32_t>{3000, 3000, 5000, 5000}));
}

TEST_F(WanConnTask, LayerThatIsNotWrittenIsPausedForToo) {
    stack(1, "IP.Interface.1", "Ethernet.Interface.5");   // of no kind that is written
    stack(2, "Ethernet.Link.9", "Ethernet.Interface.5");  // missing
    stack(3, "Ethernet.Link.1", "Ethernet.Interface.5");
    gw.add("Ethernet.Link.1");
    link("Ethernet.Interface.5", 1, kLinkEthernet);
    EXPECT_EQ(gw.writes(), Commands{"set Ethernet.Link.1"});
    EXPECT_EQ(gw.sleeps(), (std::vector<uint32_t>{3000, 3000, 5000}));
}

TEST_F(WanConnTask, FollowsOnlyEntriesOnItsPath) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    stack(2, "Ethernet.Link.2", "Ethernet.Interface.55");
    gw.add("Ethernet.Link.1");
    gw.add("Ethernet.Link.2");
    link("Ethernet.Interface.5", 1, kLinkEthernet);
    EXPECT_EQ(gw.writes(), Commands{"set Ethernet.Link.1"});
}

TEST_F(WanConnDsl, FollowsTheChannelOfTheReportedMode) {
    link("DSL.Line.1", 1, kLinkDslAtm);
    EXPECT_EQ(gw.get("ATM.Link.1.Status"), "Up");
    EXPECT_EQ(gw.get("PTM.Link.1.Status"), "Down");
    link("DSL.Line.1", 1, kLinkDslPtm);
    EXPECT_EQ(gw.get("PTM.Link.1.Status"), "Up");
    EXPECT_TRUE(gw.logged("syslog", 6, "execTarnDslWanConnUpdate : Enter"));
}

TEST_F(WanConnDsl, DownIsLowerLayerDown) {
    link("DSL.Line.1", 0, kLinkDslAtm);
    EXPECT_EQ(gw.get("ATM.Link.1.Status"), "LowerLayerDown");
    EXPECT_EQ(gw.writes(), Commands{"set ATM.Link.1"});
}

TEST_F(WanConnDsl, FirstMatchingChannelIsFollowed) {
    channel(3, "DSL.Line.1", "G.992.3_Annex_K_PTM");
    stack(3, "PTM.Link.2", "DSL.Channel.3");
    gw.add("PTM.Link.2");
    link("DSL.Line.1", 1, kLinkDslPtm);
    EXPECT_EQ(gw.get("PTM.Link.1.Status"), "Up");
    EXPECT_EQ(gw.get("PTM.Link.2.Status"), "Down");
}

TEST_F(WanConnDsl, BondingGroupsAreNeverUpdated) {
    stack(3, "DSL.BondingGroup.1", "DSL.Channel.1");
    link("DSL.Line.1", 1, kLinkDslAtm);
    EXPECT_EQ(gw.sleeps().size(), 1u);
}

TEST_F(WanConnDsl, LineWithoutChannelUpdatesNothing) {
    stack(4, "PTM.Link.1", "");
    link("DSL.Line.2", 1, kLinkDslPtm);
    EXPECT_TRUE(gw.writes().empty());
    EXPECT_TRUE(gw.sleeps().empty());
}

TEST_F(WanConnDsl, MissingLinkIsSilent) {
    EXPECT_EQ(tarnWanConnStatusUpdate("ATM.Link.9", 1, kLinkDslAtm), 0);
    EXPECT_EQ(tarnWanConnStatusUpdate("PTM.Link.9", 1, kLinkDslPtm), 0);
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(WanConnDsl, RefusedWriteIsLogged) {
    gw.refuseWrite(Operation::Set, "ATM.Link.{i}");
    gw.refuseWrite(Operation::Set, "PTM.Link.{i}");
    EXPECT_EQ(tarnWanConnStatusUpdate("ATM.Link.1", 1, kLinkDslAtm), -5);
    EXPECT_EQ(tarnWanConnStatusUpdate("PTM.Link.1", 1, kLinkDslPtm), -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "Set ATM.Link fail. In tarnWanConnStatusUpdate"));
    EXPECT_TRUE(gw.logged("syslog", 3, "Set PTM.Link fail. In tarnWanConnStatusUpdate"));
}

TEST_F(WanConnDsl, LayerOfAnotherKindIsLeftAlone) {
    gw.forget();
    EXPECT_EQ(tarnWanConnStatusUpdate("PTM.Link.1", 1, kLinkDslAtm), 0);
    EXPECT_EQ(tarnWanConnStatusUpdate("ATM.Link.1", 1, kLinkDslPtm), 0);
    EXPECT_EQ(tarnWanConnStatusUpdate("ATM.Link.x", 1, kLinkDslAtm), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanConnEthernet, MissingLinkIsLogged) {
    EXPECT_EQ(tarnWanConnStatusUpdate("Ethernet.Link.9", 1, kLinkEthernet), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnStatusUpdate : Get Ethernet Link Fail"));
}

TEST_F(WanConnEthernet, RefusedWriteIsLogged) {
    gw.add("Ethernet.Link.1");
    gw.refuseWrite(Operation::Set, "Ethernet.Link.{i}");
    EXPECT_EQ(tarnWanConnStatusUpdate("Ethernet.Link.1", 1, kLinkEthernet), -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnStatusUpdate : Set Ethernet.Link fail"));
}

TEST_F(WanConnEthernet, PppIsNotWritten) {
    gw.add("PPP.Interface.1");
    gw.forget();
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 1, kLinkEthernet), 0);
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanConnEthernet, AnyOtherTypeWritesNothing) {
    gw.add("Ethernet.Link.1");
    gw.forget();
    for (const int32_t type : {kLinkDslLine, 4, 6, kLinkNone, -1}) {
        EXPECT_EQ(tarnWanConnStatusUpdate("Ethernet.Link.1", 1, type), 0);
    }
    EXPECT_TRUE(gw.writes().empty());
}

TEST_F(WanConnPpp, OfAnOpticalLinkFollowsItEvenWhenDisabled) {
    gw.add("PPP.Interface.1");
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 1, kLinkOptical), 0);
    EXPECT_EQ(gw.get("PPP.Interface.1.Status"), "Up");
    EXPECT_EQ(gw.get("PPP.Interface.1.ConnectionStatus"), "Connecting");
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 0, kLinkOptical), 0);
    EXPECT_EQ(gw.get("PPP.Interface.1.Status"), "LowerLayerDown");
    EXPECT_EQ(gw.get("PPP.Interface.1.ConnectionStatus"), "Disconnected");
}

TEST_F(WanConnPpp, OfAUsbLinkIsLeftAloneWhenDisabled) {
    gw.add("PPP.Interface.1");
    gw.forget();
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 1, kLinkUsb), 0);
    EXPECT_TRUE(gw.writes().empty());
    gw.set("PPP.Interface.1.Enable", "true");
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 1, kLinkUsb), 0);
    EXPECT_EQ(gw.get("PPP.Interface.1.Status"), "Up");
}

TEST_F(WanConnPpp, EthernetLinksOfOpticalAndUsbFollowToo) {
    gw.add("Ethernet.Link.1");
    EXPECT_EQ(tarnWanConnStatusUpdate("Ethernet.Link.1", 1, kLinkOptical), 0);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
    EXPECT_EQ(tarnWanConnStatusUpdate("Ethernet.Link.1", 0, kLinkUsb), 0);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "LowerLayerDown");
}

TEST_F(WanConnPpp, FailuresAreLogged) {
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.9", 1, kLinkUsb), 0);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnStatusUpdate : Get PPP Interface Fail"));
    gw.add("PPP.Interface.1");
    gw.refuseWrite(Operation::Set, "PPP.Interface.{i}");
    EXPECT_EQ(tarnWanConnStatusUpdate("PPP.Interface.1", 1, kLinkOptical), -5);
    EXPECT_TRUE(gw.logged("syslog", 3, "tarnWanConnStatusUpdate : Set PPP.Interface fail"));
}

TEST_F(WanConnPpp, PathThatFitsNothingWritesNothing) {
    EXPECT_EQ(tarnWanConnStatusUpdate("IP.Interface.1", 1, kLinkUsb), 0);
    EXPECT_EQ(tarnWanConnStatusUpdate("", 1, kLinkOptical), 0);
    EXPECT_TRUE(gw.log().empty());
}

TEST_F(WanConnFlap, OlderChangeThatRunsLateWritesNoLayerThatTheNewerHasWritten) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    gw.add("Ethernet.Link.1");
    EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 0, kLinkEthernet), 0);
    const kit::Thread older = takeThread();
    EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 1, kLinkEthernet), 0);
    gw.runThreads();
    older.body(older.argument);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
}

TEST_F(WanConnFlap, ChangesOfDifferentLinksBothReachAHigherLayerTheyShare) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    stack(2, "Ethernet.Link.1", "Ethernet.Interface.6");
    gw.add("Ethernet.Link.1");
    EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 0, kLinkEthernet), 0);
    const kit::Thread first = takeThread();
    link("Ethernet.Interface.6", 1, kLinkEthernet);
    first.body(first.argument);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "LowerLayerDown");
}

TEST_F(WanConnFlap, HundredFlapsOnThreadsOfTheirOwnEndInTheNewestState) {
    for (unsigned n = 1; n <= 3; ++n) {
        stack(n, "Ethernet.Link." + std::to_string(n), "Ethernet.Interface.5");
        gw.add("Ethernet.Link." + std::to_string(n));
    }
    std::vector<std::thread> threads;
    for (int flap = 0; flap < 100; ++flap) {
        EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", static_cast<uint8_t>(flap % 2), kLinkEthernet), 0);
        threads.emplace_back([this] { gw.runThreads(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (unsigned n = 1; n <= 3; ++n) {
        EXPECT_EQ(gw.get("Ethernet.Link." + std::to_string(n) + ".Status"), "Up") << n;
    }
}

TEST_F(WanConnFlap, ChangeBeyondTheBoundWaitsForAWalkThatEnds) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    gw.add("Ethernet.Link.1");
    gw.forget();
    for (int flap = 0; flap < 10 * kWalksOfALink; ++flap) {
        EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", static_cast<uint8_t>(flap % 2), kLinkEthernet), 0);
    }
    gw.runThreads();
    EXPECT_EQ(gw.count("thread starts"), kWalksOfALink);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
    link("Ethernet.Interface.5", 0, kLinkEthernet);
    EXPECT_EQ(gw.count("thread starts"), 1);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "LowerLayerDown");
}

TEST_F(WanConnFlap, ThreadsThatCannotBeCreatedDoNotCountAsWalks) {
    stack(1, "Ethernet.Link.1", "Ethernet.Interface.5");
    gw.add("Ethernet.Link.1");
    gw.refuseThreads();
    for (int flap = 0; flap <= kWalksOfALink; ++flap) {
        EXPECT_EQ(tarnWanConnUpdate("Ethernet.Interface.5", 1, kLinkEthernet), -5);
    }
    gw.refuseThreads(false);
    link("Ethernet.Interface.5", 1, kLinkEthernet);
    EXPECT_EQ(gw.get("Ethernet.Link.1.Status"), "Up");
}

}  // namespace
