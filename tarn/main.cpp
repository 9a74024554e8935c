// Start-up, threads, and the loop that waits for the kernel's link events.

#include <getopt.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <sys/select.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <new>

#include "core/event.h"
#include "core/log.h"
#include "core/os.h"
#include "core/timer.h"
#include "core/wan_state.h"
#include "dispatch.h"
#include "link/kernel_event.h"
#include "platform/link_monitor.h"

namespace {

constexpr int kRealTimePriority = 5;

constexpr int kUsrConfig = 0;
constexpr int kGround = 1;

constexpr const char* kUsage =
    "usage: tarn [--foreground]\n"
    "\n"
    "Event and system monitor daemon of a home gateway. It serves bus endpoints 2 and 66, follows the kernel's\n"
    "link events, and never ends on its own.\n"
    "\n"
    "  --foreground  stay attached to the caller instead of going on in the background\n"
    "  --help        print this and exit\n"
    "  --version     print the version and exit\n"
    "\n"
    "environment:\n"
    "  VCFG_RUN_DIR  where the bus has its sockets (default /run/vcfg)\n";

// Only what may be called from a signal handler: the line goes out with write().
void faultHandler(int) {
    static const char line[] = "\033[0;32;31mTARN Invalid memory segment access!!!!!!!!!!\033[0m\n";
    const ssize_t written = write(STDOUT_FILENO, line, sizeof line - 1);
    (void)written;
}

bool openGroundEndpoint() {
    if (vcfg_msg_eidInit(VCFG_EID_TARN_GROUND, nullptr) != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to init VCFG_EID_TARN_GROUND");
        return false;
    }
    if (vcfg_msg_serverInit() != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to init server socket");
        return false;
    }
    return true;
}

void* _tarn_thread(void* role) {
    const int data = *static_cast<const int*>(role);
    VLOG(VLOG_DEBUG, "data = %d\n", data);
    if (data == kUsrConfig) {
        VLOG(VLOG_INFO, "TARN usr config thread starts");
    } else if (data == kGround) {
        VLOG(VLOG_INFO, "TARN ground thread starts");
        if (!openGroundEndpoint()) {
            return nullptr;
        }
    } else {
        VLOG(VLOG_ERROR, "invalid data = %d", data);
        return nullptr;
    }
    while (true) {
        processRequest();
    }
}

bool startBusThread(int role) {
    static int roles[] = {kUsrConfig, kGround};  // the threads read theirs when they begin
    pthread_t thread{};
    return pthread_create(&thread, nullptr, _tarn_thread, &roles[role]) == 0;
}

bool startBusThreads() {
    if (!startBusThread(kUsrConfig)) {
        VLOG(VLOG_ERROR, "fail to create usr config thread");
        VLOG(VLOG_ERROR, "fail to initialize TARN, exit TARN process");
        return false;
    }
    if (!startBusThread(kGround)) {
        VLOG(VLOG_ERROR, "fail to create ground thread");
        VLOG(VLOG_ERROR, "fail to initialize TARN, exit TARN process");
        return false;
    }
    return true;
}

int tarn_init() {
    logs::print("TARN msg server init...");
    if (vcfg_msg_serverInit() != VCFG_OK) {
        logs::print("TARN messsage server init fail!!");
        return VCFG_ERR_FAIL;
    }
    try {
        openKernelMonitor();
    } catch (const std::bad_alloc&) {  // the kernel would never tell it of a link
        return VCFG_ERR_FAIL;
    }
    return VCFG_OK;
}

void becomeRealTime() {
    sched_param priority{};
    priority.sched_priority = kRealTimePriority;
    if (sched_setscheduler(0, SCHED_RR, &priority) == -1) {
        VLOG(VLOG_ERROR, "Failed to make tarn as realtime process");
    }
}

[[noreturn]] void monitorLoop() {
    int highest = 0;
    while (true) {
        fd_set readable;
        FD_ZERO(&readable);
        const int monitor = kernelFd;
        if (monitor >= 0) {
            FD_SET(monitor, &readable);
            highest = std::max(highest, monitor);
        }
        const int ready = select(highest + 1, &readable, nullptr, nullptr, nullptr);
        if (ready < 0) {
            VLOG(VLOG_DEBUG, "interrupt by something !!");
        } else if (ready == 0) {
            VLOG(VLOG_DEBUG, "time out !!");
        } else if (monitor >= 0 && FD_ISSET(monitor, &readable)) {
            handleEvent("kernel event", [] { followKernel(updateLinkStatus); });
        }
    }
}

void ignoreInterrupts() {
    if (signal(SIGINT, SIG_IGN) != SIG_IGN) {
        signal(SIGINT, SIG_IGN);
    }
}

int runDaemon(bool foreground) {
    if (!foreground && fork() > 0) {
        exit(0);
    }
    fclose(stdin);
    os::shareAllocations();
    ignoreInterrupts();
    signal(SIGSEGV, faultHandler);
    VLOG(VLOG_INFO, "TARN Start");
    vcfg_msg_eidInit(VCFG_EID_TARN, "tarn");
    if (tarn_init() != VCFG_OK) {
        VLOG(VLOG_ERROR, "fail to init TARN");
        return -1;
    }
    if (!startBusThreads()) {
        return -1;
    }
    enable_timer_thread();
    becomeRealTime();
    wan.WANPriority = kAutoDetect;
    wan.EthWANPriority = 0;
    vcfgFeDebugCfgObjInit("tarn");
    monitorLoop();
}

}  // namespace

int main(int argc, char** argv) {
    static const option options[] = {{"foreground", no_argument, nullptr, 'f'},
                                     {"help", no_argument, nullptr, 'h'},
                                     {"version", no_argument, nullptr, 'v'},
                                     {nullptr, 0, nullptr, 0}};
    bool foreground = false;
    int choice = 0;
    while ((choice = getopt_long(argc, argv, "", options, nullptr)) != -1) {
        switch (choice) {
            case 'f':
                foreground = true;
                break;
            case 'h':
                fputs(kUsage, stdout);
                return 0;
            case 'v':
                puts("tarn " TARN_VERSION);
                return 0;
            default:
                fputs(kUsage, stderr);
                return 2;
        }
    }
    if (optind < argc) {
        fprintf(stderr, "tarn: unexpected argument \"%s\"\n%s", argv[optind], kUsage);
        return 2;
    }
    return runDaemon(foreground);
}
