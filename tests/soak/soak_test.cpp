// Many mixed events over the real bus to a real daemon with its vcmd: what it holds stays the same, and who asked is
// answered once. The number of events is in TARN_SOAK_EVENTS.
#include <atomic>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "daemon_world.h"
#include "lines.h"

namespace {

constexpr int kSenders = 3;
constexpr uint8_t kOwnEid = 200;
constexpr unsigned kParts = 10;
// What the daemon opens once, when an event first needs it.
constexpr size_t kConnections = 4;
constexpr size_t kGrowthKiB = 1024;

// A session of WPS lasts on behind its messages, and what runs its payload would run the hostile ones.
bool isMixedIn(const PayloadSeeds& seeds) {
    return seeds.name != "payload_wps" && !seeds.runsItsPayload;
}

// What the fuzz targets begin with, hostile and ordinary, and questions to both endpoints.
std::vector<Event> mixedEvents() {
    std::vector<Event> events;
    for (const PayloadSeeds& seeds : kPayloadSeeds) {
        if (!isMixedIn(seeds)) {
            continue;
        }
        for (Event& seed : seedsOf(seeds)) {
            events.push_back(std::move(seed));
        }
    }
    for (size_t ordinary = events.size(), n = 0; n < ordinary / 4; ++n) {
        events.push_back({VCFG_MSG_FAKEROOT_SYS_COMMAND, "sum", VCFG_EID_TARN, true});
        events.push_back({VCFG_MSG_FAKEROOT_SYS_COMMAND, "sum", VCFG_EID_TARN_GROUND, true});
        events.push_back({VCFG_MSG_FAKEROOT_SHELL_COMMAND, std::string("true\0", 5), VCFG_EID_TARN, true});
    }
    return events;
}

struct Held {
    size_t privateKiB = 0;
    size_t descriptors = 0;
    size_t threads = 0;
};

Held heldBy(pid_t process) {
    const std::string files = "/proc/" + std::to_string(process);
    Held held;
    std::ifstream memory(files + "/smaps_rollup");
    for (std::string line; std::getline(memory, line);) {
        if (line.rfind("Private_Clean:", 0) == 0 || line.rfind("Private_Dirty:", 0) == 0) {
            held.privateKiB += std::stoul(line.substr(14));
        }
    }
    for (const auto& [folder, count] : {std::pair{"/fd", &held.descriptors}, std::pair{"/task", &held.threads}}) {
        *count = static_cast<size_t>(
            std::distance(std::filesystem::directory_iterator(files + folder), std::filesystem::directory_iterator{}));
    }
    return held;
}

class Soak : public testing::Test {
  protected:
    void SetUp() override {
        std::filesystem::copy_file(MODEL, bus.path("model.json"));
        bus.start({"--defaults", bus.path("model.json").string()});
    }

    // Each on its own connections, with kernel events from the first of them.
    void sendSome(const Daemon& daemon, unsigned seed, size_t count) {
        Line main(bus, VCFG_EID_TARN, kOwnEid);
        Line ground(bus, VCFG_EID_TARN_GROUND, kOwnEid);
        std::mt19937 chance(seed);
        for (size_t n = 0; n < count; ++n) {
            if (seed % kSenders == 0 && n % 100 == 0) {
                daemon.kernelSays(n % 200 == 0 ? "eth0:up:1000:F" : "eth0:down:0:H");
            }
            const Event& event = events[chance() % events.size()];
            Line& line = event.eid == VCFG_EID_TARN ? main : ground;
            ASSERT_TRUE(line.put(event)) << strerror(errno);
            ASSERT_TRUE(!event.asks || line.isAnswered()) << "type " << event.type << ", event " << n;
        }
        for (Line* line : {&main, &ground}) {
            // An answer too many would come before this one's.
            ASSERT_TRUE(line->put({VCFG_MSG_FAKEROOT_SYS_COMMAND, "", line->eid(), true}));
            ASSERT_TRUE(line->isAnswered());
            EXPECT_EQ(line->answers(), line->asked());
            questions += line->asked();
        }
    }

    void sendAll(const Daemon& daemon, unsigned round, size_t count) {
        std::vector<std::thread> senders;
        for (unsigned sender = 0; sender < kSenders; ++sender) {
            senders.emplace_back([&, sender] { sendSome(daemon, round * kSenders + sender, count / kSenders); });
        }
        for (std::thread& sender : senders) {
            sender.join();
        }
    }

    // When the connection updates that are under way have ended, and the senders' connections are seen to be closed.
    Held heldAtRest(const Daemon& daemon, size_t threads, size_t descriptors) {
        Held held;
        EXPECT_TRUE(eventually(
            [&] {
                held = heldBy(daemon.pid());
                return held.threads <= threads && held.descriptors <= descriptors;
            },
            std::chrono::seconds(60)))
            << held.threads << " threads and " << held.descriptors << " descriptors are left";
        return held;
    }

    Vcmd bus;
    const std::vector<Event> events = mixedEvents();
    std::atomic<size_t> questions{0};
};

void print(size_t sent, const char* who, const Held& held) {
    printf("%zu events: %s has %zu KiB of its own memory, %zu descriptors, %zu threads\n", sent, who, held.privateKiB,
           held.descriptors, held.threads);
}

// The first half fills the model, and the memory that the threads of connection updates share.
TEST_F(Soak, WhatIsHeldStaysTheSameAndWhoAskedIsAnsweredOnce) {
    const char* const wanted = getenv("TARN_SOAK_EVENTS");
    const size_t part = (wanted != nullptr ? std::stoul(wanted) : 20000) / kParts;
    const Daemon daemon(bus);
    ASSERT_TRUE(daemon.says("Run updateWanLinkStatus(NULL, true)"));
    ASSERT_TRUE(eventually([] { return askDaemon(VCFG_EID_TARN_GROUND) == VCFG_OK; }));
    const Held atStart = heldBy(daemon.pid());
    Held daemonThen;
    Held vcmdThen;
    for (unsigned round = 1; round <= kParts; ++round) {
        ASSERT_NO_FATAL_FAILURE(sendAll(daemon, round, part));
        const Held daemonNow = heldAtRest(daemon, atStart.threads, atStart.descriptors + kConnections);
        const Held vcmdNow = heldBy(bus.pid());
        print(part * round, "tarn", daemonNow);
        print(part * round, "vcmd", vcmdNow);
        if (round == kParts / 2) {
            daemonThen = daemonNow;
            vcmdThen = vcmdNow;
        }
    }
    printf("%zu questions, each answered once\n", questions.load());
    for (const auto& [pid, then] : {std::pair{daemon.pid(), daemonThen}, std::pair{bus.pid(), vcmdThen}}) {
        const Held now = heldBy(pid);
        EXPECT_LE(now.privateKiB, then.privateKiB + kGrowthKiB);
        EXPECT_LE(now.descriptors, then.descriptors + kConnections);
        EXPECT_EQ(now.threads, then.threads);
    }
}

}  // namespace
