#include "vcmd_kit.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace fs = std::filesystem;

namespace {

constexpr uint8_t kOwnEid = 200;

std::string content(const fs::path& path) {
    std::ifstream input(path);
    std::stringstream text;
    text << input.rdbuf();
    return text.str();
}

[[noreturn]] void become(const fs::path& log, const std::vector<std::string>& options, pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const int output = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    dup2(output, STDERR_FILENO);
    std::vector<std::string> arguments{"vcmd", "--foreground"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::vector<char*> pointers;
    pointers.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    if (getppid() == parent) {
        execv(VCMD_PATH, pointers.data());
    }
    _exit(127);
}

}  // namespace

Vcmd::Vcmd(const std::string& base) {
    std::string name = base + "/vcmd_test_XXXXXX";
    home_ = mkdtemp(name.data());
    for (const char* one : {"run", "data", "hooks", "hooks/apply", "hooks/refresh"}) {
        fs::create_directory(home_ / one);
        fs::permissions(home_ / one, fs::perms::owner_all);
    }
    setenv("VCFG_RUN_DIR", (home_ / "run").c_str(), 1);
    setenv("VCFG_DATA_DIR", (home_ / "data").c_str(), 1);
    setenv("VCFG_HOOK_DIR", (home_ / "hooks").c_str(), 1);
    static const int registered = vcfg_msg_eidInit(kOwnEid, "test");
    EXPECT_EQ(registered, VCFG_OK);
}

Vcmd::~Vcmd() {
    if (pid_ > 0) {
        EXPECT_EQ(stop(), 0) << "vcmd does not end well: " << log();
    }
    std::error_code ignored;
    fs::remove_all(home_, ignored);
}

pid_t Vcmd::launch(const std::vector<std::string>& options) {
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        become(home_ / "log", options, parent);
    }
    return child;
}

void Vcmd::start(const std::vector<std::string>& options) {
    pid_ = launch(options);
    ASSERT_TRUE(eventually([this] { return answers(); })) << "vcmd does not answer: " << log();
}

int Vcmd::stop() {
    if (pid_ > 0) {
        ::kill(pid_, SIGTERM);
    }
    return await();
}

int Vcmd::await() {
    int status = -1;
    if (!eventually([&] { return waitpid(pid_, &status, WNOHANG) == pid_; })) {
        kill9();
    }
    pid_ = -1;
    return status;
}

// A number below 1 would name processes of others.
void Vcmd::kill9() {
    if (pid_ <= 0) {
        return;
    }
    ::kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
}

void Vcmd::powerCycle() {
    kill9();
    for (const char* one : {"model.mdb", "model.mdb-lock"}) {
        fs::remove(home_ / "run" / one);
    }
    start();
}

bool Vcmd::answers() const {
    return ask(vcfg::wire::kPing).code == VCFG_OK;
}

std::string Vcmd::savedFile() const {
    return content(data() / "vcfg_config.json");
}

std::string Vcmd::log() const {
    return content(home_ / "log");
}

size_t Vcmd::logged(const std::string& part) const {
    std::istringstream lines(log());
    size_t count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.find(part) != std::string::npos ? 1 : 0;
    }
    return count;
}

// Appears complete and executable, or not at all.
void Vcmd::hook(const std::string& kind, const std::string& pattern, const std::string& script) {
    const fs::path fresh = home_ / "hook.new";
    std::ofstream(fresh) << "#!/bin/sh\ncd '" << home_.string() << "' || exit 99\n" << script << "\n";
    fs::permissions(fresh, fs::perms::owner_all);
    fs::rename(fresh, home_ / "hooks" / kind / pattern);
    EXPECT_TRUE(pid_ < 0 || answers());
}

std::string Vcmd::file(const std::string& name) const {
    return content(home_ / name);
}

