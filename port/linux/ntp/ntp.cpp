// The gateway's NTP client: has chronyd set the clock once, by the servers of its configuration, and again every hour.
// Each time that succeeds, the monitor daemon is told.
//
//   port-ntp CONFIGURATION
//
// SIGUSR1 asks for a synchronisation now.
#include <time.h>
#include <vcfg/vcfg.h>

#include <csignal>
#include <cstdio>

#include "client/standard_streams.h"
#include "delivery.h"
#include "payload.h"
#include "stored.h"
#include "time_text.h"
#include "tool.h"

namespace {

constexpr const char* kAnswerSeconds = "10";
constexpr Seconds kHangs{30};  // chronyd has given up long before
constexpr timespec kAfterSuccess{3600, 0};
constexpr timespec kAfterFailure{10, 0};

void waitFor(const timespec& pause) {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGUSR1);
    sigtimedwait(&asked, nullptr, &pause);
}

void keepSignalForWait() {
    sigset_t asked;
    sigemptyset(&asked);
    sigaddset(&asked, SIGUSR1);
    sigprocmask(SIG_BLOCK, &asked, nullptr);
}

void write(const Payload& values) {
    const objIndex iid{};
    if (vcfgFeObjWrite(RDM_OID_TIME, &iid, values.str().c_str(), VCFG_FE_WRITE_NO_APPLY, nullptr) != VCFG_OK) {
        fprintf(stderr, "the data model does not take the clock's state\n");
    }
}

void report(bool synchronised) {
    Payload values;
    values.text("Status", synchronised ? "Synchronized" : "Error");
    if (synchronised) {
        const auto time = stored<Time>({});
        values.text("CurrentLocalTime", localNow(time ? time->LocalTimeZone.c_str() : ""));
    }
    write(values);
}

bool setClock(const char* configuration) {
    const Finished run = runTool({"chronyd", "-q", "-t", kAnswerSeconds, "-f", configuration}, kHangs);
    return run.ended && run.status == 0;
}

// One line per change: a server may be silent for months.
void tellLog(bool synchronised) {
    static int last = -1;
    if (last != static_cast<int>(synchronised)) {
        last = static_cast<int>(synchronised);
        fprintf(stderr, "%s: the clock is %ssynchronised\n", utcNow().c_str(), synchronised ? "" : "not ");
    }
}

// The model comes first: what the daemon does about the message writes there too.
bool synchronise(const char* configuration) {
    const bool synchronised = setClock(configuration);
    tellLog(synchronised);
    report(synchronised);
    return synchronised && deliver(VCFG_MSG_NTP_SYNC_SUCCESS, utcNow());
}

}  // namespace

int main(int count, char** words) {
    vcfg::holdStandardStreams();
    if (count != 2) {
        fprintf(stderr, "usage: port-ntp CONFIGURATION\n");
        return 2;
    }
    keepSignalForWait();
    while (true) {
        waitFor(synchronise(words[1]) ? kAfterSuccess : kAfterFailure);
    }
}
