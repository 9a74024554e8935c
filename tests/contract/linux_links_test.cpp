// The daemon on a plain machine: a network namespace of this one, with real cables.
#include <sched.h>
#include <signal.h>

#include <cstdlib>
#include <fstream>
#include <optional>

#include "daemon_world.h"

namespace {

constexpr const char* kModel = R"({
  "version": 1,
  "objects": {
    "Ethernet.Interface.1": {"Enable": true, "Status": "Up", "Name": "wan0", "Upstream": true},
    "Ethernet.Interface.2": {"Enable": true, "Status": "Down", "Name": "enp1s0.3999-lan"},
    "Ethernet.Link.1": {"Enable": true, "Status": "Down", "Name": "wan0", "LowerLayers": "Ethernet.Interface.1"},
    "InterfaceStack.1": {"HigherLayer": "Ethernet.Link.1", "LowerLayer": "Ethernet.Interface.1"}
  }
})";

class LinuxLinks : public testing::Test {
  protected:
    void SetUp() override {
        if (unshare(CLONE_NEWNET) != 0) {
            GTEST_SKIP() << "this needs the right to make a network namespace";
        }
        std::ofstream(bus.path("defaults.json")) << kModel;
        bus.start({"--defaults", bus.path("defaults.json").string()});
    }
    void ip(const std::string& words) { EXPECT_EQ(system(("ip " + words).c_str()), 0) << words; }
    void cable(const std::string& name, const std::string& far) {
        ip("link add " + name + " type veth peer name " + far);
        ip("link set " + name + " up");
        ip("link set " + far + " up");
    }
    void batch(int count, const std::function<std::string(int)>& line) {
        const std::string file = bus.path("batch").string();
        {
            std::ofstream output(file);
            for (int n = 0; n < count; ++n) {
                output << line(n) << '\n';
            }
        }
        ip("-batch " + file);
    }
    static EthernetInterface port(uint8_t n) { return record<EthernetInterface>(iid({n})); }
    static bool becomes(uint8_t n, const char* status) {
        return eventually([&] { return port(n).Status == status; });
    }
    static void started(const Daemon& daemon) {
        ASSERT_TRUE(daemon.says("Run updateWanLinkStatus(NULL, true)"));
        ASSERT_EQ(askDaemon(VCFG_EID_TARN), VCFG_OK);
    }
    Vcmd bus;
};

class LinuxLinkThatIsUp : public LinuxLinks {
  protected:
    void SetUp() override {
        LinuxLinks::SetUp();
        if (IsSkipped()) {
            return;
        }
        cable("wan0", "far0");
        daemon.emplace(bus);
        started(*daemon);
        ASSERT_TRUE(becomes(1, "Up"));
    }
    std::optional<Daemon> daemon;
};

TEST_F(LinuxLinks, PulledCableIsSeenAndPluggedInAgain) {
    cable("wan0", "far0");
    const Daemon daemon(bus);
    started(daemon);
    EXPECT_TRUE(eventually([] { return port(1).MaxBitRate == 10000 && port(1).DuplexMode == "Full"; }));
    EXPECT_TRUE(becomes(1, "Up"));
    ip("link set far0 down");
    EXPECT_TRUE(becomes(1, "Down"));
    EXPECT_TRUE(daemon.says("payload: wan0:down:0:H"));
    EXPECT_TRUE(daemon.says("updateWanLinkStatus: Ethernet Link link down"));
    ip("link set far0 up");
    EXPECT_TRUE(daemon.says("payload: wan0:up:10000:F"));
    EXPECT_TRUE(becomes(1, "Up"));
    EXPECT_TRUE(eventually([] { return record<EthernetLink>(iid({1})).Status == "Up"; }, std::chrono::seconds(60)));
}

TEST_F(LinuxLinks, StartFindsOutHowThePortsAre) {
    cable("enp1s0.3999-lan", "far1");
    const Daemon daemon(bus);
    started(daemon);
    EXPECT_TRUE(becomes(1, "Down")) << "there is no such card";
    EXPECT_TRUE(becomes(2, "Up"));
}

TEST_F(LinuxLinks, RestartedDaemonFindsThemOutAgain) {
    cable("wan0", "far0");
    {
        const Daemon daemon(bus);
        started(daemon);
        EXPECT_TRUE(becomes(1, "Up"));
    }
    ip("link set far0 down");
    const Daemon again(bus, "", "again");
    EXPECT_TRUE(becomes(1, "Down"));
}

TEST_F(LinuxLinkThatIsUp, CardThatIsTakenOutAndComesBackIsDownAndUp) {
    ip("link del wan0");
    EXPECT_TRUE(becomes(1, "Down"));
    cable("wan0", "far0");
    EXPECT_TRUE(becomes(1, "Up"));
}

TEST_F(LinuxLinkThatIsUp, RenamedPortIsDownByItsOldNameAndUpByItsNew) {
    ip("link set wan0 down");
    ip("link set wan0 name enp1s0.3999-lan");
    ip("link set enp1s0.3999-lan up");
    EXPECT_TRUE(becomes(1, "Down"));
    EXPECT_TRUE(becomes(2, "Up"));
}

TEST_F(LinuxLinkThatIsUp, LinksThatTheModelDoesNotKnowAreNotSpokenOf) {
    ip("link set far0 down");
    ASSERT_TRUE(becomes(1, "Down"));
    EXPECT_EQ(daemon->logged("far0"), 0u);
}

TEST_F(LinuxLinkThatIsUp, FiveHundredEventsASecondEndInTheTrueStateAndLeaveTheBusServed) {
    for (int second = 0; second < 4; ++second) {
        batch(500, [](int n) { return std::string("link set far0 ") + (n % 2 == 0 ? "down" : "up"); });
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(askDaemon(VCFG_EID_TARN), VCFG_OK);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    }
    EXPECT_TRUE(becomes(1, "Up"));
    ip("link set far0 down");
    EXPECT_TRUE(becomes(1, "Down"));
}

TEST_F(LinuxLinkThatIsUp, LostEventsAreMadeUpForByOneLookAtAllPorts) {
    cable("other0", "other1");
    kill(daemon->pid(), SIGSTOP);
    batch(4000, [](int n) { return "link set other0 alias n" + std::to_string(n); });
    ip("link del wan0");
    kill(daemon->pid(), SIGCONT);
    EXPECT_TRUE(becomes(1, "Down"));
    EXPECT_EQ(daemon->logged("link events of the kernel are lost, all ports are looked at"), 1u);
    cable("wan0", "far0");
    EXPECT_TRUE(becomes(1, "Up")) << "and it goes on";
}

TEST_F(LinuxLinkThatIsUp, WhatThePlainMachineLacksMakesNoErrorLine) {
    ip("link set far0 down");
    ASSERT_TRUE(daemon->says("updateWanLinkStatus: Ethernet Link link down"));
    for (const char* words : {"not found", "No such file", "nonexistent", "no process found"}) {
        EXPECT_EQ(daemon->logged(words), 0u) << words;
    }
}

TEST_F(LinuxLinks, PortThatIsOffIsSwitchedOnAtStart) {
    ip("link add wan0 type veth peer name far0");
    ip("link set far0 up");
    const Daemon daemon(bus);
    started(daemon);
    EXPECT_TRUE(becomes(1, "Up"));
}

}  // namespace
