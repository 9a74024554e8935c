#include "peers.h"

#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

namespace {

constexpr std::string_view kRunning = R"({"WPSStatus":2})";

// Whatever it is asked, a setup is under way.
void answer(const vcfg_msg_t* request) {
    auto* const reply = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + kRunning.size() + 1));
    reply->type = request->type;
    reply->srcEid = VCFG_EID_WIRELESS;
    reply->dstEid = request->srcEid;
    reply->requestId = request->requestId;
    reply->length = static_cast<uint16_t>(kRunning.size() + 1);
    kRunning.copy(vcfg_msg_payload(reply), kRunning.size());
    vcfg_msg_serverSend(reply);
}

[[noreturn]] void serve() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    signal(SIGUSR1, SIG_IGN);
    signal(SIGUSR2, SIG_IGN);
    vcfg_msg_eidInit(VCFG_EID_WIRELESS, "wireless");
    vcfg_msg_t* request = nullptr;
    for (int code = vcfg_msg_serverInit(); code == VCFG_OK; code = vcfg_msg_serverRecv(&request, 0)) {
        if (request != nullptr) {
            answer(request);
            free(request);
        }
    }
    _exit(1);
}

}  // namespace

Peers::Peers(const Vcmd& bus) : pidFile_(bus.path("client.pid").string()), process_(fork()) {
    if (process_ == 0) {
        serve();
    }
    std::ofstream(pidFile_) << process_ << "\n";
    EXPECT_TRUE(eventually([&] { return std::filesystem::exists(bus.path("run/eid-40")); }));
}

Peers::~Peers() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}
