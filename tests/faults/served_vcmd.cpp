#include "served_vcmd.h"

#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>

#include "client/fe_wire.h"
#include "injector.h"

namespace fs = std::filesystem;

namespace {

constexpr uint8_t kOwnEid = 200;
constexpr uint32_t kSoonMs = 20000;

}  // namespace

void blockSignals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    for (const int signal : {SIGTERM, SIGCHLD}) {
        sigaddset(&wanted, signal);
    }
    pthread_sigmask(SIG_BLOCK, &wanted, nullptr);
    signal(SIGPIPE, SIG_IGN);
}

vcfg::Answer ask(uint32_t type, uint32_t oid, const objIndex& at, const std::string& payload) {
    return vcfg::request(type, oid, at, payload, vcfg::Deadline::ofCall(kSoonMs));
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kSoonMs);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

Home::Home() {
    std::string name = "/tmp/vcmd_faults_XXXXXX";
    path_ = mkdtemp(name.data());
    for (const char* one : {"run", "data", "hooks", "hooks/apply", "hooks/refresh"}) {
        fs::create_directory(path_ / one);
        fs::permissions(path_ / one, fs::perms::owner_all);
    }
    hook("apply", "exit 0");
    hook("refresh", "echo '{\"Status\":\"Up\"}'");
    setenv("VCFG_RUN_DIR", (path_ / "run").c_str(), 1);
    setenv("VCFG_DATA_DIR", (path_ / "data").c_str(), 1);
}

void Home::hook(const char* kind, const char* script) {
    const fs::path file = path_ / "hooks" / kind / "PPP.Interface.{i}";
    std::ofstream(file) << "#!/bin/sh\n" << script << "\n";
    fs::permissions(file, fs::perms::owner_all);
}

Served::Served() {
    vcmd_.options.runDir = home_.path("run");
    vcmd_.options.dataDir = home_.path("data");
    vcmd_.options.hookDir = home_.path("hooks");
    thread_ = std::thread([this] {
        if (setUp(vcmd_)) {
            const faults::Exposed serving;
            lost_ = !run(vcmd_);
        }
    });
    static const int registered = vcfg_msg_eidInit(kOwnEid, "faults");
    EXPECT_EQ(registered, VCFG_OK);
    EXPECT_TRUE(eventually([] { return ask(vcfg::wire::kPing).code == VCFG_OK; }));
}

Served::~Served() {
    if (!lost_) {
        kill(getpid(), SIGTERM);  // taken by vcmd's descriptor; all threads but its block it
    }
    thread_.join();
}
