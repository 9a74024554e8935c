// The daemons as they ship: what a step of a data-model walk costs at both ends of a long table, and whether vcmd or
// tarn grows with the messages it has handled. All processes share one CPU.
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <vcfg/vcfg.h>

#include <cstring>
#include <string>

#include "pinned.h"

namespace {

using bench::Samples;

constexpr int kInstances = 250;
constexpr int kWalks = 200;
constexpr int kEnd = 10;  // instances at each end that are compared
constexpr int kWarmUp = 20000;
constexpr int kMessages = 100000;
constexpr int kClients = 32;
constexpr int kReports = 500;
constexpr double kStepTarget = 1.2;
constexpr long kGrowthTargetKiB = 64;  // a page or two may still be touched for the first time

class Daemon {
  public:
    explicit Daemon(const char* program) {
        process_ = fork();
        if (process_ == 0) {
            const int quiet = open("/dev/null", O_RDWR | O_CLOEXEC);
            dup2(quiet, STDOUT_FILENO);
            dup2(quiet, STDERR_FILENO);
            execl(program, program, "--foreground", static_cast<char*>(nullptr));
            _exit(127);
        }
    }
    ~Daemon() {
        kill(process_, SIGKILL);
        waitpid(process_, nullptr, 0);
    }
    Daemon(const Daemon&) = delete;
    Daemon& operator=(const Daemon&) = delete;

    // Memory of its own that is in use, KiB.
    long memory() const {
        const std::string path = "/proc/" + std::to_string(process_) + "/status";
        FILE* const file = fopen(path.c_str(), "re");
        char line[256];
        long anonymous = -1;
        while (file != nullptr && fgets(line, sizeof line, file) != nullptr) {
            static_cast<void>(sscanf(line, "RssAnon: %ld kB", &anonymous));
        }
        if (file != nullptr) {
            fclose(file);
        }
        return anonymous;
    }

  private:
    pid_t process_ = -1;
};

void await(const std::string& socket) {
    for (int tries = 0; access(socket.c_str(), F_OK) != 0; ++tries) {
        if (tries > 5000) {
            fprintf(stderr, "bench: %s does not appear\n", socket.c_str());
            exit(1);
        }
        usleep(1000);
    }
}

double microseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

void addInstances() {
    for (int i = 0; i < kInstances; ++i) {
        objIndex iid{};
        if (vcfgFeObjStructAdd(RDM_OID_IP_IFACE, &iid, nullptr) != VCFG_OK) {
            fprintf(stderr, "bench: instance %d cannot be added\n", i + 1);
            exit(1);
        }
    }
}

bool walkCostsTheSameAtBothEnds() {
    Samples first;
    Samples last;
    for (int walk = 0; walk < kWalks; ++walk) {
        objIndex iid{};
        for (int step = 0; step < kInstances; ++step) {
            void* record = nullptr;
            const double start = microseconds();
            if (vcfgFeObjStructGetNextWithoutUpdate(RDM_OID_IP_IFACE, &iid, &record) != VCFG_OK) {
                return false;
            }
            const double took = microseconds() - start;
            free(record);
            if (step < kEnd || step >= kInstances - kEnd) {
                (step < kEnd ? first : last).us.push_back(took);
            }
        }
    }
    const double ratio = last.at(0.5) / first.at(0.5);
    const bool met = ratio <= kStepTarget;
    printf("%-44s %8.1f us %8.1f us %8.2fx  <= %.1fx  %s\n", "walk over 250 instances: first, last step", first.at(0.5),
           last.at(0.5), ratio, kStepTarget, met ? "met" : "OVER");
    return met;
}

void send(uint32_t type, const std::string& payload) {
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload.size() + 1));
    message->type = type;
    message->dstEid = VCFG_EID_TARN;
    message->length = static_cast<uint16_t>(payload.size() + 1);
    memcpy(vcfg_msg_payload(message), payload.c_str(), payload.size() + 1);
    vcfg_msg_sendAndGetReply(message, nullptr, 0);
}

// Each message reads the model, so vcmd works as hard as the daemon. A relayed command at the end is answered when all
// before it has been handled.
void sendMessages(int count) {
    for (int i = 0; i < count; ++i) {
        send(VCFG_MSG_DHCP6C, R"({"addrAssigned":true,"pidfile":"/run/nobody.pid","addr":"2001:db8::1"})");
    }
    auto* const last = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE));
    last->type = VCFG_MSG_FAKEROOT_SYS_COMMAND;
    last->dstEid = VCFG_EID_TARN;
    vcfg_msg_t* reply = nullptr;
    vcfg_msg_sendAndGetReply(last, &reply, 0);
    free(reply);
}

void write(uint32_t oid, uint8_t instance, const std::string& parameters) {
    objIndex parent{};
    const objIndex iid{1, {instance}};
    void* record = nullptr;
    objIndex wanted = iid;
    if (vcfgFeObjStructGetWithoutUpdate(oid, &wanted, &record) != VCFG_OK) {
        vcfgFeObjStructAdd(oid, &parent, nullptr);
    }
    free(record);
    if (vcfgFeObjWrite(oid, &iid, parameters.c_str(), VCFG_FE_WRITE_NO_APPLY, nullptr) != VCFG_OK) {
        fprintf(stderr, "bench: %s is refused\n", parameters.c_str());
        exit(1);
    }
}

