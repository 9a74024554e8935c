// The daemon's threads in the simulated world, and the bus between them and everyone else.
#include <vcfg/msg.h>
#include <vcfg/msg_types.h>

#include <algorithm>
#include <utility>

#include "core/event.h"
#include "core/kernel_monitor.h"
#include "core/timer_thread.h"
#include "dispatch.h"
#include "layers.h"
#include "link/kernel_event.h"
#include "peers.h"
#include "reports.h"
#include "short_memory.h"

namespace sim {
namespace {

bool setsLinksUp(uint32_t type) {
    return type == VCFG_MSG_INIT_DATAMODEL_FIN || type == VCFG_MSG_AUTO_HUNT_FINISHED ||
           type == VCFG_MSG_INIT_WAN_LINK_INFO;
}

void handleOne(uint8_t eid) {
    const Letter letter = world().inbox[eid].front();
    fibers::errand() = {"message " + std::to_string(letter.type), letter.mayWrite};
    const std::function<void()> afterwards = letter.watch ? letter.watch() : nullptr;
    if (setsLinksUp(letter.type)) {
        world().settingUp += 1;
        noteSetUp();
    }
    for (const Ask& ask : world().asks) {
        if (ask.waitsForOutcome && letter.requestId == ask.requestId) {
            world().lastWaiting = ask.requestId;
        }
    }
    vcfg_msg_eidInit(eid, nullptr);
    short_memory::failOneNew(std::exchange(world().shortMemory, -1));
    processRequest();
    short_memory::allNewsSucceed();
    checkWrites(fibers::errand());
    world().settingUp -= setsLinksUp(letter.type) ? 1 : 0;
    world().handled += 1;
    if (afterwards) {
        afterwards();
    }
}

void serveEndpoint(uint8_t eid) {
    while (true) {
        fibers::waitFor([eid] { return !world().inbox[eid].empty(); });
        handleOne(eid);
    }
}

// An Ethernet port's event names the port; any other, no object at all.
Errand errandOf(const std::string& datagram) {
    const std::string text = datagram.substr(std::min<size_t>(16, datagram.size())).c_str();
    if (text.compare(0, 5, "eth0.") != 0) {
        return {"kernel event " + text, {}};
    }
    return {"kernel event " + text, {std::string("Ethernet.Interface.") + text[5], "Bridging.Filter.1"}};
}

void serveKernel() {
    while (true) {
        fibers::waitFor([] { return !world().kernel.empty(); });
        fibers::errand() = errandOf(world().kernel.front());
        handleEvent("kernel event", [] { processKernelMonitor(updateLinkStatus); });
        checkWrites(fibers::errand());
        world().handled += 1;
    }
}

void serveTimer() {
    while (true) {
        fibers::waitFor([] { return msToTick(world().timer, static_cast<uint32_t>(world().nowMs)) == 0u; });
        const std::vector<TimerTask> due = tick(world().timer, static_cast<uint32_t>(world().nowMs));
        for (const TimerTask& task : due) {
            tmApplyObjSendMsg(task);
        }
        world().handled += 1;
    }
}

}  // namespace

void startThreads() {
    fibers::start("usr config", {}, [] { serveEndpoint(VCFG_EID_TARN); });
    fibers::start("ground", {}, [] { serveEndpoint(VCFG_EID_TARN_GROUND); });
    fibers::start("kernel monitor", {}, serveKernel);
    fibers::start("timer", {}, serveTimer);
}

Letter letterOf(const Report& report) {
    Letter letter{report.type, report.from, 0, {}, report.payload, *report.payload == '\0'};
    for (const char* const name : report.mayWrite) {
        if (name != nullptr) {
            letter.mayWrite.emplace_back(name);
        }
    }
    return letter;
}

Letter ownLetter(const vcfg_msg_t& message) {
    Letter letter{message.type,   message.srcEid,          message.requestId,
                  message.objIid, vcfg_msg_text(&message), message.length == 0};
    if (message.type == VCFG_MSG_WPS_POLL) {
        letter.mayWrite = {"WiFi.AccessPoint.", "X_VORAN_WPS"};
    }
    return letter;
}

// A sender's messages stay in their order; those of several may pass each other.
void post(const Letter& letter, uint64_t delayMs, uint8_t endpoint) {
    World& w = world();
    const uint32_t way = uint32_t{letter.from} << 8 | endpoint;
    uint64_t& last = w.lastArrival[way];
    last = std::max(last, w.nowMs + delayMs);
    later(last - w.nowMs, [letter, endpoint] { world().inbox[endpoint].push_back(letter); });
}

}  // namespace sim
