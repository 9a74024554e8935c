// Everything at once in one daemon: both bus threads with every handler of the dispatch table, the main thread with
// kernel events, the timer's thread, and the threads of connection updates. The thread sanitizer's preset is what it is
// for. The number of messages is in TARN_STRESS_EVENTS.
#include <vcfg/msg_types.h>

#include <atomic>
#include <barrier>
#include <fstream>
#include <numeric>
#include <random>
#include <thread>

#include "client/fe_wire.h"
#include "commander.h"
#include "core/timer.h"
#include "facts.h"
#include "furnished.h"
#include "handlers.h"
#include "peers.h"

namespace {

constexpr unsigned kSenders = 4;
constexpr uint8_t kFirstEid = 210;
constexpr size_t kEvents = 2400;
constexpr size_t kMessagesOfAKernelEvent = 20;
constexpr size_t kMessagesOfATask = 60;
constexpr size_t kMessagesOfACommand = 100;
constexpr size_t kConnections = 12;  // what the daemon opens once, when an event first needs it
constexpr std::chrono::seconds kPatience(60);
// Nobody else sends it, and it does nothing: each timed task is seen by it.
constexpr uint32_t kTimed = VCFG_MSG_LAN_MAC_CONTROL_EVENT;

class Stress : public testing::Test {
  protected:
    void SetUp() override {
        setenv("TSAN_OPTIONS", "halt_on_error=1:second_deadlock_stack=1", 0);
        std::ofstream(bus.path("model.json")) << furnishedModel(peers.pidFile());
        bus.start({"--defaults", bus.path("model.json").string()});
    }

    static size_t wanted() {
        const char* const text = getenv("TARN_STRESS_EVENTS");
        return text != nullptr ? std::stoul(text) : kEvents;
    }

    // Each handler in its turn. Every other time round all senders have the same one at the same moment, two of them
    // for either thread; else each has an order of its own. Which of its payloads is drawn, but for the first.
    void sendSome(unsigned seed, size_t count) {
        Line main(bus, VCFG_EID_TARN, static_cast<uint8_t>(kFirstEid + seed));
        Line ground(bus, VCFG_EID_TARN_GROUND, static_cast<uint8_t>(kFirstEid + seed));
        std::mt19937 chance(seed);
        for (size_t n = 0; n < count && !HasFailure(); ++n) {
            const size_t round = n / handlers.size();
            const size_t chosen = orderOf(round, seed)[n % handlers.size()];
            const std::vector<Event>& events = handlers[chosen].events;
            moment.arrive_and_wait();
            sendOne((seed + round / 2) % 2 == 0 ? main : ground, events[round == 0 ? 0 : chance() % events.size()],
                    chosen);
        }
        moment.arrive_and_drop();
        for (Line* line : {&main, &ground}) {
            ASSERT_NO_FATAL_FAILURE(sendOne(*line, {VCFG_MSG_FAKEROOT_SYS_COMMAND, "", 0, true}, handlers.size()));
            EXPECT_EQ(line->answers(), line->asked());
            questions += line->asked();
        }
    }

    std::vector<size_t> orderOf(size_t round, unsigned seed) const {
        std::vector<size_t> order(handlers.size());
        std::iota(order.begin(), order.end(), 0);
        std::mt19937 own(static_cast<unsigned>(round * kSenders) + (round % 2 == 0 ? 0 : seed));
        std::shuffle(order.begin(), order.end(), own);
        return order;
    }

    void sendOne(Line& line, Event event, size_t handler) {
        event.eid = line.eid();
        ASSERT_TRUE(line.put(event)) << strerror(errno) << ", type " << event.type;
        ++messages;
        ASSERT_TRUE(!event.asks || line.isAnswered()) << "type " << event.type;
        if (handler < handlers.size()) {
            Sent& count = sent[handler * 2 + (line.eid() == VCFG_EID_TARN ? 0 : 1)];
            ++count.all;
            count.withPayload += event.payload.empty() ? 0 : 1;
        }
    }

    void plugAndPull(const Daemon& daemon, size_t count) {
        for (size_t n = 0; n < count && !HasFailure(); ++n) {
            EXPECT_TRUE(eventually([&] { return messages >= n * kMessagesOfAKernelEvent || HasFailure(); }, kPatience));
            daemon.kernelSays(n % 2 == 0 ? "eth0:down:0:H" : "eth0:up:1000:F");
            mostThreads = std::max(mostThreads, daemon.statusValue("Threads"));
        }
    }

    // A deletion stops the timer until something is added, and a protected setup may have deleted its poll last of all.
    static void keepTimerGoing() {
        EXPECT_EQ(tarnApplyAddObjectTmTask("never", 3600, static_cast<int32_t>(kTimed), nullptr), 1);
    }

    static void hand(size_t count) {
        for (size_t n = 0; n < count; ++n) {
            const std::string name = "stress-" + std::to_string(n);
            EXPECT_EQ(tarnApplyAddObjectTmTask(name.c_str(), 1, static_cast<int32_t>(kTimed), "timed"), 1);
            keepTimerGoing();
        }
        EXPECT_EQ(tarnApplyDeleteObjectTmTask("never"), 1);
    }

