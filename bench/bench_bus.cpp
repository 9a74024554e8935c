// Round trips and one-way messages of the bus beside a bare socket and D-Bus, in rounds that alternate between them.
#include <sys/socket.h>
#include <sys/stat.h>
#include <systemd/sd-bus.h>
#include <vcfg/msg.h>

#include <cstring>
#include <memory>
#include <string>

#include "client/deadline.h"
#include "peers.h"
#include "pinned.h"

namespace {

using bench::Samples;

constexpr uint8_t kServerEid = 100;
constexpr size_t kSmall = 200;
constexpr size_t kLarge = 65000;
constexpr int kRounds = 40;
constexpr int kTrips = 500;
constexpr int kLargeTrips = 100;
constexpr int kDbusTrips = 100;
constexpr int kBatch = 20000;
constexpr uint32_t kOneWayType = VCFG_MSG_NO_REPLY | 1;

void serveBus(const std::function<void()>& ready) {
    if (vcfg_msg_eidInit(kServerEid, "bench") != 0 || vcfg_msg_serverInit() != 0) {
        return;
    }
    ready();
    vcfg_msg_t* message = nullptr;
    while (vcfg_msg_serverRecv(&message, 0) == 0) {
        if (message->type == kOneWayType) {
            free(message);
            continue;
        }
        message->dstEid = message->srcEid;
        message->srcEid = kServerEid;
        vcfg_msg_serverSend(message);
    }
}

vcfg_msg_t* newMessage(uint32_t type, size_t payload) {
    auto* message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload));
    message->type = type;
    message->srcEid = 101;
    message->dstEid = kServerEid;
    message->length = static_cast<uint16_t>(payload);
    return message;
}

void busRoundTrip(size_t payload) {
    vcfg_msg_t* reply = nullptr;
    if (vcfg_msg_sendAndGetReply(newMessage(1, payload), &reply, 0) != 0) {
        fprintf(stderr, "bench: the bus does not answer\n");
        exit(1);
    }
    free(reply);
}

double timed(const std::function<void()>& work) {
    timespec from{};
    timespec to{};
    clock_gettime(CLOCK_MONOTONIC, &from);
    work();
    clock_gettime(CLOCK_MONOTONIC, &to);
    return static_cast<double>(to.tv_sec - from.tv_sec) * 1e6 + static_cast<double>(to.tv_nsec - from.tv_nsec) / 1e3;
}

void repeat(Samples& samples, int times, const std::function<void()>& trip) {
    for (int each = 0; each < times; ++each) {
        samples.us.push_back(timed(trip));
    }
}

double bareBatch(int socket) {
    std::string packet(VCFG_MSG_HEADER_SIZE + kSmall, 'x');
    return timed([&] {
        for (int each = 0; each < kBatch; ++each) {
            send(socket, packet.data(), packet.size(), 0);
        }
        char mark = 'x';
        send(socket, &mark, 1, 0);
        recv(socket, &mark, 1, 0);
    });
}

// The server takes messages of a connection in order, but this round trip has a connection of its own: it ends at most
// one turn early, which is little beside the batch.
double busBatch() {
    return timed([] {
        for (int each = 0; each < kBatch; ++each) {
            if (vcfg_msg_sendAndGetReply(newMessage(kOneWayType, kSmall), nullptr, 0) != VCFG_DELIVERED) {
                exit(1);
            }
        }
        busRoundTrip(0);
    });
}

struct Results {
    Samples bare, bus, bareLarge, busLarge, dbus, bareBatch, busBatch;
};

int overs = 0;

void row(const char* what, double value, const char* unit, double ratio, double target, bool atLeast) {
    const bool met = atLeast ? ratio >= target : ratio <= target;
    overs += met ? 0 : 1;
    printf("%-44s %10.1f %-5s %6.2fx  %s%.1fx  %s\n", what, value, unit, ratio, atLeast ? ">=" : "<=", target,
           met ? "PASS" : "over");
}

