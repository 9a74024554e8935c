#include "transfer.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>

#include "tool.h"

namespace {

constexpr size_t kPiece = 65536;
constexpr size_t kMostSaid = 65536;
constexpr auto kLookAround = std::chrono::milliseconds(200);
constexpr auto kMostTime = std::chrono::minutes(61);  // curl gives up before

struct Connection {
    pid_t tool = -1;
    int body = -1;  // what it downloads, or takes to upload; -1 when that is over
    int said = -1;  // what it tells at its end; -1 when it has ended
    uint64_t moved = 0;
    std::string text;
    Stamp told{};  // when it began to tell: its times count back from there
    ConnectionOutcome outcome{};
};
using Connections = std::vector<Connection>;

Stamp now() {
    return std::chrono::time_point_cast<std::chrono::microseconds>(std::chrono::system_clock::now());
}

void closeOnce(int& fd) {
    if (fd >= 0) {
        close(fd);
        fd = -1;
    }
}

void start(Connection& connection, const TransferTest& test) {
    int body[2];
    int said[2];
    if (pipe2(body, O_CLOEXEC) != 0) {
        return;
    }
    if (pipe2(said, O_CLOEXEC) != 0) {
        close(body[0]);
        close(body[1]);
        return;
    }
    const int mine = test.upload ? 1 : 0;
    const int its = body[1 - mine];
    connection.body = body[mine];
    connection.said = said[0];
    fcntl(connection.body, F_SETFL, O_NONBLOCK);
    connection.tool = startTool(transferCommand(test), {test.upload ? its : -1, test.upload ? -1 : its, said[1]});
    close(its);
    close(said[1]);
}

void readBody(Connection& connection) {
    static char piece[kPiece];
    const ssize_t got = read(connection.body, piece, sizeof piece);
    if (got > 0) {
        connection.moved += static_cast<uint64_t>(got);
    } else if (got == 0 || errno != EAGAIN) {
        closeOnce(connection.body);
    }
}

// Until the length is reached; a test by time has no end of its own.
void writeBody(Connection& connection, const TransferTest& test) {
    static const char piece[kPiece] = {};
    const uint64_t left = test.seconds != 0 ? kPiece : std::min<uint64_t>(test.length - connection.moved, kPiece);
    const ssize_t put = write(connection.body, piece, static_cast<size_t>(left));
    if (put > 0) {
        connection.moved += static_cast<uint64_t>(put);
    }
    if (left == 0 || (put < 0 && errno != EAGAIN)) {
        closeOnce(connection.body);
    }
}

void hear(Connection& connection) {
    char piece[4096];
    const ssize_t got = read(connection.said, piece, sizeof piece);
    if (connection.text.empty()) {
        connection.told = now();
    }
    if (got > 0 && connection.text.size() < kMostSaid) {
        connection.text.append(piece, static_cast<size_t>(got));
        return;
    }
    if (got > 0) {
        kill(connection.tool, SIGKILL);
    }
    closeOnce(connection.said);
    closeOnce(connection.body);
    connection.outcome = connectionOf(connection.text, statusOf(connection.tool), connection.told);
}

void serve(Connections& connections, const TransferTest& test) {
    std::vector<pollfd> waiting;
    for (const Connection& connection : connections) {
        const short direction = test.upload ? POLLOUT : POLLIN;
        waiting.push_back({connection.body, direction, 0});
        waiting.push_back({connection.said, POLLIN, 0});
    }
    poll(waiting.data(), waiting.size(), kLookAround.count());
    for (size_t i = 0; i < connections.size(); ++i) {
        if (waiting[2 * i].revents != 0) {
            test.upload ? writeBody(connections[i], test) : readBody(connections[i]);
        }
        if (waiting[2 * i + 1].revents != 0) {
            hear(connections[i]);
        }
    }
}

Sample sampleOf(const Connections& connections) {
    Sample sample{now(), 0, deviceTraffic()};
    for (const Connection& connection : connections) {
        sample.moved += connection.moved;
    }
    return sample;
}

bool runs(const Connection& connection) {
    return connection.said >= 0;
}
bool moves(const Connection& connection) {
    return connection.moved > 0;
}

// Notes what had been moved when an interval ended, and when the connections were all at work.
void measure(const Connections& connections, const TransferTest& test, TransferOutcome& outcome) {
    const auto& all = connections;
    if (outcome.loaded.at == Stamp() && std::all_of(all.begin(), all.end(), moves)) {
        outcome.loaded = outcome.unloaded = sampleOf(connections);
    }
    if (outcome.loaded.at != Stamp() && std::all_of(all.begin(), all.end(), runs)) {
        outcome.unloaded = sampleOf(connections);
    }
    if (test.interval == 0 || outcome.samples.size() > test.mostIntervals ||
        std::none_of(all.begin(), all.end(), moves)) {
        return;
    }
    const Stamp due = outcome.samples.empty() ? outcome.first.at + std::chrono::seconds(test.offset)
                                              : outcome.samples.back().at + std::chrono::seconds(test.interval);
    if (now() >= due) {
        outcome.samples.push_back(sampleOf(connections));
    }
}

}  // namespace

Traffic operator-(const Traffic& later, const Traffic& earlier) {
    return {later.received - earlier.received, later.sent - earlier.sent};
}

TransferOutcome transfer(const TransferTest& test) {
    signal(SIGPIPE, SIG_IGN);
    Connections connections(test.connections);
    TransferOutcome outcome;
    outcome.first = sampleOf(connections);
    for (Connection& connection : connections) {
        start(connection, test);
    }
    while (std::any_of(connections.begin(), connections.end(), runs)) {
        serve(connections, test);
        measure(connections, test, outcome);
        for (Connection& connection : connections) {
            if (runs(connection) && now() - outcome.first.at > kMostTime) {
                kill(connection.tool, SIGKILL);
            }
        }
    }
    outcome.last = sampleOf(connections);
    for (Connection& connection : connections) {
        outcome.connections.push_back(std::move(connection.outcome));
    }
    return outcome;
}
