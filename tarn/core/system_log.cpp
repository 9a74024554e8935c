#include "core/system_log.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "core/event.h"
#include "core/log.h"
#include "core/memory.h"
#include "core/os.h"
#include "core/record.h"
#include "core/shell.h"
#include "core/stoppable.h"
#include "core/wan_state.h"

namespace {

constexpr const char* kHandler = "SystemLogThreadHandle";
constexpr const char* kBody = "periodic_send_log_thread";
constexpr const char* kScript = "/tmp/systemDebug.sh";
constexpr int64_t kMinuteMs = 60'000;
constexpr int64_t kShortestPauseMs = 100;  // without an interval the thread still leaves the processor to others

using Thread = std::shared_ptr<os::Stoppable>;

// Either bus thread may start and stop.
std::mutex guard;
bool systemLogThreadRunning = false;  // as the last start or stop left it, whatever became of the thread since
Thread system_send_log_thread;

struct Settings {
    std::string server;
    std::string user;
    std::string password;
    std::string serialNumber;
    int64_t pauseMs;
};

std::optional<Settings> readSettings() {
    const auto debug = get<SystemDebug>();
    if (!debug) {
        return std::nullopt;
    }
    const auto device = get<DeviceInfo>();
    return Settings{debug->Server.c_str(), debug->UserName.c_str(), debug->Password.c_str(),
                    device ? device->SerialNumber.c_str() : "",
                    std::max(debug->Interval * kMinuteMs, kShortestPauseMs)};
}

// False when the thread was stopped.
bool goesOn(std::optional<int> result, const char* command) {
    if (result == -1) {
        VLOG(VLOG_ERROR, "cannot start %s", command);
    }
    return result.has_value();
}

bool waitForPeriodAndInternet(os::Stoppable& thread, const Settings& settings) {
    do {
        if (!thread.pauseMs(settings.pauseMs)) {
            return false;
        }
    } while (wan.wanInternetUp == 0);
    return true;
}

bool fetch(os::Stoppable& thread, const Settings& settings) {
    const auto result = shell(thread, "ftpget -u %s -p %s %s /tmp/systemDebug.sh systemDebug.sh", settings.user,
                              settings.password, settings.server);
    return goesOn(result, "ftpget");
}

bool fetchAndRun(os::Stoppable& thread, const Settings& settings) {
    if (!fetch(thread, settings)) {
        return false;
    }
    if (!os::fileExists(kScript)) {
        logs::print("%s: Not found systemDebug.sh!\n", kBody);
        return true;
    }
    return goesOn(shell(thread, "chmod 777 /tmp/systemDebug.sh"), "chmod") &&
           goesOn(shell(thread, "/tmp/systemDebug.sh %s %s", settings.serialNumber, settings.server), kScript);
}

void runThread(void* argument) {
    const std::unique_ptr<Thread> thread(static_cast<Thread*>(argument));
    handleEvent("system log", [&] { periodic_send_log_thread(**thread); });
}

Thread startThread() {
    auto owned = allocate<Thread>();
    if (owned == nullptr) {
        return nullptr;
    }
    Thread thread = std::make_shared<os::Stoppable>();
    *owned = thread;
    if (os::startThread(runThread, owned.get()) != VCFG_OK) {
        return nullptr;
    }
    (void)owned.release();  // the thread owns it now
    return thread;
}

void stopThread() {
    if (system_send_log_thread != nullptr) {
        system_send_log_thread->stop();
        system_send_log_thread = nullptr;
    }
}

void restart() {
    stopThread();
    system_send_log_thread = startThread();
    if (system_send_log_thread != nullptr) {
        logs::print("[TARN] %s:System pthread restart\n", kHandler);
    } else {
        logs::print("%s: System log pthread restart fail\n", kHandler);
    }
}

void create() {
    system_send_log_thread = startThread();
    if (system_send_log_thread != nullptr) {
        systemLogThreadRunning = true;  // before anything that can fail: a thread that runs has to be stoppable
        logs::print("[TARN] %s:System log pthread create\n", kHandler);
    } else {
        logs::print("%s:System log pthread create fail\n", kHandler);
    }
}

}  // namespace

void SystemLogThreadHandle(uint32_t start) {
    const std::lock_guard lock(guard);
    if (start != 0) {
        systemLogThreadRunning ? restart() : create();
    } else if (systemLogThreadRunning) {
        stopThread();
        systemLogThreadRunning = false;
        logs::print("[TARN] %s: Stop System log thread\n", kHandler);
    }
}

void periodic_send_log_thread(os::Stoppable& thread) {
    const auto settings = readSettings();
    if (!settings) {
        if (!thread.stopped()) {
            logs::print("%s: Get RDM_OID_SYSTEM_DEBUG obj fail!\n", kBody);
        }
        return;
    }
    while (waitForPeriodAndInternet(thread, *settings) && fetchAndRun(thread, *settings)) {
    }
}
