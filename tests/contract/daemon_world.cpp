#include "daemon_world.h"

#include <fcntl.h>
#include <linux/netlink.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <fstream>

namespace {

constexpr uint16_t kLinkWithText = 0x2000;

[[noreturn]] void become(const std::string& files, const std::string& fault, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int output = open((files + ".log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    close(output);
    setenv("TARN_FAULT", fault.c_str(), 1);
    setenv("TARN_ASKED", (files + ".asked").c_str(), 1);
    if (getppid() == parent) {
        execl(TARN_PATH, "tarn", "--foreground", nullptr);
    }
    _exit(127);
}

int send(uint8_t eid, uint32_t type, const std::string& payload, vcfg_msg_t** answer, uint32_t timeoutMs) {
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + payload.size() + 1));
    message->type = type;
    message->srcEid = 200;
    message->dstEid = eid;
    message->length = static_cast<uint16_t>(payload.empty() ? 0 : payload.size() + 1);
    payload.copy(vcfg_msg_payload(message), payload.size());
    return vcfg_msg_sendAndGetReply(message, answer, timeoutMs);
}

}  // namespace

Daemon::Daemon(const Vcmd& bus, const std::string& fault, const std::string& name) : files_(bus.path(name)) {
    const pid_t parent = getpid();
    pid_ = fork();
    if (pid_ == 0) {
        become(files_.string(), fault, parent);
    }
    kernel_ = socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_USERSOCK);
}

Daemon::~Daemon() {
    close(kernel_);
    if (pid_ > 0) {
        EXPECT_TRUE(runs()) << "the daemon has ended";
        kill(pid_, SIGTERM);
        waitpid(pid_, nullptr, 0);
    }
}

int Daemon::awaitEnd() {
    int status = -1;
    if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) {
        return -1;
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

bool Daemon::runs() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid == 0;
}

std::vector<std::string> Daemon::linesOf(const std::string& suffix) const {
    std::ifstream input(files_.string() + suffix);
    std::vector<std::string> lines;
    for (std::string line; std::getline(input, line);) {
        lines.push_back(line);
    }
    return lines;
}

size_t Daemon::logged(const std::string& part) const {
    const auto lines = log();
    return static_cast<size_t>(std::count_if(
        lines.begin(), lines.end(), [&](const std::string& line) { return line.find(part) != std::string::npos; }));
}

std::vector<std::string> Daemon::log() const {
    return linesOf(".log");
}

bool Daemon::says(const std::string& part) const {
    return eventually([&] { return logged(part) > 0; });
}

std::vector<std::string> Daemon::asked() const {
    return linesOf(".asked");
}

bool Daemon::asksFor(const std::string& command) const {
    return eventually([&] {
        const auto lines = asked();
        return std::find(lines.begin(), lines.end(), command) != lines.end();
    });
}

size_t Daemon::statusValue(const std::string& key) const {
    std::ifstream input("/proc/" + std::to_string(pid_) + "/status");
    for (std::string line; std::getline(input, line);) {
        if (line.rfind(key + ":", 0) == 0) {
            return std::stoul(line.substr(key.size() + 1));
        }
    }
    return 0;
}

void Daemon::kernelSays(const std::string& event) const {
    nlmsghdr header{};
    header.nlmsg_len = static_cast<uint32_t>(sizeof header + event.size() + 1);
    header.nlmsg_type = kLinkWithText;
    std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
    bytes += event + '\0';
    sockaddr_nl address{};
    address.nl_family = AF_NETLINK;
    address.nl_pid = static_cast<uint32_t>(pid_);
    EXPECT_EQ(
        sendto(kernel_, bytes.data(), bytes.size(), 0, reinterpret_cast<const sockaddr*>(&address), sizeof address),
        static_cast<ssize_t>(bytes.size()))
        << strerror(errno);
}

int askDaemon(uint8_t eid, uint32_t timeoutMs) {
    vcfg_msg_t* answer = nullptr;
    const int code = send(eid, VCFG_MSG_FAKEROOT_SYS_COMMAND, "", &answer, timeoutMs);
    free(answer);
    return code;
}

int tellDaemon(uint8_t eid, uint32_t type, const std::string& payload) {
    return send(eid, type, payload, nullptr, 20000);
}