    void allAtOnce(const Daemon& daemon, Commander& commander) {
        std::vector<std::thread> threads;
        for (unsigned sender = 0; sender < kSenders; ++sender) {
            threads.emplace_back([this, sender] { sendSome(sender, wanted() / kSenders); });
        }
        threads.emplace_back([&] { plugAndPull(daemon, wanted() / kMessagesOfAKernelEvent); });
        threads.emplace_back([] { hand(wanted() / kMessagesOfATask); });
        threads.emplace_back([&] {
            for (size_t round = 0; round < wanted() / kMessagesOfACommand && !HasFailure(); ++round) {
                commander.round();
            }
            commander.expectNoAnswerTooMany();
        });
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    // Up to here the daemon has begun with all that it was sent. A timed task comes once, or is given up after a while,
    // with a word, on a machine so busy that nobody takes it.
    void expectEachHandlerRan(const Daemon& daemon) {
        const size_t timed = sentTo(kTimed) + wanted() / kMessagesOfATask;
        EXPECT_TRUE(eventually(
            [&] {
                keepTimerGoing();
                return begunBy(daemon)[loggedType(kTimed)] + daemon.logged("is lost") >= timed;
            },
            kPatience))
            << begunBy(daemon)[loggedType(kTimed)] << " of " << timed << " have come, " << daemon.logged("is lost")
            << " are lost, " << daemon.logged("fail to recv msg") << " were not taken";
        auto begun = begunBy(daemon);
        EXPECT_LE(begun[loggedType(kTimed)], timed);
        for (size_t n = 0; n < handlers.size(); ++n) {
            const auto& [type, name, events] = handlers[n];
            EXPECT_GT(sent[n * 2].withPayload, 0u) << name;
            EXPECT_GT(sent[n * 2 + 1].withPayload, 0u) << name;
            EXPECT_GE(begun[loggedType(type)], sentTo(type)) << name;
            printf("%-40s %5zu of endpoint 2, %5zu of endpoint 66\n", name, sent[n * 2].all.load(),
                   sent[n * 2 + 1].all.load());
        }
        EXPECT_EQ(daemon.logged("unknown msg type"), 0u);
        EXPECT_EQ(daemon.logged("given up"), 0u);
    }

    size_t sentTo(uint32_t type) const {
        size_t count = 0;
        for (size_t n = 0; n < handlers.size(); ++n) {
            count += handlers[n].type == type ? sent[n * 2].all + sent[n * 2 + 1].all : 0;
        }
        return count;
    }

    // What vcmd has kept is a model that it takes as a whole.
    void expectWholeModel() {
        ASSERT_EQ(bus.stop(), 0);
        const std::string kept = bus.savedFile();
        ASSERT_NO_FATAL_FAILURE(bus.start());
        EXPECT_EQ(load(kept).code, VCFG_OK) << kept;
    }

    struct Sent {
        std::atomic<size_t> all{0};
        std::atomic<size_t> withPayload{0};
    };

    Vcmd bus;
    const Peers peers{bus};
    const std::vector<Handler> handlers = allHandlers();
    std::vector<Sent> sent = std::vector<Sent>(handlers.size() * 2);  // each handler's by endpoint
    std::barrier<> moment{kSenders};
    std::atomic<size_t> messages{0};
    std::atomic<size_t> questions{0};
    size_t mostThreads = 0;
};

TEST_F(Stress, EveryHandlerRunsBesideAllOthersAndNothingIsLeft) {
    {
        const Daemon daemon(bus);
        ASSERT_TRUE(daemon.says("Run updateWanLinkStatus(NULL, true)"));
        ASSERT_TRUE(eventually([] { return askDaemon(VCFG_EID_TARN_GROUND) == VCFG_OK; }));
        ASSERT_TRUE(eventually([] { return tarnApplyDeleteObjectTmTask("nothing") == 1; }));
        ASSERT_EQ(tellDaemon(VCFG_EID_TARN, vcfg::wire::kDebugConfig, R"({"level":7})"), VCFG_DELIVERED);
        ASSERT_EQ(askDaemon(VCFG_EID_TARN), VCFG_OK);
        const size_t threads = daemon.statusValue("Threads");
        const size_t descriptors = descriptorsOf(daemon).size();
        {
            Commander commander(bus, peers.pidFile());
            allAtOnce(daemon, commander);
            questions += commander.answered();
        }
        ASSERT_FALSE(HasFailure()) << lastWords(daemon);
        expectEachHandlerRan(daemon);
        tellDaemon(VCFG_EID_TARN, VCFG_MSG_SYSTEM_LOG_STOP);
        EXPECT_TRUE(eventually([&] { return daemon.statusValue("Threads") <= threads; }, kPatience));
        EXPECT_TRUE(eventually([&] { return descriptorsOf(daemon).size() <= descriptors + kConnections; }, kPatience))
            << testing::PrintToString(descriptorsOf(daemon));
        EXPECT_GT(mostThreads, threads + 2) << "connection updates beside each other";
        EXPECT_EQ(daemon.logged("Sanitizer"), 0u);
        printf("%zu questions, each answered once; up to %zu threads; %zu descriptors, then %zu\n", questions.load(),
               mostThreads, descriptors, descriptorsOf(daemon).size());
    }
    expectWholeModel();
}

}  // namespace
