// An endpoint's server, among three clients who send it packets of any kind, end their connections at any moment, and
// wait for its answers or do not. An input is some acts, one behind the other; its first byte says which.
#include <vcfg/codes.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <set>
#include <vector>

#include "client/bus_server.h"
#include "client/run_dir.h"
#include "own_directory.h"
#include "pieces.h"
#include "raw_client.h"
#include "target.h"

using namespace vcfg::bus;

namespace {

constexpr int kMostActs = 16;
constexpr uint8_t kEid = 77;
constexpr size_t kMostHeld = 64;

struct Taken {
    MessagePtr message;
    ConnectionId from;
};

Server& server() {
    static const std::unique_ptr<Server> own = [] {
        meetInOwnDirectory();
        int code = VCFG_OK;
        return Server::open(kEid, &code);
    }();
    if (own == nullptr) {
        finding("no server");
    }
    return *own;
}

class Story {
  public:
    void act(std::string_view bytes) {
        const size_t what = static_cast<uint8_t>(bytes[0]) % 8;
        bytes.remove_prefix(1);
        if (what < clients_.size()) {
            send(clients_[what], bytes);
        } else if (!bytes.empty() && what < 5) {
            RawClient& client = clients_[static_cast<uint8_t>(bytes[0]) % clients_.size()];
            what == 3 ? client.hangUp() : client.finish();
        } else if (!taken_.empty()) {
            what == 7 ? server_.close(taken_.back().from) : answer(bytes, what == 6);
        }
        takeAll();
    }

    void end() {
        for (RawClient& client : clients_) {
            while (const auto packet = client.receive()) {
                const auto found = answers_.find(*packet);
                if (found == answers_.end()) {
                    finding("an answer that nobody gave");
                }
                answers_.erase(found);
            }
            client.hangUp();
        }
        takeAll();
    }

  private:
    void send(RawClient& client, std::string_view packet) {
        if (client.send(packet)) {
            sent_.emplace(packet);
        }
    }

    void takeAll() {
        Taken next{};
        while ((next.message = server_.receive(&next.from)) != nullptr) {
            const std::string_view packet(reinterpret_cast<const char*>(next.message.get()),
                                          VCFG_MSG_HEADER_SIZE + next.message->length);
            const auto found = sent_.find(packet);
            if (found == sent_.end()) {
                finding("a message that nobody sent");
            }
            sent_.erase(found);
            if (taken_.size() < kMostHeld) {
                taken_.push_back(std::move(next));
            }
        }
    }

    // The last one that has come.
    void answer(std::string_view payload, bool byRequester) {
        const Taken taken = std::move(taken_.back());
        taken_.pop_back();
        std::vector<char> packet(VCFG_MSG_HEADER_SIZE + payload.size());
        auto* const message = reinterpret_cast<vcfg_msg_t*>(packet.data());
        memcpy(packet.data(), taken.message.get(), VCFG_MSG_HEADER_SIZE);
        std::swap(message->srcEid, message->dstEid);
        message->type |= VCFG_MSG_NO_REPLY;
        message->length = static_cast<uint16_t>(payload.size());
        memcpy(packet.data() + VCFG_MSG_HEADER_SIZE, payload.data(), payload.size());
        answers_.emplace(packet.data(), packet.size());
        int code = VCFG_OK;
        byRequester ? static_cast<void>(server_.answerRequester(*message, taken.from, &code))
                    : static_cast<void>(server_.answer(taken.from, *message));
    }

    Server& server_ = server();
    std::array<RawClient, 3> clients_{RawClient(socketPath(kEid)), RawClient(socketPath(kEid)),
                                      RawClient(socketPath(kEid))};
    std::multiset<std::string, std::less<>> sent_;
    std::multiset<std::string, std::less<>> answers_;
    std::vector<Taken> taken_;
};

}  // namespace

void handleInput(std::string_view bytes) {
    server();
    Story story;
    forEachPiece(bytes, kMostActs, [&](std::string_view act) {
        if (!act.empty()) {
            story.act(act);
        }
    });
    story.end();
}
