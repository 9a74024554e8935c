#include "line_simulator.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "kernel_event.h"
#include "owner_report.h"
#include "tap.h"

namespace {

constexpr unsigned sendTimeoutMs = 5000;
constexpr int mostChannels = 255;
constexpr const char* opticalServiceMessage = "0x80000122";
constexpr const char* wanLinkMessage = "0x800003EF";
// What lines of these kinds carry nowadays, kbit/s: downstream and upstream.
constexpr int atmRates[2] = {16000, 1024};
constexpr int ptmRates[2] = {100000, 40000};

Wire* wireOf(LineSimulator& lines, const std::string& name) {
    for (Wire& wire : lines.wires) {
        if (wire.name == name) {
            return &wire;
        }
    }
    return nullptr;
}

void sendEvent(const LineSimulator& lines, const std::string& text) {
    const auto process = kernel_event::registeredProcess(lines.registration);
    std::string error = "no process is registered";
    if (!process || kernel_event::send(*process, kernel_event::message(kernel_event::linkWithText, text), sendTimeoutMs,
                                       error) != kernel_event::Delivery::done) {
        std::fprintf(stderr, "gw-linesim: %s: %s\n", text.c_str(), error.c_str());
    }
}

void setCarrier(LineSimulator& lines, const std::string& name, bool carrier) {
    Wire* wire = wireOf(lines, name);
    if (wire == nullptr || wire->carrier == carrier) {
        return;
    }
    wire->carrier = carrier;
    if (!lines.devices) {
        sendEvent(lines, name + (carrier ? ":up" : ":down"));
    } else if (!tap::setCarrier(wire->far, carrier) || !tap::setCarrier(wire->near, carrier)) {
        std::fprintf(stderr, "gw-linesim: %s: no carrier change: %s\n", name.c_str(), std::strerror(errno));
    }
}

const char* linkStatus(DslLine::Phase phase) {
    switch (phase) {
        case DslLine::Phase::noSignal:
            return "NoSignal";
        case DslLine::Phase::closed:
            return "Disabled";
        case DslLine::Phase::training:
            return "EstablishingLink";
        case DslLine::Phase::up:
            return "Up";
    }
    return "Error";
}

// A line has one channel that takes the mode it carries, of its own number, or a channel for each mode.
std::string channelOf(const DslLine& line) {
    const std::string number = std::to_string(line.number);
    const std::string below = "LowerLayers=DSL.Line." + number;
    const std::string mode =
        line.trainedAtm ? "LinkEncapsulationUsed=G.992.3_Annex_K_ATM" : "LinkEncapsulationUsed=G.992.3_Annex_K_PTM";
    const auto parameters = owner_report::read("'DSL.Channel.*.LowerLayers' 'DSL.Channel.*.LinkEncapsulationUsed'");
    const auto says = [&parameters](std::string at, const std::string& parameter) {
        at += parameter;
        return std::find(parameters.begin(), parameters.end(), at) != parameters.end();
    };
    for (int channel = 1; channel <= mostChannels; ++channel) {
        std::string at = "DSL.Channel." + std::to_string(channel) + ".";
        if (says(at, below) && says(at, mode)) {
            return at;
        }
    }
    return "DSL.Channel." + number + ".";
}

// A line that lost its link keeps saying what it carried; only a new link says otherwise.
void writeDsl(const DslLine& line) {
    const std::string number = std::to_string(line.number);
    const bool up = line.phase == DslLine::Phase::up;
    const char* mode = line.trainedAtm ? "ATM" : "PTM";
    const int* rates = line.trainedAtm ? atmRates : ptmRates;
    const std::string lineAt = "DSL.Line." + number + ".";
    const std::string channelAt = channelOf(line);
    std::vector<std::string> parameters{channelAt + "Status=" + (up ? "Up" : "LowerLayerDown"),
                                        channelAt + "DownstreamCurrRate=" + std::to_string(up ? rates[0] : 0),
                                        channelAt + "UpstreamCurrRate=" + std::to_string(up ? rates[1] : 0)};
    if (up) {
        parameters.push_back(channelAt + "LinkEncapsulationUsed=G.992.3_Annex_K_" + mode);
    }
    parameters.push_back(lineAt + "Status=" + (up ? "Up" : "Down"));
    parameters.push_back(lineAt + "LinkStatus=" + linkStatus(line.phase));
    if (up) {
        parameters.push_back(lineAt + "X_VORAN_LinkTypeIsATM=" + (line.trainedAtm ? "true" : "false"));
    }
    owner_report::write(parameters);
}

// The data model comes first: who hears of the carrier looks there.
void publish(LineSimulator& lines, const DslLine& line) {
    writeDsl(line);
    const bool up = line.phase == DslLine::Phase::up;
    const std::string unit = std::to_string(line.number - 1);
    setCarrier(lines, "atm" + unit, up && line.trainedAtm);
    setCarrier(lines, "ptm" + unit, up && !line.trainedAtm);
}

std::string describe(const DslLine& line) {
    const bool known = line.phase == DslLine::Phase::training || line.phase == DslLine::Phase::up;
    return "DSL line " + std::to_string(line.number) + ": " + phaseName(line.phase) +
           (known ? (line.trainedAtm ? " (atm)" : " (ptm)") : "") + "\n";
}

struct DslRequest {
    std::string action;
    int line = 0;  // all
    std::string mode;
};

bool isDslAction(const std::string& word) {
    return word == "up" || word == "down" || word == "open" || word == "close";
}

bool parseDsl(const std::vector<std::string>& words, DslRequest& request) {
    for (size_t at = 1; at < words.size(); ++at) {
        const std::string value = at + 1 < words.size() ? words[at + 1] : "";
        if (words[at] == "--line" && std::atoi(value.c_str()) > 0) {
            request.line = std::atoi(words[++at].c_str());
        } else if (words[at] == "--mode" && (value == "atm" || value == "ptm")) {
            request.mode = words[++at];
        } else if (request.action.empty() && isDslAction(words[at])) {
            request.action = words[at];
        } else {
            return false;
        }
    }
    return !request.action.empty();
}

void change(DslLine& line, const DslRequest& request) {
    if (request.action == "up" || request.action == "down") {
        line.signal = request.action == "up";
    } else {
        line.open = request.action == "open";
    }
    if (!request.mode.empty()) {
        line.atm = request.mode == "atm";
    }
}

Answer obeyDsl(LineSimulator& lines, const std::vector<std::string>& words, int64_t now) {
    DslRequest request;
    if (!parseDsl(words, request)) {
        return {2, "usage: gw-linesim dsl up|down|open|close [--line N] [--mode atm|ptm]\n"};
    }
    // The modem's switch is one for all its lines; a signal comes on one line.
    if (request.line == 0 && (request.action == "up" || request.action == "down")) {
        request.line = 1;
    }
    Answer answer;
    for (DslLine& line : lines.dsl) {
        if (request.line != 0 && line.number != request.line) {
            continue;
        }
        change(line, request);
        if (settle(line, now, lines.trainMs)) {
            publish(lines, line);
        }
        answer.text += describe(line);
    }
    if (answer.text.empty()) {
        return {1, "there is no DSL line " + std::to_string(request.line) + "\n"};
    }
    return answer;
}

Answer obeyOptical(LineSimulator& lines, const std::string& action) {
    if (action != "up" && action != "down") {
        return {2, "usage: gw-linesim optical up|down\n"};
    }
    const bool up = action == "up";
    setCarrier(lines, "opt0", up);
    if (!owner_report::tell(opticalServiceMessage, up ? R"({"serviceStatus":true})" : R"({"serviceStatus":false})")) {
        return {1, "optical link: " + action + ", but the daemon did not take the report\n"};
    }
    return {0, "optical link: " + action + "\n"};
}

struct UsbState {
    const char* action;
    const char* interfaceStatus;
    const char* backupStatus;
};

constexpr UsbState usbStates[] = {{"up", "Up", "Up"}, {"down", "Down", "Down"}, {"absent", "NotPresent", "No Device"}};

Answer obeyUsb(LineSimulator& lines, const std::string& action) {
    const auto* state = std::find_if(std::begin(usbStates), std::end(usbStates),
                                     [&](const UsbState& each) { return action == each.action; });
    if (state == std::end(usbStates)) {
        return {2, "usage: gw-linesim usb up|down|absent\n"};
    }
    owner_report::write({std::string("USB.Interface.1.Status=") + state->interfaceStatus});
    owner_report::write({std::string("X_VORAN_WWANBackup.Status=") + state->backupStatus});
    setCarrier(lines, "usb0", action == "up");
    if (!owner_report::tell(wanLinkMessage, "")) {
        return {1, "USB link: " + action + ", but the daemon did not take the report\n"};
    }
    return {0, "USB link: " + action + "\n"};
}

Answer describeAll(const LineSimulator& lines) {
    Answer answer;
    for (const DslLine& line : lines.dsl) {
        answer.text += describe(line);
    }
    for (const Wire& wire : lines.wires) {
        answer.text += wire.name + ": " + (wire.carrier ? "carrier" : "no carrier") + "\n";
    }
    return answer;
}

std::vector<std::string> wireNames(const LineSimulator& lines) {
    std::vector<std::string> names;
    for (const DslLine& line : lines.dsl) {
        for (const char* kind : {"atm", "ptm"}) {
            names.push_back(kind + std::to_string(line.number - 1));
        }
    }
    names.insert(names.end(), {"opt0", "usb0"});
    return names;
}

}  // namespace

