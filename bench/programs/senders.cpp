#include "senders.h"

#include <sys/mman.h>
#include <time.h>
#include <vcfg/msg.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>

namespace bench {
namespace {

constexpr uint8_t kReceiver = 99;
constexpr size_t kMost = 64;
constexpr double kPatienceUs = 2e6;

// What the processes see of each other.
struct Shared {
    std::atomic<bool> go;
    std::atomic<bool> stop;
    std::atomic<int> ended;
    std::atomic<uint32_t> sent[kMost];
    std::atomic<uint32_t> received[kMost];
};

Shared* share() {
    void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        fail("shared memory");
    }
    return new (memory) Shared{};
}

void pause(long milliseconds) {
    const timespec time{milliseconds / 1000, milliseconds % 1000 * 1000000};
    nanosleep(&time, nullptr);
}

[[noreturn]] void receive(Shared& shared, const std::function<void()>& ready) {
    if (vcfg_msg_eidInit(kReceiver, "receiver") != VCFG_OK || vcfg_msg_serverInit() != VCFG_OK) {
        fail("the receiver");
    }
    ready();
    for (;;) {
        vcfg_msg_t* message = nullptr;
        if (vcfg_msg_serverRecv(&message, 0) == VCFG_OK) {
            ++shared.received[message->requestId % kMost];
        }
        free(message);
    }
}

bool sendOne(uint32_t number) {
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + kPayloads[0]));
    message->type = VCFG_MSG_NO_REPLY | 1;
    message->dstEid = kReceiver;
    message->length = static_cast<uint16_t>(kPayloads[0]);
    message->requestId = number;
    return vcfg_msg_sendAndGetReply(message, nullptr, 0) == VCFG_DELIVERED;
}

[[noreturn]] void sendAlways(Shared& shared, uint32_t number, const std::function<void()>& ready) {
    vcfg_msg_eidInit(static_cast<uint8_t>(101 + number), "sender");
    shared.sent[number] += sendOne(number) ? 1 : 0;  // to come to the bus and to connect is another thing than to send
    ready();
    while (!shared.go) {
        pause(1);
    }
    while (!shared.stop) {
        shared.sent[number] += sendOne(number) ? 1 : 0;
    }
    ++shared.ended;
    for (;;) {
        pause(1000);
    }
}

uint64_t sum(const std::atomic<uint32_t>* counts) {
    uint64_t total = 0;
    for (size_t each = 0; each < kMost; ++each) {
        total += counts[each];
    }
    return total;
}

void awaitRest(const Shared& shared, int number) {
    for (double waited = 0;
         waited < kPatienceUs && (shared.ended < number || sum(shared.received) < sum(shared.sent));) {
        waited += microseconds([] { pause(1); });
    }
}

std::vector<double> result(const Shared& shared, int number, double took) {
    const auto ends = std::minmax_element(shared.received, shared.received + number,
                                          [](const auto& one, const auto& other) { return one.load() < other.load(); });
    const auto arrived = static_cast<double>(sum(shared.received));
    return {arrived * 1e6 / took, static_cast<double>(*ends.first) / std::max(1u, ends.second->load()),
            static_cast<double>(sum(shared.sent)) - arrived};
}

std::vector<double> sendTogether(int number, int milliseconds) {
    const std::unique_ptr<Shared, void (*)(Shared*)> shared(share(), [](Shared* old) { munmap(old, sizeof(Shared)); });
    const Process receiver([&](const auto& ready) { receive(*shared, ready); });
    std::vector<std::unique_ptr<Process>> all;
    all.reserve(static_cast<size_t>(number));
    for (int each = 0; each < number; ++each) {
        all.push_back(std::make_unique<Process>(
            [&](const auto& ready) { sendAlways(*shared, static_cast<uint32_t>(each), ready); }));
    }
    const double took = bench::microseconds([&] {
        shared->go = true;
        pause(milliseconds);
        shared->stop = true;
        awaitRest(*shared, number);
    });
    return result(*shared, number, took);
}

}  // namespace

Measure senders(int number) {
    return {"senders " + std::to_string(number), [=](int count) { return sendTogether(number, count); }};
}

}  // namespace bench
