#include "hardware.h"

#include "connection/pending_request.h"
#include "inproc_fe.h"
#include "layers.h"
#include "peers.h"

namespace sim {
namespace {

bool endWasSeen(const Layer& layer) {
    return world().lostEnds.count(layer.path) == 0;
}

bool layersFollow(bool up) {
    for (const Layer& layer : kLayers) {
        const bool told = up || endWasSeen(layer);
        if (told && layer.linkIsUp(world()) == up && (inproc::get(layer.path + std::string(".Status")) == "Up") != up) {
            return false;
        }
    }
    return true;
}

std::string interface(int number) {
    return "IP.Interface." + std::to_string(number);
}

bool isUsable(const std::string& address) {
    return inproc::get(address + ".Status") == "Enabled" && inproc::get(address + ".Enable") == "true" &&
           !inproc::get(address + ".IPAddress").empty() && inproc::get(address + ".IPAddress") != "0.0.0.0";
}

bool hasUsable(int number) {
    for (const char* const table : {".IPv4Address", ".IPv6Address"}) {
        for (const std::string& address : inproc::instancesOf(interface(number) + table)) {
            if (isUsable(address) && (table[4] == '4' || number == kDualStackIp)) {
                return true;
            }
        }
    }
    return false;
}

bool pppIsUsed(const Connection& connection) {
    const std::string ppp = "PPP.Interface." + std::to_string(connection.ppp);
    const std::string status = inproc::get(ppp + ".Status");
    const std::string connected = inproc::get(ppp + ".ConnectionStatus");
    return status == "Up" || status == "LowerLayerDown" || connected == "Connected" || connected == "Connecting";
}

enum class Led { Off, Green, Red };

Led ledWanted() {
    if (wan.wanLinkDown == 1 && wan.wirelessWanLinkDown == 1) {
        return Led::Off;
    }
    bool attempted = false;
    for (const Connection& connection : kConnections) {
        if (hasUsable(connection.ip)) {
            return Led::Green;
        }
        attempted = attempted || inproc::get(interface(connection.ip) + ".Status") == "Up" ||
                    (connection.ppp != 0 && pppIsUsed(connection));
    }
    return attempted ? Led::Red : Led::Off;
}

}  // namespace

bool everyMessageIsServed() {
    for (const auto& [eid, letters] : world().inbox) {
        if (!letters.empty()) {
            return false;
        }
    }
    return world().kernel.empty();
}

// Of the optical service the daemon knows what it was told, and no more: a report that fails is not repeated, and an
// end while the link was taken for down already leaves the model as it was.
bool eachLinkIsTakenForWhatItIs() {
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        const bool excused = link->linkType == kLinkOptical && (world().everLost || world().faulty);
        if (!excused && (link->linkStatus == 1) != isUp(*link)) {
            return false;
        }
    }
    return true;
}

bool eachPortShowsItsCable() {
    for (const size_t port : {1u, 4u, 6u}) {
        if ((inproc::get("Ethernet.Interface." + std::to_string(port) + ".Status") == "Up") != world().cable[port]) {
            return false;
        }
    }
    return true;
}

bool eachLayerIsUpWhenItsLinkIs() {
    return layersFollow(true);
}

bool eachLayerIsDownWhenItsLinkIs() {
    return layersFollow(false);
}

bool noAddressIsEnabledOnALinkThatIsDown() {
    for (const Connection& connection : kConnections) {
        for (const Layer& layer : kLayers) {
            if (layer.path == std::string(connection.layer) && endWasSeen(layer) && !layer.linkIsUp(world()) &&
                hasUsable(connection.ip)) {
                return false;
            }
        }
    }
    return true;
}

bool linkFlagsAreRight() {
    const World& w = world();
    const bool wired = w.cable[4] || w.cable[6] || w.lineUp || w.fibre;
    return (wan.wanLinkDown == 0) == wired && (wan.wirelessWanLinkDown == 0) == w.stick;
}

bool ledIsRight() {
    const Led shown = world().ledGreen ? Led::Green : world().ledRed ? Led::Red : Led::Off;
    return shown == ledWanted();
}

// Of those who wait for an outcome the last one that was heard; a newer one takes an older one's place. Without a link
// there is no outcome of a connection with IPv6.
bool whoAsksIsAnswered() {
    const auto waiting = pending::peek();
    const bool excused = waiting && waiting->idx == kDualStackIp && !world().cable[6];
    for (const Ask& ask : world().asks) {
        const bool isLast = ask.requestId == world().lastWaiting;
        const bool owed = !ask.waitsForOutcome || (isLast && !excused);
        if (owed && ask.answered < (ask.waitsForOutcome ? 1 : ask.asked)) {
            return false;
        }
    }
    return excused || !waiting;
}

std::string whatIsThere() {
    const World& w = world();
    std::string text = "cables";
    for (const size_t port : {1u, 4u, 6u}) {
        text += w.cable[port] ? " in" : " out";
    }
    text += std::string(", line ") + (w.lineUp ? (w.lineAtm ? "ATM" : "PTM") : "down") + ", optical " +
            std::to_string(w.fibre) + ", stick " + std::to_string(w.stick) + "; taken for up:";
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        text += " " + std::to_string(link->linkType) + "=" + std::to_string(link->linkStatus);
    }
    for (const Layer& layer : kLayers) {
        text += std::string("; ") + layer.path + " " + inproc::get(layer.path + std::string(".Status"));
    }
    for (const Connection& connection : kConnections) {
        text += "; " + interface(connection.ip) + " " + inproc::get(interface(connection.ip) + ".Status") +
                (hasUsable(connection.ip) ? " with an address" : "");
    }
    return text + "; LED red " + std::to_string(w.ledRed) + " green " + std::to_string(w.ledGreen) + ", wanLinkDown " +
           std::to_string(wan.wanLinkDown) + ", carrier " + std::to_string(wan.currWanLinkType) + ", threads " +
           std::to_string(fibers::count()) + ", tasks " + std::to_string(w.timer.tasks.size());
}

}  // namespace sim
