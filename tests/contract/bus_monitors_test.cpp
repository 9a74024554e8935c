// Who looks at the bus costs the others nothing that they would wait for.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vcfg/loop.h>

#include <atomic>
#include <fstream>
#include <thread>

#include "bus_world.h"
#include "client/deadline.h"
#include "client/holder.h"
#include "client/listener.h"
#include "client/monitors.h"

namespace {

namespace bus = vcfg::bus;

// A monitor that reads when it is told to.
class Monitor {
  public:
    explicit Monitor(bool whole = false)
        : number_(bus::freshMonitorNumber()), listener_(bus::listenForPackets(bus::monitorPath(number_), 16)) {
        looks_ = bus::takePlace(number_, whole, &place_);
    }
    ~Monitor() {
        bus::leavePlace(number_);
        unlink(bus::monitorPath(number_).c_str());
        die();
    }
    Monitor(const Monitor&) = delete;
    Monitor& operator=(const Monitor&) = delete;

    // As a killed one does: what it has in the run directory stays.
    void die() {
        for (int* const descriptor : {&listener_, &connection_}) {
            if (*descriptor >= 0) {
                close(*descriptor);
            }
            *descriptor = -1;
        }
    }
    bool looks() const { return looks_; }
    uint32_t lost() const { return bus::lostOf(place_); }
    std::string file() const { return bus::monitorPath(number_); }

    // The payload of the next copy of the first sender, room for one byte too many; "" when there is none.
    std::string next(bus::CopyHeader* header = nullptr) {
        std::string bytes(sizeof(bus::CopyHeader) + VCFG_MSG_HEADER_SIZE + VCFG_MSG_PAYLOAD_MAX + 1, '\0');
        if (connection_ < 0) {
            connection_ = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        }
        const ssize_t size = recv(connection_, bytes.data(), bytes.size(), MSG_DONTWAIT);
        constexpr size_t kBegin = sizeof(bus::CopyHeader) + VCFG_MSG_HEADER_SIZE;
        if (size < static_cast<ssize_t>(kBegin)) {
            return "";
        }
        if (header != nullptr) {
            memcpy(header, bytes.data(), sizeof *header);
        }
        return bytes.substr(kBegin, static_cast<size_t>(size) - kBegin);
    }

  private:
    uint8_t number_;
    int listener_;
    int connection_ = -1;
    size_t place_ = 0;
    bool looks_ = false;
};

class BusMonitors : public BusWorld {
  protected:
    BusMonitors() { vcfg_msg_eidInit(kClient, "client"); }