void print(Results& all) {
    const double bare = all.bare.at(0.5);
    const double rate = kBatch * 1e6 / all.bareBatch.at(0.5);
    printf("%-44s %10.1f us      1.00x\n", "bare socket, 56 + 200 bytes, median", bare);
    printf("%-44s %10.1f us      1.00x\n", "bare socket, 56 + 200 bytes, 99th percentile", all.bare.at(0.99));
    printf("%-44s %10.1f us    %6.2fx\n", "bare socket, 56 + 65000 bytes, median", all.bareLarge.at(0.5),
           all.bareLarge.at(0.5) / bare);
    printf("%-44s %10.0f msg/s   1.00x\n", "bare socket, one way", rate);
    row("bus round trip, 56 + 200 bytes, median", all.bus.at(0.5), "us", all.bus.at(0.5) / bare, 1.5, false);
    row("bus round trip, 56 + 200 bytes, 99th pct.", all.bus.at(0.99), "us", all.bus.at(0.99) / all.bare.at(0.99), 2.5,
        false);
    row("bus round trip, 56 + 65000 bytes, median", all.busLarge.at(0.5), "us", all.busLarge.at(0.5) / bare, 4, false);
    const double busRate = kBatch * 1e6 / all.busBatch.at(0.5);
    row("bus, one way", busRate, "msg/s", busRate / rate, 0.7, true);
    row("D-Bus method call, 200 bytes, beside the bus", all.dbus.at(0.5), "us", all.dbus.at(0.5) / all.bus.at(0.5), 3,
        true);
}

void measure(const std::string& directory) {
    const int echoListener = bench::listenBare(directory + "/echo");
    const int sinkListener = bench::listenBare(directory + "/sink");
    const bench::PrivateDbus dbusDaemon(directory);
    const bench::Peer bareEcho([&](const auto& ready) { ready(), bench::serveBareEcho(echoListener); });
    const bench::Peer bareSink([&](const auto& ready) { ready(), bench::serveBareSink(sinkListener); });
    const bench::Peer bus(serveBus);
    const bench::Peer dbusEcho([&](const auto& ready) {
        sd_bus* served = bench::openDbus(dbusDaemon.address());
        bench::serveDbusEcho(served);
        ready();
        while (sd_bus_process(served, nullptr) >= 0 && sd_bus_wait(served, UINT64_MAX) >= 0) {
        }
    });
    sd_bus* dbus = bench::openDbus(dbusDaemon.address());
    const int echo = bench::connectBare(directory + "/echo");
    const int sink = bench::connectBare(directory + "/sink");
    std::string small(VCFG_MSG_HEADER_SIZE + kSmall, 'x');
    std::string large(VCFG_MSG_HEADER_SIZE + kLarge, 'x');
    const std::string payload(kSmall, 'x');
    Results all;
    for (int round = 0; round < kRounds; ++round) {
        repeat(all.bare, kTrips, [&] { bench::bareRoundTrip(echo, small); });
        repeat(all.bus, kTrips, [] { busRoundTrip(kSmall); });
        repeat(all.bareLarge, kLargeTrips, [&] { bench::bareRoundTrip(echo, large); });
        repeat(all.busLarge, kLargeTrips, [] { busRoundTrip(kLarge); });
        repeat(all.dbus, kDbusTrips, [&] { bench::dbusRoundTrip(dbus, payload); });
        all.bareBatch.us.push_back(bareBatch(sink));
        all.busBatch.us.push_back(busBatch());
    }
    print(all);
    sd_bus_close_unref(dbus);
}

}  // namespace

int main() {
    char directory[] = "/tmp/bench-bus-XXXXXX";
    if (mkdtemp(directory) == nullptr) {
        perror("bench");
        return 1;
    }
    const std::string runDirectory = std::string(directory) + "/run";
    setenv("VCFG_RUN_DIR", runDirectory.c_str(), 1);
    bench::pinToOneCpu();
    measure(directory);
    for (const char* name : {"/echo", "/sink", "/dbus", "/dbus.conf", "/run/eid-100", "/run", ""}) {
        remove((std::string(directory) + name).c_str());
    }
    return overs == 0 ? 0 : 1;
}
