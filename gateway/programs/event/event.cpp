// Hook of the DHCP client: turns its event into the message that the monitor daemon takes.
//
//   gw-event udhcpc EVENT      the lease is in the environment
//   gw-event --print udhcpc EVENT   writes the payload to standard output instead
#include <time.h>
#include <vcfg/vcfg.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "lease.h"

namespace {

constexpr int kAttempts = 50;
constexpr long kPauseNs = 100000000;  // the daemon may be about to restart
constexpr uint32_t kTimeoutMs = 5000;

struct Free {
    void operator()(void* memory) const { free(memory); }
};
template <class Object>
using Record = std::unique_ptr<Object, Free>;

template <class Object>
Record<Object> next(int result, void* record) {
    return Record<Object>(result == VCFG_OK ? static_cast<Object*>(record) : nullptr);
}

// The client instance that this process serves, by its pid file; level 0 when there is none.
objIndex clientOf(const std::string& pidFile) {
    objIndex iid{};
    while (true) {
        void* found = nullptr;
        const auto client =
            next<Dhcpv4Client>(vcfgFeObjStructGetNextWithoutUpdate(RDM_OID_DHCPV4_CLIENT, &iid, &found), found);
        if (client == nullptr) {
            return {};
        }
        if (client->X_VORAN_PidFile == pidFile) {
            return iid;
        }
    }
}

// The options whose values the client instance keeps, by the names that it gives them.
std::vector<WantedOption> wantedOptions(const objIndex& client) {
    if (client.level == 0) {
        return {{121, "opt121"}};
    }
    std::vector<WantedOption> wanted;
    objIndex iid{};
    while (true) {
        void* found = nullptr;
        const auto option = next<Dhcpv4ClientReqOption>(
            vcfgFeSubInStructGetNext(RDM_OID_DHCPV4_CLIENT_REQ_OPT, &client, &iid, &found), found);
        if (option == nullptr) {
            return wanted;
        }
        if (option->Enable != 0 && !option->Alias.empty()) {
            wanted.push_back({option->Tag, option->Alias.c_str()});
        }
    }
}

int send(uint32_t type, const std::string& payload) {
    const size_t size = VCFG_MSG_HEADER_SIZE + payload.size() + 1;
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, size));
    if (message == nullptr || payload.size() + 1 > VCFG_MSG_PAYLOAD_MAX) {
        free(message);
        return VCFG_ERR_INVALID;
    }
    message->type = type;
    message->dstEid = VCFG_EID_TARN;
    message->length = static_cast<uint16_t>(payload.size() + 1);
    memcpy(vcfg_msg_payload(message), payload.c_str(), payload.size() + 1);
    return vcfg_msg_sendAndGetReply(message, nullptr, kTimeoutMs);
}

int deliver(uint32_t type, const std::string& payload) {
    int result = VCFG_ERR_NO_PEER;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        result = send(type, payload);
        if (result != VCFG_ERR_NO_PEER) {
            break;
        }
        const timespec pause{0, kPauseNs};
        nanosleep(&pause, nullptr);
    }
    if (result != VCFG_DELIVERED) {
        fprintf(stderr, "gw-event: the event was not delivered (%d)\n", result);
        return 1;
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const bool print = count > 1 && strcmp(arguments[1], "--print") == 0;
    const int first = print ? 2 : 1;
    if (count != first + 2 || strcmp(arguments[first], "udhcpc") != 0) {
        fprintf(stderr, "usage: gw-event [--print] udhcpc EVENT\n");
        return 2;
    }
    const auto event = leaseEvent(arguments[first + 1]);
    if (!event) {
        return 0;  // a refused or missing offer changes no lease
    }
    const std::string payload = leasePayload(*event, wantedOptions(clientOf(pidFileOf(variable("interface")))));
    if (print) {
        puts(payload.c_str());
        return 0;
    }
    return deliver(*event == LeaseEvent::Renewed ? VCFG_MSG_DHCPC_RENEWED : VCFG_MSG_DHCPC_OPTION, payload);
}
