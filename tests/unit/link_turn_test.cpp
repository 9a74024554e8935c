// Link events that come while another one is being handled.
#include "link/link_turn.h"

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

#include "link/internet_led.h"
#include "link/optical.h"
#include "unit/wan_fixture.h"

namespace {

constexpr auto kLongWait = std::chrono::seconds(20);  // only a failing test waits that long
constexpr const char* kLook = "updateWanLinkStatus: linkInfo iface name: usb";
constexpr const char* kNotice = "VCFG_MSG_INIT_DATAMODEL_FIN, send to VCMD";

class LinkTurn : public testing::Test {
  protected:
    LinkTurn() {
        gw.usbPort(1, "Down");
        gw.ethernetPort(5, "eth0.5", "Down");
        wan.WANPriority = 10;  // no fail-over
        gw.tableBuilt();
    }
    ~LinkTurn() override { join(); }

    template <class Event>
    void onItsOwnThread(const Event& event) {
        const uint32_t before = linkTurn.waiting();
        threads.emplace_back(event);
        awaitWaiting(before + 1);
    }
    // A thread that has asked for its turn stays where it is until it comes.
    static void awaitWaiting(uint32_t count) {
        const auto end = std::chrono::steady_clock::now() + kLongWait;
        while (linkTurn.waiting() != count && std::chrono::steady_clock::now() < end) {
            std::this_thread::yield();
        }
        EXPECT_EQ(linkTurn.waiting(), count);
    }
    void join() {
        for (std::thread& thread : threads) {
            thread.join();
        }
        threads.clear();
    }
    // Place of the first and the last such line in the log, -1 without one.
    long first(const std::string& part) const {
        const auto lines = gw.log();
        const auto found = std::find_if(lines.begin(), lines.end(),
                                        [&](const LogLine& line) { return line.text.find(part) != std::string::npos; });
        return found != lines.end() ? found - lines.begin() : -1;
    }
    long last(const std::string& part) const {
        const auto lines = gw.log();
        const auto found = std::find_if(lines.rbegin(), lines.rend(),
                                        [&](const LogLine& line) { return line.text.find(part) != std::string::npos; });
        return lines.rend() - found - 1;
    }

    WanGateway gw;
    std::vector<std::thread> threads;
};

TEST_F(LinkTurn, CompletionNoticeFollowsTheCompletionsOwnLook) {
    linkTurn.lock();
    onItsOwnThread([this] { gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO); });
    EXPECT_TRUE(gw.requests().empty());
    EXPECT_EQ(first(kLook), -1);
    linkTurn.unlock();
    join();
    EXPECT_NE(first(kLook), -1);
    EXPECT_LT(last(kLook), first(kNotice));
    EXPECT_EQ(gw.requests().size(), 1u);
}

TEST_F(LinkTurn, LanStepFollowsTheWanStepOfItsEvent) {
    linkTurn.lock();
    onItsOwnThread([] { updateLinkStatus("eth0.5:up:100:F"); });
    EXPECT_EQ(first("updateLanLinkStatus"), -1);
    linkTurn.unlock();
    join();
    EXPECT_NE(first("payload: eth0.5:up:100:F"), -1);
    EXPECT_LT(last(kLook), first("updateLanLinkStatus: msgData: eth0.5:up:100:F"));
}

TEST_F(LinkTurn, FinishedHuntIsForgottenWhenTheNextEventsTurnComes) {
    gw.set("Ethernet.Interface.5.Status", "Up");
    gw.set("X_VORAN_VlanAutoHunt.Enable", "true");
    gw.set("X_VORAN_VlanAutoHunt.Interface.1.Interface", "IP.Interface.1");
    gw.add("IP.Interface.1");
    gw.whileRunning(kRouteCommands[0], [this] {
        gw.whileRunning(kRouteCommands[0], nullptr);
        onItsOwnThread([] { updateLinkStatus("eth0.5:up:100:F"); });
    });
    gw.receiveEmpty(VCFG_MSG_AUTO_HUNT_FINISHED);  // looks at the port that is up, and must not hunt on it again
    join();
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].type, VCFG_MSG_INIT_DATAMODEL_FIN);
    EXPECT_EQ(wan.isAutoHuntFinished, 0);
}