    std::string rosterFile() const { return directory + "/roster"; }
    static bool isOpen(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

    // With whatever is in the place of the roster, the bus does its work.
    static void talk() {
        const Process server(echoServer(kServer, ""));
        EXPECT_EQ("hello", payloadOf(ask("hello")));
        EXPECT_EQ(VCFG_DELIVERED, tell("hello"));
    }
};

TEST_F(BusMonitors, MonitorGetsACopyOfWhatIsSent) {
    const Process server(echoServer(kServer, "echo:"));
    Monitor monitor;
    ASSERT_TRUE(monitor.looks());
    EXPECT_EQ(0u, monitor.lost());
    EXPECT_EQ("echo:hello", payloadOf(ask("hello")));
    bus::CopyHeader header{};
    EXPECT_EQ("hello", monitor.next(&header));
    EXPECT_EQ(bus::Passing::Call, header.passing);
    EXPECT_EQ(bus::ownProgram(), header.program.data());
    EXPECT_EQ("", monitor.next());
}

TEST_F(BusMonitors, MonitorGetsACopyOfWhatAWatchAsks) {
    const Process server(echoServer(VCFG_EID_VCMD, ""));
    Monitor monitor;
    const char* const path = "IP.Interface.1.Status";
    vcfg_watch_t* watch = nullptr;
    EXPECT_EQ(VCFG_OK, vcfgWatchOpen(&path, 1, &watch));
    vcfgWatchClose(watch);
    bus::CopyHeader header{};
    EXPECT_EQ(path + std::string("\n\0", 2), monitor.next(&header));
    EXPECT_EQ(bus::Passing::Call, header.passing);
}

TEST_F(BusMonitors, EachOfFourGetsACopyAndAFifthHasNoPlace) {
    serve(kServer);
    std::array<Monitor, 4> monitors;
    EXPECT_FALSE(Monitor().looks());
    tell("hello");
    for (Monitor& each : monitors) {
        EXPECT_EQ("hello", each.next());
    }
}

TEST_F(BusMonitors, WhatDoesNotArriveIsToldToo) {
    Monitor monitor;
    int code = VCFG_OK;
    ask("hello", &code);
    EXPECT_EQ(VCFG_ERR_NO_PEER, code);
    bus::CopyHeader header{};
    EXPECT_EQ("hello", monitor.next());
    monitor.next(&header);
    EXPECT_EQ(bus::Passing::Failure, header.passing);
    EXPECT_EQ(VCFG_ERR_NO_PEER, header.code);
}

TEST_F(BusMonitors, WatchThatFailsIsToldToo) {
    Monitor monitor;
    vcfg_watch_t* watch = nullptr;
    EXPECT_EQ(VCFG_ERR_NO_PEER, vcfgWatchOpen(nullptr, 0, &watch));
    bus::CopyHeader header{};
    monitor.next(&header);
    EXPECT_EQ(bus::Passing::Call, header.passing);
    monitor.next(&header);
    EXPECT_EQ(bus::Passing::Failure, header.passing);
    EXPECT_EQ(VCFG_ERR_NO_PEER, header.code);
}

TEST_F(BusMonitors, LongPayloadIsCopiedInPart) {
    serve(kServer);
    Monitor monitor;
    tell(std::string(VCFG_MSG_PAYLOAD_MAX, 'x'));
    EXPECT_EQ(std::string(bus::kMostCopied, 'x'), monitor.next());
}

TEST_F(BusMonitors, WhoAsksForWholeCopiesGetsThemBesideOneWhoDoesNot) {
    serve(kServer);
    Monitor whole(true);
    Monitor cut;
    tell(std::string(VCFG_MSG_PAYLOAD_MAX, 'x'));
    EXPECT_EQ(std::string(VCFG_MSG_PAYLOAD_MAX, 'x'), whole.next());
    EXPECT_EQ(std::string(bus::kMostCopied, 'x'), cut.next());
}

TEST_F(BusMonitors, NotesGoToThoseAloneWhoAskForWholeCopies) {
    bus::copyNote({bus::Passing::Step, "command", "ls", 0, 0, "nobody looks"});
    Monitor cut;
    bus::copyNote({bus::Passing::Step, "command", "ls", 0, 0, "nobody asks"});
    EXPECT_EQ("", cut.next());
    Monitor whole(true);
    bus::CopyHeader header{};
    bus::copyNote({bus::Passing::Step, "command", "ls", 7, 0, std::string_view("a\0b", 3)});
    EXPECT_EQ(std::string("command\0ls\0a\0b\0", 15), whole.next(&header));
    EXPECT_EQ(bus::Passing::Step, header.passing);
    EXPECT_EQ(7, header.code);
    EXPECT_EQ("", cut.next());
}

TEST_F(BusMonitors, PlaceOfOneWhoAskedForWholeCopiesIsAnOrdinaryOneForTheNext) {
    serve(kServer);
    { const Monitor whole(true); }
    EXPECT_FALSE(bus::isRecorded());
    Monitor cut;
    tell(std::string(VCFG_MSG_PAYLOAD_MAX, 'x'));
    EXPECT_EQ(std::string(bus::kMostCopied, 'x'), cut.next());
}

TEST_F(BusMonitors, MonitorThatNeverReadsDelaysNobodyAndKnowsWhatItLost) {
    const Process server(echoServer(kServer, ""));
    const Monitor monitor;
    constexpr uint32_t kCalls = 5000;
    const int64_t before = nowMs();
    for (uint32_t each = 0; each < kCalls; ++each) {
        ASSERT_EQ("hello", payloadOf(ask("hello")));
    }
    EXPECT_LT(nowMs() - before, kSoon);
    EXPECT_GT(monitor.lost(), kCalls / 2);
    EXPECT_LT(monitor.lost(), 2 * kCalls);
}

TEST_F(BusMonitors, DeadMonitorIsClearedAwayByTheNextMessage) {
    serve(kServer);
    Monitor monitor;
    tell("seen");
    EXPECT_EQ("seen", monitor.next());
    monitor.die();
    EXPECT_TRUE(bus::isWatched());
    tell("unseen");
    EXPECT_FALSE(isOpen(monitor.file()));
    tell("to end the connection");
    EXPECT_FALSE(bus::isWatched());
}

TEST_F(BusMonitors, ConnectionToAMonitorThatLeftIsClosedWithTheNextMessage) {
    serve(kServer);
    {
        const Monitor monitor;
        tell("seen");
        EXPECT_EQ(1u, bus::openCopies.load());
    }
    tell("unseen");
    EXPECT_EQ(0u, bus::openCopies.load());
    EXPECT_FALSE(bus::isWatched());
}

TEST_F(BusMonitors, ChildProcessHasAConnectionOfItsOwn) {
    serve(kServer);
    Monitor monitor;
    tell("of the parent");
    Process child([](const Process::Ready&) { _exit(tell("of the child") == VCFG_DELIVERED ? 0 : 1); });
    EXPECT_EQ(0, child.exitStatus());
    EXPECT_EQ("of the parent", monitor.next());
    EXPECT_EQ("", monitor.next());
}

TEST_F(BusMonitors, ThreadsSendWhileMonitorsComeAndGo) {
    serve(kServer);
    std::atomic<bool> done{false};
    std::atomic<uint32_t> failed{0};
    std::vector<std::thread> senders;
    for (int each = 0; each < 3; ++each) {
        senders.emplace_back([&] {
            vcfg_msg_eidInit(kClient, nullptr);
            while (!done) {
                failed += tell("hello") == VCFG_DELIVERED ? 0 : 1;
            }
        });
    }
    std::thread receiver([&] {
        vcfg_msg_eidInit(kServer, nullptr);
        while (!done) {
            receive(10);
        }
        while (receive(100) != nullptr) {
        }
    });
    for (int each = 0; each < 50; ++each) {
        Monitor monitor;
        EXPECT_TRUE(within(kSoon, [&] { return !monitor.next().empty(); }));
        if (each % 2 == 0) {
            monitor.die();
        }
    }
    done = true;
    for (std::thread& each : senders) {
        each.join();
    }
    receiver.join();
    EXPECT_EQ(0u, failed);
}

TEST_F(BusMonitors, PlacesThatNobodyHasAreClearedAndHurtNobody) {
    const Process server(echoServer(kServer, ""));
    bus::roster.load()->monitors = 0xffeeddcc;
    EXPECT_EQ("hello", payloadOf(ask("hello")));
    EXPECT_EQ(0u, bus::roster.load()->monitors);
}

TEST_F(BusMonitors, PlaceWhereSomethingElseIsHurtsNobody) {
    const Process server(echoServer(kServer, ""));
    std::ofstream(bus::monitorPath(1)) << "no socket";
    ASSERT_EQ(0, symlink("/dev/zero", bus::monitorPath(2).c_str()));
    ASSERT_EQ(0, mkfifo(bus::monitorPath(3).c_str(), 0600));
    ASSERT_EQ(0, symlink("eid-100", bus::monitorPath(4).c_str()));
    bus::roster.load()->monitors = 0x04030201;
    EXPECT_EQ("hello", payloadOf(ask("hello")));
    EXPECT_EQ("again", payloadOf(ask("again")));
}

TEST_F(BusMonitors, WhatIsNoRosterIsNotUsed) {
    const auto replace = [this](const std::function<void()>& make) {
        remove(rosterFile().c_str());
        make();
        talk();
    };
    replace([&] { std::ofstream(rosterFile()) << "short"; });
    replace([&] { std::ofstream(rosterFile()) << std::string(100000, 'x'); });
    replace([&] { mkdir(rosterFile().c_str(), 0700); });
    replace([&] { mkfifo(rosterFile().c_str(), 0600); });
    replace([&] { static_cast<void>(!symlink("/etc/passwd", rosterFile().c_str())); });
}

TEST_F(BusMonitors, WhatIsNoRosterIsNotKeptOpen) {
    remove(rosterFile().c_str());
    std::ofstream(rosterFile()) << "short";
    Process process([](const Process::Ready&) {
        const int before = open("/dev/null", O_RDONLY);
        close(before);
        for (int each = 0; each < 10; ++each) {
            bus::attachRoster();
        }
        _exit(open("/dev/null", O_RDONLY) == before ? 0 : 1);
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusMonitors, RosterThatWasRemovedIsMadeAnewAndFoundByNewConnections) {
    serve(kServer);
    tell("by the first one");
    ASSERT_EQ(0, remove(rosterFile().c_str()));
    const Process server(echoServer(kServer, ""));
    EXPECT_EQ("hello", payloadOf(ask("hello")));
    const Monitor monitor;
    EXPECT_EQ("hello", payloadOf(ask("hello")));
    EXPECT_TRUE(isOpen(rosterFile()));
    EXPECT_TRUE(bus::isWatched());
}

TEST_F(BusMonitors, RosterIsForWhomeverTheRunDirectoryIs) {
    const auto modeOf = [](const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : 0;
    };
    serve(kServer);
    EXPECT_EQ(0600u, modeOf(rosterFile()));
    EXPECT_EQ(0600u, modeOf(Monitor().file()));
    ASSERT_EQ(0, remove(rosterFile().c_str()));
    ASSERT_EQ(0, chmod(directory.c_str(), 0770));
    vcfg_msg_eidInit(kClient, "client");
    EXPECT_EQ(0660u, modeOf(rosterFile()));
    const Monitor monitor;
    EXPECT_EQ(0660u, modeOf(monitor.file()));
}

TEST_F(BusMonitors, ServerSignsWithItsNameAndSinceWhenItServes) {
    const int64_t before = vcfg::monotonicUs();
    serve(kServer);
    const bus::Holder holder = bus::holderOf(kServer);
    EXPECT_EQ(bus::ownProgram(), holder.program);
    EXPECT_EQ(getpid(), holder.process);
    EXPECT_GE(holder.sinceUs, before);
    EXPECT_LE(holder.sinceUs, vcfg::monotonicUs());
}

TEST_F(BusMonitors, KilledServerIsKnownByWhatItSaid) {
    Process server(echoServer(kServer, ""));
    const pid_t process = server.id();
    server.kill();
    const bus::Holder holder = bus::holderOf(kServer);
    EXPECT_EQ(bus::Holder::State::Dead, holder.state);
    EXPECT_EQ(process, holder.process);
    EXPECT_EQ(bus::ownProgram(), holder.program);
}

TEST_F(BusMonitors, NameInTheRosterIsNoMoreThanAName) {
    serve(kServer);
    std::string name = "a\x1b[2J\nb";
    for (size_t each = 0; each < bus::roster.load()->entries[kServer].program.size(); ++each) {
        bus::roster.load()->entries[kServer].program[each] = each < name.size() ? name[each] : 'x';
    }
    const std::string shown = bus::holderOf(kServer).program;
    EXPECT_EQ("a?[2J?b", shown.substr(0, 7));
    EXPECT_EQ(bus::Roster::kLongestProgram, shown.size());
}

}  // namespace
