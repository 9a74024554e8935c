#include "lines.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

namespace {

constexpr int kPatienceMs = 60000;

std::string contentOf(const std::filesystem::path& path) {
    std::ifstream input(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(input), {}};
}

void addMessages(const PayloadSeeds& seeds, const std::string& file, std::vector<Event>& events) {
    std::string_view bytes = file;
    do {
        const SeedMessage message = takeMessage(seeds, bytes);
        events.push_back({message.type, std::string(message.payload)});
    } while (!bytes.empty());
}

}  // namespace

std::vector<Event> seedsOf(const PayloadSeeds& seeds) {
    std::vector<Event> events;
    for (const auto& file : std::filesystem::directory_iterator(std::filesystem::path(SEEDS) / seeds.name)) {
        addMessages(seeds, contentOf(file.path()), events);
    }
    return events;
}

Line::Line(const Vcmd& bus, uint8_t eid, uint8_t ownEid)
    : eid_(eid), ownEid_(ownEid), socket_(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    bus.path("run/eid-" + std::to_string(eid)).string().copy(address.sun_path, sizeof address.sun_path - 1);
    EXPECT_EQ(connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0) << strerror(errno);
}

Line::~Line() {
    close(socket_);
}

bool Line::put(const Event& event) {
    vcfg_msg_t envelope{};
    envelope.type = event.type;
    envelope.srcEid = ownEid_;
    envelope.dstEid = event.eid;
    envelope.length = static_cast<uint16_t>(event.payload.size());
    envelope.requestId = event.asks ? ++asked_ : 0;
    envelope.objIid = event.about;
    std::string packet(reinterpret_cast<const char*>(&envelope), sizeof envelope);
    packet += event.payload;
    return send(socket_, packet.data(), packet.size(), MSG_NOSIGNAL) == static_cast<ssize_t>(packet.size());
}

bool Line::comes(int timeoutMs) const {
    pollfd ready{socket_, POLLIN, 0};
    return poll(&ready, 1, timeoutMs) == 1;
}

bool Line::isAnswered() {
    char packet[1024];
    vcfg_msg_t envelope{};
    if (!comes(kPatienceMs) || recv(socket_, packet, sizeof packet, 0) < static_cast<ssize_t>(sizeof envelope)) {
        return false;
    }
    memcpy(&envelope, packet, sizeof envelope);
    answers_ += 1;
    return envelope.requestId == asked_;
}