TEST_F(LinkTurn, FiveLooksAreFive) {
    linkTurn.lock();
    for (int n = 0; n < 5; ++n) {
        onItsOwnThread([this] { gw.receiveEmpty(VCFG_MSG_WAN_LINK); });
    }
    linkTurn.unlock();
    join();
    EXPECT_EQ(gw.count(kLook), 5);
}

// A look, and an optical report that comes while it is under way and whose handling waits for the look's thread to be
// through with its message.
class LinkTurnOfTwo : public LinkTurn {
  protected:
    void handleBoth(const std::function<void()>& inTheReport) {
        gw.set("USB.Interface.1.Status", "Up");
        std::promise<void> lookIsOver;
        gw.whileRunning(kRouteCommands[0], [&] {
            gw.whileRunning(kRouteCommands[0], [&] {
                lookEndedFirst = lookIsOver.get_future().wait_for(kLongWait) == std::future_status::ready;
                inTheReport();
            });
            onItsOwnThread([this] { gw.receive(VCFG_MSG_OPTICAL_LINK_STATUS, R"({"serviceStatus":true})"); });
        });
        gw.receiveEmpty(VCFG_MSG_WAN_LINK);
        lookIsOver.set_value();
        join();
    }
    LinkTurnOfTwo() {
        gw.opticalPort(1, "Down");
        forgetWanLinks();
        gw.tableBuilt();
    }
    bool lookEndedFirst = false;
};

TEST_F(LinkTurnOfTwo, HandlingTimeNamesTheMessageThatTookIt) {
    handleBoth([this] { gw.advance(2500); });
    EXPECT_TRUE(gw.logged("vlog", 4, "process msg type = 290 without reply, oid = 0, from EID = 15 by 2500 ms"));
    EXPECT_EQ(first("process msg type = 1007 without reply, oid = 0, from EID = 15 by"), -1);
}

TEST_F(LinkTurnOfTwo, ThreadIsFreeWhenItsOwnEventIsOver) {
    handleBoth([] {});
    EXPECT_TRUE(lookEndedFirst);
    EXPECT_EQ(statusOf("opt"), 1);
}

TEST_F(LinkTurn, EventsComeInTheOrderOfTheirArrival) {
    linkTurn.lock();
    for (const char* event : {"usb1:up", "usb2:up", "usb3:up", "usb4:up"}) {
        onItsOwnThread([event] { updateLinkStatus(event); });
    }
    linkTurn.unlock();
    join();
    EXPECT_LT(last("payload: usb1:up"), first("payload: usb2:up"));
    EXPECT_LT(last("payload: usb2:up"), first("payload: usb3:up"));
    EXPECT_LT(last("payload: usb3:up"), first("payload: usb4:up"));
}

TEST_F(LinkTurn, EventThatFailsGivesItsTurnToTheNext) {
    gw.set("USB.Interface.1.Status", "Up");
    gw.whileRunning(kRouteCommands[0], [this] {
        gw.whileRunning(kRouteCommands[0], nullptr);
        onItsOwnThread([] { updateLinkStatus("eth0.5:up:100:F"); });
        throw std::runtime_error("no more");
    });
    gw.receiveEmpty(VCFG_MSG_WAN_LINK);
    join();
    EXPECT_TRUE(gw.logged("vlog", 3, "VCFG_MSG_WAN_LINK: given up: no more"));
    EXPECT_EQ(statusOf("eth0.5"), 1);
}

TEST_F(LinkTurn, OpticalReportAndCompletionWaitForTheirs) {
    linkTurn.lock();
    onItsOwnThread([] { updateOpticalLinkStatus("{}"); });
    onItsOwnThread([this] { gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO); });
    EXPECT_EQ(first("Enter updateOpticalLinkStatus"), -1);
    EXPECT_EQ(first(kLook), -1);
    EXPECT_TRUE(gw.requests().empty());
    linkTurn.unlock();
    join();
    EXPECT_EQ(gw.requests().size(), 1u);
}

