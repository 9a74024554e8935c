// Requests to vcmd, up to eight in a row on one model, by the connections of two clients. Each begins with its number,
// the object's and the instance's numbers (level, then one byte each), then comes the payload. The number's highest bit
// chooses the client; number 127 is no request, but a packet as it stands there.
#include <sys/stat.h>
#include <vcfg/codes.h>
#include <vcfg/msg_types.h>

#include <array>
#include <cstring>

#include "client/fe_wire.h"
#include "client/run_dir.h"
#include "own_directory.h"
#include "raw_client.h"
#include "target.h"
#include "vcmd/vcmd.h"

using namespace vcfg::vcmd;
namespace wire = vcfg::wire;

namespace {

constexpr char kNextRequest = '\x1e';
constexpr int kMostRequests = 8;
constexpr uint8_t kSecondClient = 0x80;
constexpr uint8_t kAsItStands = 0x7f;
constexpr uint32_t kFirstId = 0x40000000;  // not those of packets as they stand
constexpr size_t kModelSize = size_t{8} << 20;
constexpr uint32_t kRequests[] = {wire::kSet,
                                  wire::kSetNoApply,
                                  wire::kSetAndWait,
                                  wire::kAdd,
                                  wire::kDelete,
                                  wire::kWrite,
                                  wire::kLoadPart,
                                  wire::kLoad,
                                  wire::kChangeAll,
                                  wire::kRefresh,
                                  wire::kWatch,
                                  wire::kPing,
                                  wire::kService,
                                  wire::kSave,
                                  wire::kStartUp,
                                  wire::kDebugConfig,
                                  VCFG_MSG_INIT_DATAMODEL_FIN,
                                  0};

// As the process has it, with a model that is empty between the inputs.
struct Configurator {
    Vcmd vcmd;
    uint32_t revision = 0;

    Configurator() {
        meetInOwnDirectory();
        vcmd.options.runDir = ownDirectory();
        vcmd.options.dataDir = ownDirectory() + "/data";
        vcmd.options.hookDir = ownDirectory() + "/hooks";
        vcmd.options.modelSize = kModelSize;
        if (mkdir(vcmd.options.dataDir.c_str(), 0700) != 0 || !setUp(vcmd)) {
            finding("no vcmd");
        }
    }

    void beginAnew() {
        if (vcmd.store.revision() != revision && vcmd.store.clear(nullptr) != VCFG_OK) {
            finding("the model cannot be emptied");
        }
        revision = vcmd.store.revision();
        vcmd.watchers.all.clear();
        vcmd.watchers.news.clear();
        vcmd.announcer.completed = false;
    }

    void goRound() {
        while (serveRequests(vcmd)) {
        }
        forgetLoading(vcmd);
        tendHooks(vcmd.hooks);
        tellWatchers(vcmd.watchers, *vcmd.server);
    }
};

uint8_t takeByte(std::string_view& bytes) {
    const auto byte = static_cast<uint8_t>(bytes.empty() ? 0 : bytes[0]);
    bytes.remove_prefix(bytes.empty() ? 0 : 1);
    return byte;
}

std::string packetOf(uint8_t number, std::string_view bytes, uint32_t id) {
    vcfg_msg_t envelope{};
    envelope.type = kRequests[number % std::size(kRequests)];
    envelope.srcEid = VCFG_EID_VHTTPD;
    envelope.dstEid = VCFG_EID_VCMD;
    envelope.requestId = id;
    envelope.oid = takeByte(bytes);
    envelope.objIid.level = takeByte(bytes);
    for (size_t i = 0; i < sizeof envelope.objIid.idx && i < envelope.objIid.level; ++i) {
        envelope.objIid.idx[i] = takeByte(bytes);
    }
    envelope.length = static_cast<uint16_t>(bytes.size());
    return std::string(reinterpret_cast<const char*>(&envelope), VCFG_MSG_HEADER_SIZE).append(bytes);
}

// How many answers to it have come, and whether one says no.
struct Answered {
    int count = 0;
    bool refused = false;
};

Answered answersTo(uint32_t id, RawClient& client) {
    Answered answered;
    while (const auto packet = client.receive()) {
        vcfg_msg_t answer{};
        memcpy(&answer, packet->data(), std::min<size_t>(packet->size(), VCFG_MSG_HEADER_SIZE));
        const bool isAnswer = answer.requestId == id && answer.type != wire::kChange;
        answered.count += isAnswer ? 1 : 0;
        answered.refused = answered.refused || (isAnswer && answer.statCode != 0);
    }
    return answered;
}

void ask(Configurator& configurator, RawClient& client, uint8_t number, std::string_view bytes) {
    static uint32_t id = kFirstId;
    if (number == kAsItStands) {
        client.send(bytes);
        configurator.goRound();
        return static_cast<void>(answersTo(0, client));
    }
    const uint32_t before = configurator.vcmd.store.revision();
    const bool isSent = client.send(packetOf(number, bytes, ++id));
    configurator.goRound();
    const Answered answered = answersTo(id, client);
    if (!isSent || answered.count != 1) {
        finding("a request has " + std::to_string(answered.count) + " answers");
    }
    if (answered.refused && configurator.vcmd.store.revision() != before) {
        finding("a refused request has changed the model");
    }
}

}  // namespace

void handleInput(std::string_view bytes) {
    static Configurator configurator;
    static std::array<RawClient, 2> clients{RawClient(vcfg::bus::socketPath(VCFG_EID_VCMD)),
                                            RawClient(vcfg::bus::socketPath(VCFG_EID_VCMD))};
    configurator.beginAnew();
    for (int count = 0; count < kMostRequests && !bytes.empty() && bytes.size() < VCFG_MSG_PAYLOAD_MAX; ++count) {
        const size_t end = bytes.find(kNextRequest);
        std::string_view request = bytes.substr(0, end);
        const uint8_t number = takeByte(request);
        ask(configurator, clients[number >= kSecondClient ? 1 : 0], number % kSecondClient, request);
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    for (RawClient& client : clients) {
        client.hangUp();
    }
    configurator.goRound();
}