std::string filled(const char* text, int number) {
    std::string result = text;
    for (size_t at = result.find('#'); at != std::string::npos; at = result.find('#')) {
        result.replace(at, 1, std::to_string(number));
    }
    return result;
}

void addClients() {
    write(RDM_OID_RA_INTF_SET, 1, "{}");
    write(RDM_OID_ROUTING_ROUTER, 1, "{}");
    for (int i = 1; i <= kClients; ++i) {
        const auto number = static_cast<uint8_t>(i);
        const bool onPpp = i % 2 == 0;
        write(RDM_OID_IP_IFACE, number,
              filled(R"({"Enable":true,"IPv6Enable":true,"Status":"Up","X_VORAN_IfName":"wan#",)", i) +
                  filled(onPpp ? R"("LowerLayers":"PPP.Interface.#"})" : R"("LowerLayers":"Ethernet.Link.#"})", i));
        write(RDM_OID_DHCPV4_CLIENT, number,
              filled(R"({"Interface":"IP.Interface.#","X_VORAN_PidFile":"/run/c#.pid"})", i));
        write(RDM_OID_DHCPV6_CLIENT, number,
              filled(R"({"Interface":"IP.Interface.#","X_VORAN_PidFile":"/run/d#.pid"})", i));
        write(RDM_OID_PPP_IFACE, number, filled(R"({"X_VORAN_LinkName":"ppp#","ConnectionStatus":"Connecting"})", i));
    }
}

// Reports of all clients in turn, every one of them with something new in it.
void reportRate(const char* name, uint32_t type, const char* report) {
    const double start = microseconds();
    for (int i = 0; i < kReports; ++i) {
        std::string payload = filled(report, i % (kClients / 2) * 2 + (type == VCFG_MSG_PPPD ? 2 : 1));
        payload.replace(payload.find('@'), 1, std::to_string(i % 250 + 1));
        send(type, payload);
    }
    sendMessages(0);
    printf("%-44s %8.0f a second with %d clients\n", name, kReports / (microseconds() - start) * 1e6, kClients);
}

void measureReports() {
    addClients();
    reportRate("DHCPv4 leases", VCFG_MSG_DHCPC_BOUND,
               R"({"addressAssigned":true,"pidfile":"/run/c#.pid","ip":"192.0.2.@","subnet":"255.255.255.0"})");
    reportRate("PPP ups", VCFG_MSG_PPPD, R"({"state":"up","linkname":"ppp#","ip":"192.0.2.@","remote":"192.0.2.254"})");
    reportRate("DHCPv6 reports", VCFG_MSG_DHCP6C,
               R"({"addrAssigned":true,"pidfile":"/run/d#.pid","addr":"2001:db8::@","nameserver":"2001:db8::53"})");
    reportRate(
        "router advertisements", VCFG_MSG_RA_INFO,
        R"({"ifName":"wan#","router_lifetime":1800,"m_flag":128,"router":"fe80::1","prefix":"2001:db8:@::","prefix_len":64})");
}

bool staysSmall(const char* name, long before, long after) {
    const bool met = before > 0 && after - before <= kGrowthTargetKiB;
    char label[64];
    snprintf(label, sizeof label, "%s before, after 100,000 messages", name);
    printf("%-44s %7ld KiB %7ld KiB %+7ld KiB <= %ld  %s\n", label, before, after, after - before, kGrowthTargetKiB,
           met ? "met" : "OVER");
    return met;
}

bool memoryDoesNotGrow(const Daemon& vcmd, const Daemon& tarn) {
    sendMessages(kWarmUp);
    const long vcmdBefore = vcmd.memory();
    const long tarnBefore = tarn.memory();
    sendMessages(kMessages);
    const bool vcmdMet = staysSmall("vcmd", vcmdBefore, vcmd.memory());
    return staysSmall("tarn", tarnBefore, tarn.memory()) && vcmdMet;
}

}  // namespace

int main() {
    char directory[] = "/tmp/bench_daemons.XXXXXX";
    if (mkdtemp(directory) == nullptr) {
        perror("mkdtemp");
        return 1;
    }
    const std::string run = std::string(directory) + "/run";
    const std::string data = std::string(directory) + "/data";
    mkdir(run.c_str(), 0700);
    mkdir(data.c_str(), 0700);
    setenv("VCFG_RUN_DIR", run.c_str(), 1);
    setenv("VCFG_DATA_DIR", data.c_str(), 1);
    setenv("VCFG_HOOK_DIR", (std::string(directory) + "/hooks").c_str(), 1);
    bench::pinToOneCpu();
    if (unshare(CLONE_NEWNET) != 0) {  // advertisements change the kernel's routes: not those of this machine
        perror("a network namespace of its own");
        return 1;
    }

    bool met = false;
    {
        const Daemon vcmd(VCMD_PATH);
        await(run + "/eid-1");
        vcfg_msg_eidInit(200, "bench");
        addInstances();
        met = walkCostsTheSameAtBothEnds();
        for (int i = kInstances; i > 2; --i) {
            const objIndex iid{1, {static_cast<uint8_t>(i)}};
            vcfgFeObjStructDel(RDM_OID_IP_IFACE, &iid, nullptr);
        }
        const Daemon tarn(TARN_PATH);
        await(run + "/eid-2");
        met = memoryDoesNotGrow(vcmd, tarn) && met;
        measureReports();
    }
    const std::string remove = std::string("rm -rf ") + directory;
    return system(remove.c_str()) == 0 && met ? 0 : 1;
}