TEST_F(LinkTurn, StartUpScriptsNeedNone) {
    linkTurn.lock();
    onItsOwnThread([this] { gw.receiveEmpty(VCFG_MSG_INIT_DATAMODEL_FIN); });
    EXPECT_EQ(gw.commands(), words::startScripts());
    EXPECT_EQ(first(kLook), -1);
    linkTurn.unlock();
    join();
    EXPECT_NE(first(kLook), -1);
}

TEST_F(LinkTurn, LedUpdateOfAMessageNeedsNone) {
    linkTurn.lock();
    threads.emplace_back([this] { gw.receiveEmpty(VCFG_MSG_WAN_INTERNET_LED_UPDATE); });
    join();  // comes back although another thread has the turn
    linkTurn.unlock();
    EXPECT_EQ(wan.lastInternetLedState, 0);
}

TEST_F(LinkTurn, SecondCompletionWaitsForTheTableAndThenLooks) {
    forgetWanLinks();
    wan.wanLinkInfoInit = 0;
    gw.whileRunning(words::activate("eth0.5").front(),
                    [this] { onItsOwnThread([this] { gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO); }); });
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    join();
    EXPECT_EQ(gw.count("initializing list of WANDevices"), 1);
    EXPECT_EQ(gw.count(kLook), 2);
    EXPECT_LT(first("Run updateWanLinkStatus(NULL, true)"), first(kLook));
    EXPECT_EQ(gw.requests().size(), 2u);
}

TEST_F(LinkTurn, TableWhoseBuildFailsIsBuiltByTheNextCompletion) {
    forgetWanLinks();
    wan.wanLinkInfoInit = 0;
    gw.whileRunning(words::activate("eth0.5").front(), [] { throw std::bad_alloc(); });
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    EXPECT_TRUE(gw.loggedContaining("VCFG_MSG_INIT_WAN_LINK_INFO: given up: "));
    EXPECT_EQ(wan.wanLinkInfoInit, 0);
    gw.whileRunning(words::activate("eth0.5").front(), nullptr);
    gw.receiveEmpty(VCFG_MSG_INIT_WAN_LINK_INFO);
    EXPECT_EQ(wan.wanLinkInfoInit, 1);
    EXPECT_EQ(statusOf("eth0.5"), 0);
}

// The main thread with kernel events, both bus threads with messages, and a thread for the walks that they start.
TEST_F(LinkTurn, ThreeThreadsFullOfEventsEndInTheTrueState) {
    constexpr int kRounds = 40;
    gw.opticalPort(1, "Down");
    gw.dslLine(1, "Up");
    std::atomic<int> busy{3};
    const auto busThread = [&](uint32_t completion) {
        for (int n = 0; n < kRounds; ++n) {
            gw.receiveEmpty(completion);
            gw.receiveEmpty(VCFG_MSG_WAN_LINK);
            gw.receiveEmpty(VCFG_MSG_WAN_INTERNET_LED_UPDATE);
            gw.receive(VCFG_MSG_OPTICAL_LINK_STATUS, n % 2 == 0 ? R"({"serviceStatus":true})" : "{}");
        }
        --busy;
    };
    threads.emplace_back([&] { busThread(VCFG_MSG_INIT_WAN_LINK_INFO); });
    threads.emplace_back([&] { busThread(VCFG_MSG_AUTO_HUNT_FINISHED); });
    threads.emplace_back([&] {
        for (int n = 0; n < kRounds; ++n) {
            updateLinkStatus("ptm0:up");
            updateLinkStatus("eth0.5:down:0:H");
            updateLinkStatus("eth0.5:up:1000:F");
        }
        --busy;
    });
    while (busy > 0) {
        gw.runThreads();
    }
    join();
    gw.runThreads();
    EXPECT_EQ(statusOf("eth0.5"), 1);
    EXPECT_EQ(gw.get("Ethernet.Interface.5.Status"), "Up");
    EXPECT_EQ(gw.count(kNotice), 2 * kRounds);
    EXPECT_EQ(linkTurn.waiting(), 0u);
}

}  // namespace
