// vcmd in a run directory, a data directory and a hook directory of its own; this process is endpoint 200.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>

#include "fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr uint8_t kOwnEid = 200;
constexpr std::chrono::seconds kDeadline{20};

pid_t vcmd = -1;

// One directory for the life of the process: the bus stays where it is, whatever serves it.
const fs::path& home() {
    struct Home {
        fs::path path;
        Home() {
            char name[] = "/tmp/vcfg_contract_XXXXXX";
            path = mkdtemp(name);
            for (const char* one : {"run", "data", "hooks"}) {
                fs::create_directory(path / one);
                fs::permissions(path / one, fs::perms::owner_all);
            }
            setenv("VCFG_RUN_DIR", (path / "run").c_str(), 1);
            setenv("VCFG_DATA_DIR", (path / "data").c_str(), 1);
            setenv("VCFG_HOOK_DIR", (path / "hooks").c_str(), 1);
        }
        ~Home() {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    };
    static const Home home;
    return home.path;
}

bool eventually(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

// vcmd says who serves an object: it has seen all changes of its hooks then.
bool answers() {
    vcfg_schema_service_t* service = nullptr;
    const int code = vcfgSchemaServiceGet(RDM_OID_IP, &service);
    free(service);
    return code == VCFG_OK;
}

void writeHook(const std::string& kind, const std::string& pattern, const std::string& commands) {
    const fs::path directory = home() / "hooks" / kind;
    const fs::path hook = directory / pattern;
    fs::create_directories(directory);
    fs::permissions(directory, fs::perms::owner_all);
    const fs::path fresh = home() / "hook";  // appears complete and executable, or not at all
    std::ofstream(fresh) << "#!/bin/sh\n" << commands << "\n";
    fs::permissions(fresh, fs::perms::owner_all);
    fs::rename(fresh, hook);
    EXPECT_TRUE(answers());
}

std::vector<std::string> linesOf(const fs::path& file) {
    std::vector<std::string> lines;
    std::ifstream input(file);
    for (std::string line; std::getline(input, line);) {
        lines.push_back(line);
    }
    return lines;
}

}  // namespace

void startWorld() {
    for (const char* one : {"data", "hooks", "run"}) {
        for (const fs::directory_entry& entry : fs::directory_iterator(home() / one)) {
            fs::remove_all(entry);
        }
    }
    fs::remove(home() / "applied");
    const pid_t parent = getpid();
    vcmd = fork();
    ASSERT_GE(vcmd, 0);
    if (vcmd == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() == parent) {
            execl(VCMD_PATH, "vcmd", "--foreground", static_cast<char*>(nullptr));
        }
        _exit(127);
    }
    static const int registered = vcfg_msg_eidInit(kOwnEid, "contract");
    ASSERT_EQ(registered, VCFG_OK);
    ASSERT_TRUE(eventually(answers)) << "vcmd does not answer";
}

void stopWorld() {
    if (vcmd <= 0) {
        return;
    }
    int status = 0;
    kill(vcmd, SIGTERM);
    if (!eventually([&] { return waitpid(vcmd, &status, WNOHANG) == vcmd; })) {
        kill(vcmd, SIGKILL);
        waitpid(vcmd, &status, 0);
    }
    vcmd = -1;
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "vcmd ended with status " << status;
}

void ownerReports(const std::string& pattern, const std::string& json) {
    writeHook("refresh", pattern, "cat <<'END'\n" + json + "\nEND");
}

// The pause is there so that an answer which does not wait for the hook comes before the hook's line.
void ownerApplies(const std::string& pattern) {
    writeHook("apply", pattern, "sleep 0.1\necho \"$1 $2\" >>" + (home() / "applied").string());
}

void ownerRefuses(const std::string& pattern) {
    writeHook("apply", pattern, "echo \"$1 $2\" >>" + (home() / "applied").string() + "\nexit 1");
}

std::vector<std::string> applied(size_t atLeast) {
    std::vector<std::string> lines;
    EXPECT_TRUE(eventually([&] {
        lines = linesOf(home() / "applied");
        return lines.size() >= atLeast;
    })) << "not applied in time";
    return lines;
}
