#include <sys/signalfd.h>

#include <csignal>
#include <new>
#include <utility>

#include "debug_level.h"
#include "vcmd.h"
#include "vlog.h"

namespace vcfg::vcmd {
namespace {

Fd openSignals() {
    sigset_t wanted;
    sigemptyset(&wanted);
    sigaddset(&wanted, SIGCHLD);
    sigaddset(&wanted, SIGTERM);
    sigaddset(&wanted, SIGINT);
    sigprocmask(SIG_BLOCK, &wanted, nullptr);
    return Fd(signalfd(-1, &wanted, SFD_NONBLOCK | SFD_CLOEXEC));
}

// An ended hook is found by tendHooks; only the request to end matters here.
void takeSignals(Vcmd& vcmd, int fd) {
    signalfd_siginfo signal{};
    while (read(fd, &signal, sizeof signal) == sizeof signal) {
        vcmd.stop = vcmd.stop || signal.ssi_signo != SIGCHLD;
    }
}

void lookAtRunDirectory(Vcmd& vcmd) {
    lookForDaemon(vcmd.announcer);
    if (vcmd.server->isSuperseded()) {
        VCMD_LOG(VLOG_WARNING, "another process serves endpoint %d now; this one ends", VCFG_EID_VCMD);
        vcmd.stop = true;
    }
}

void tellNews(Vcmd& vcmd) {
    tellWatchers(vcmd.watchers, *vcmd.server);
    if (std::exchange(vcmd.levelsChanged, false)) {
        tellDebugLevels(vcmd.store);
    }
}

int sooner(int left, int right) {
    return left < 0 ? right : right < 0 || left < right ? left : right;
}

int timeout(const Vcmd& vcmd) {
    return sooner(vcmd.keeper.due.remainingMs(), sooner(hookTimeout(vcmd.hooks), vcmd.announcer.nextTry.remainingMs()));
}

// Waits for something to do and does it; true when there may be more.
bool round(Vcmd& vcmd, const Fd& signals, bool more) {
    std::vector<pollfd> fds = {{vcmd.server->pollFd(), POLLIN, 0},
                               {signals.get(), POLLIN, 0},
                               {vcmd.announcer.watch.get(), POLLIN, 0},
                               {vcmd.hookWatch.changes.get(), POLLIN, 0},
                               {vcmd.clockWatch.news.get(), POLLIN, 0}};
    pollHooks(vcmd.hooks, fds);
    poll(fds.data(), fds.size(), more ? 0 : timeout(vcmd));
    if (fds[1].revents != 0) {
        takeSignals(vcmd, signals.get());
    }
    if (fds[2].revents != 0) {
        lookAtRunDirectory(vcmd);
    }
    if (fds[3].revents != 0) {
        lookForHooks(vcmd.hookWatch, vcmd.hooks, vcmd.store);
    }
    lookAtClock(vcmd.clockWatch);
    announce(vcmd.announcer);
    tendHooks(vcmd.hooks);
    const bool moreRequests = serveRequests(vcmd);
    forgetLoading(vcmd);
    tendHooks(vcmd.hooks);
    keep(vcmd.keeper, vcmd.store);
    tellNews(vcmd);
    return moreRequests;
}

// What a round leaves undone, because memory is short, is found again in the next one.
void serveOn(Vcmd& vcmd) {
    const Fd signals = openSignals();
    openClockWatch(vcmd.clockWatch);
    lookAtRunDirectory(vcmd);
    bool more = true;
    while (!vcmd.stop) {
        try {
            more = round(vcmd, signals, more);
        } catch (const std::bad_alloc&) {
            VCMD_LOG(VLOG_ERROR, "memory is short");
            more = true;
        }
    }
    killHooks(vcmd.hooks);
    std::string why;
    saveNow(vcmd.keeper, vcmd.store, &why);
}

}  // namespace

bool run(Vcmd& vcmd) {
    try {
        serveOn(vcmd);
        return true;
    } catch (const store::Lost& lost) {
        VCMD_LOG(VLOG_ERROR, "the model cannot be opened anew after a change that failed, vcmd ends: %s", lost.what());
        killHooks(vcmd.hooks);
        return false;
    }
}

}  // namespace vcfg::vcmd