bool makeWires(LineSimulator& lines) {
    for (const std::string& name : wireNames(lines)) {
        Wire wire{.name = name};
        if (lines.devices) {
            wire.near = tap::open(name);
            wire.far = wire.near < 0 ? -1 : tap::open(name + "-far");
            if (wire.far < 0) {
                std::fprintf(stderr, "gw-linesim: cannot make the device %s: %s\n", name.c_str(), std::strerror(errno));
                return false;
            }
        }
        lines.wires.push_back(wire);
    }
    return true;
}

void reportAll(LineSimulator& lines, int64_t now) {
    for (DslLine& line : lines.dsl) {
        settle(line, now, lines.trainMs);
        publish(lines, line);
    }
}

Answer obey(LineSimulator& lines, const std::vector<std::string>& words, int64_t now) {
    const std::string kind = words.empty() ? "" : words[0];
    const std::string action = words.size() == 2 ? words[1] : "";
    if (kind == "dsl") {
        return obeyDsl(lines, words, now);
    }
    if (kind == "optical") {
        return obeyOptical(lines, action);
    }
    if (kind == "usb") {
        return obeyUsb(lines, action);
    }
    if (kind == "state" && words.size() == 1) {
        return describeAll(lines);
    }
    return {2, "usage: gw-linesim dsl|optical|usb|state ...\n"};
}

void train(LineSimulator& lines, int64_t now) {
    for (DslLine& line : lines.dsl) {
        if (settle(line, now, lines.trainMs)) {
            publish(lines, line);
        }
    }
}

int64_t nextTraining(const LineSimulator& lines) {
    int64_t next = -1;
    for (const DslLine& line : lines.dsl) {
        if (line.phase == DslLine::Phase::training && (next < 0 || line.trainedAt < next)) {
            next = line.trainedAt;
        }
    }
    return next;
}
