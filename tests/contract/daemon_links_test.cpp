// The daemon's link events over a real bus: messages to itself, and a storm of them.
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "connection/link_walks.h"
#include "core/os.h"
#include "daemon_world.h"
#include "link/link_event.h"

namespace {

using Clock = std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kStorm = 300;
constexpr bool kMemoryCounts = false;  // a sanitizer's shadow fills the address space
#else
constexpr int kStorm = 1000;
constexpr bool kMemoryCounts = true;
#endif

constexpr const char* kModel = R"({
  "version": 1,
  "objects": {
    "Ethernet.Interface.5": {"Enable": true, "Status": "Down", "Name": "eth0.5", "Upstream": true},
    "Ethernet.Link.1": {"Enable": true, "Status": "Down", "Name": "eth0.5", "LowerLayers": "Ethernet.Interface.5"},
    "InterfaceStack.1": {"HigherLayer": "Ethernet.Link.1", "LowerLayer": "Ethernet.Interface.5"}
  }
})";

class DaemonLinks : public testing::Test {
  protected:
    // A connection that waits to be accepted.
    void connectTo(uint8_t eid) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        bus.path("run/eid-" + std::to_string(eid)).string().copy(address.sun_path, sizeof address.sun_path - 1);
        const int descriptor = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
        descriptors.push_back(descriptor);
    }
    ~DaemonLinks() override {
        for (const int descriptor : descriptors) {
            close(descriptor);
        }
    }
    Vcmd bus;
    std::vector<int> descriptors;
};

// In this process, which serves the endpoint and takes nothing.
TEST_F(DaemonLinks, MessageToOneselfIsGivenUpAfterThreeSeconds) {
    ASSERT_EQ(vcfg_msg_eidInit(VCFG_EID_TARN, "tarn"), VCFG_OK);
    ASSERT_EQ(vcfg_msg_serverInit(), VCFG_OK);
    for (int n = 0; n < 140; ++n) {
        connectTo(VCFG_EID_TARN);
    }
    const auto start = Clock::now();
    EXPECT_EQ(WANAutoDetectEthStart(), -1);
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(2900));
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(20));
    ASSERT_EQ(vcfg_msg_eidInit(200, "test"), VCFG_OK);
}

TEST_F(DaemonLinks, StormOfKernelEventsTakesFewThreadsAndLeavesTheBusServed) {
    std::ofstream(bus.path("defaults.json")) << kModel;
    bus.start({"--defaults", bus.path("defaults.json").string()});
    const Daemon daemon(bus);
    ASSERT_TRUE(daemon.says("Run updateWanLinkStatus(NULL, true)"));
    size_t threads = 0;
    auto slowest = Clock::duration::zero();
    for (int n = 0; n < kStorm; ++n) {
        daemon.kernelSays(n % 2 == 0 ? "eth0.5:up:1000:F" : "eth0.5:down:0:H");
        if (n % 100 == 99) {
            threads = std::max(threads, daemon.statusValue("Threads"));
            const auto start = Clock::now();
            tellDaemon(VCFG_EID_TARN, VCFG_MSG_WAN_LINK);  // a link event, too: it waits for its turn, but not for long
            EXPECT_EQ(askDaemon(VCFG_EID_TARN), VCFG_OK);
            slowest = std::max(slowest, Clock::now() - start);
        }
    }
    EXPECT_LT(slowest, std::chrono::seconds(1));
    EXPECT_LE(threads, kWalksOfALink + 8u);
    if (kMemoryCounts) {
        EXPECT_LT(daemon.statusValue("VmPeak"), 64u << 10);  // KiB
    }
    daemon.kernelSays("eth0.5:up:1000:F");
    EXPECT_TRUE(eventually(
        [] {
            return record<EthernetLink>(iid({1})).Status == "Up" && record<EthernetInterface>(iid({5})).Status == "Up";
        },
        std::chrono::seconds(100)));
}

// The daemon rewrites status, rate and time of change at each of them: state, which is in memory.
TEST_F(DaemonLinks, HundredLinkFlapsWriteNothingToTheFlash) {
    std::ofstream(bus.path("defaults.json")) << kModel;
    bus.start({"--defaults", bus.path("defaults.json").string()});
    const Daemon daemon(bus);
    ASSERT_TRUE(daemon.says("Run updateWanLinkStatus(NULL, true)"));
    ASSERT_EQ(ask(vcfg::wire::kSave).code, VCFG_OK);
    const DirectoryChanges changes(bus.data());
    const auto follows = [&](const char* event, bool up) {
        daemon.kernelSays(event);
        return eventually([&] { return (record<EthernetLink>(iid({1})).Status == "Up") == up; },
                          std::chrono::seconds(60));
    };
    for (int n = 0; n < 100; ++n) {
        ASSERT_TRUE(follows("eth0.5:up:1000:F", true)) << n;
        ASSERT_TRUE(follows("eth0.5:down:0:H", false)) << n;
    }
    EXPECT_EQ(ask(vcfg::wire::kSave).code, VCFG_OK);
    EXPECT_EQ(changes.count(), 0u);
    EXPECT_EQ(writeJson(RDM_OID_IP, {}, R"({"IPv4Enable":true})"), VCFG_OK);
    EXPECT_EQ(ask(vcfg::wire::kSave).code, VCFG_OK);
    EXPECT_GT(changes.count(), 0u) << "the counting works";
}

TEST_F(DaemonLinks, FileOnAFullDiskCanBeOpenedAllTheSame) {
    EXPECT_TRUE(os::writeFile("/dev/full", "text"));
    EXPECT_FALSE(os::writeFile(bus.path("missing/file").string(), "text"));
}

}  // namespace