DirectoryChanges::DirectoryChanges(const fs::path& directory) : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
    EXPECT_GE(inotify_add_watch(events_, directory.c_str(), IN_CREATE | IN_MODIFY | IN_MOVE | IN_DELETE), 0);
}

DirectoryChanges::~DirectoryChanges() {
    close(events_);
}

size_t DirectoryChanges::count() const {
    alignas(inotify_event) char buffer[4096];
    size_t found = 0;
    for (ssize_t got; (got = read(events_, buffer, sizeof buffer)) > 0;) {
        for (const char* at = buffer; at < buffer + got; ++found) {
            at += sizeof(inotify_event) + reinterpret_cast<const inotify_event*>(at)->len;
        }
    }
    return found;
}

vcfg::Answer ask(uint32_t request, uint32_t oid, const objIndex& at, const std::string& payload, uint32_t timeoutMs) {
    return vcfg::request(request, oid, at, payload, vcfg::Deadline::ofCall(timeoutMs));
}

std::string writeOf(const std::string& json, uint32_t requestType) {
    return std::string(reinterpret_cast<const char*>(&requestType), sizeof requestType) + json + '\0';
}

vcfg::Answer become(uint32_t requestType) {
    const vcfg::wire::WriteHeader header{requestType};
    return ask(vcfg::wire::kLoad, 0, {}, {reinterpret_cast<const char*>(&header), sizeof header});
}

vcfg::Answer load(const std::string& model, uint32_t requestType) {
    const vcfg::Answer answer = ask(vcfg::wire::kLoadPart, 0, {}, model);
    return answer.code == VCFG_OK ? become(requestType) : answer;
}

int writeJson(uint32_t oid, const objIndex& at, const std::string& json, uint32_t requestType) {
    return ask(vcfg::wire::kWrite, oid, at, writeOf(json, requestType)).code;
}

objIndex iid(std::initializer_list<uint8_t> numbers) {
    objIndex made{};
    for (const uint8_t number : numbers) {
        made.idx[made.level++] = number;
    }
    return made;
}

objIndex addInstance(uint32_t oid, const objIndex& parent) {
    const vcfg::Answer answer = ask(vcfg::wire::kAdd, oid, parent);
    EXPECT_EQ(answer.code, VCFG_OK) << answer.body;
    return answer.iid;
}

int codeOf(ReadFunction function, uint32_t oid, objIndex at) {
    void* bytes = nullptr;
    const int code = function(oid, &at, &bytes);
    free(bytes);
    return code;
}

// Every other kill waits until somebody was answered, so that it meets a vcmd that writes on a slow machine, too.
void killWhileWriting(Vcmd& vcmd, int kills, unsigned seed, const std::function<int(uint32_t number)>& write,
                      const std::function<uint32_t()>& stored) {
    std::mt19937 random(seed);
    std::uniform_int_distribution<useconds_t> pause(0, 3000);
    uint32_t next = 1;
    for (int kill = 0; kill < kills; ++kill) {
        std::atomic<bool> mayDie{kill % 2 == 0};
        std::thread killer([&mayDie, pid = vcmd.pid(), wait = pause(random)] {
            mayDie.wait(false);
            usleep(wait);
            ::kill(pid, SIGKILL);
        });
        const auto letItDie = [&mayDie] {
            mayDie.store(true);
            mayDie.notify_one();
        };
        uint32_t answered = next - 1;
        while (write(next) == VCFG_OK) {
            answered = next++;
            letItDie();
        }
        letItDie();
        killer.join();
        vcmd.kill9();
        ASSERT_NO_FATAL_FAILURE(vcmd.start());
        const uint32_t found = stored();
        ASSERT_FALSE(testing::Test::HasFailure());
        ASSERT_TRUE(found == answered || found == next) << found << " " << answered;
        next = found + 1;
    }
    EXPECT_GT(next, static_cast<uint32_t>(kills / 2)) << "a vcmd that lives answers";
}

bool eventually(const std::function<bool()>& condition, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}
