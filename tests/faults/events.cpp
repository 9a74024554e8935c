#include "events.h"

#include <vcfg/msg_types.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "core/event.h"
#include "injector.h"
#include "link/kernel_event.h"
#include "payload_seeds.h"

namespace fs = std::filesystem;

namespace {

using faults::Event;
using faults::Group;

struct Seed {
    std::string name;
    std::string bytes;
};

std::vector<Seed> seedsOf(const std::string& folder) {
    std::vector<Seed> seeds;
    for (const auto& file : fs::directory_iterator(fs::path(CORPUS) / folder)) {
        std::ifstream input(file.path(), std::ios::binary);
        seeds.push_back({file.path().filename(), {std::istreambuf_iterator<char>(input), {}}});
    }
    std::sort(seeds.begin(), seeds.end(), [](const Seed& a, const Seed& b) { return a.name < b.name; });
    return seeds;
}

Event messagesOf(const PayloadSeeds& handler, const Seed& seed) {
    Event event{seed.name, {}};
    std::string_view left = seed.bytes;
    do {
        const SeedMessage message = takeMessage(handler, left);
        event.steps.emplace_back([type = message.type, payload = std::string(message.payload)](Gateway& gateway) {
            gateway.receiveBytes(type, payload);
            gateway.runThreads();
        });
    } while (!left.empty());
    return event;
}

Group groupOf(const PayloadSeeds& handler) {
    Group group{std::string(handler.name), {}};
    for (const Seed& seed : seedsOf(group.name)) {
        group.events.push_back(messagesOf(handler, seed));
    }
    return group;
}

void hear(const std::string& kernelEvent) {
    const faults::Exposed now;
    handleEvent("kernel", [&] { updateLinkStatus(kernelEvent.c_str()); });
}

Group kernelEvents() {
    Group group{"kernel_event", {}};
    for (const Seed& seed : seedsOf(group.name)) {
        group.events.push_back({seed.bytes, {[seed](Gateway& gateway) {
                                    hear(seed.bytes);
                                    gateway.runThreads();
                                }}});
    }
    return group;
}

objIndex instance(uint8_t number) {
    return {1, {number, 0, 0, 0, 0, 0}};
}

Event empty(const char* name, uint32_t type, uint8_t number = 0) {
    return {name, {[=](Gateway& gateway) {
                gateway.receiveEmpty(type, {}, number != 0 ? instance(number) : objIndex{});
                gateway.runThreads();
            }}};
}

Group commands() {
    return {"wan_command",
            {empty("release", VCFG_MSG_WAN_IP_RELEASE, 1), empty("renew", VCFG_MSG_WAN_IP_RENEW, 1),
             empty("renew of an interface that is not there", VCFG_MSG_WAN_IP_RENEW, 9),
             empty("disconnect", VCFG_MSG_WAN_PPP_DISCONNECT, 2), empty("connect", VCFG_MSG_WAN_PPP_CONNECT, 2),
             empty("disconnected", VCFG_MSG_WAN_PPP_DISCONNECTED, 2),
             empty("connecting", VCFG_MSG_WAN_PPP_CONNECTING, 2), empty("clients", VCFG_MSG_DHCPC_RESTART)}};
}

Group startUp() {
    return {"start_up",
            {empty("completed", VCFG_MSG_INIT_DATAMODEL_FIN), empty("hunt finished", VCFG_MSG_AUTO_HUNT_FINISHED),
             empty("links anew", VCFG_MSG_INIT_WAN_LINK_INFO), empty("look at the links", VCFG_MSG_WAN_LINK)}};
}

Group others() {
    return {"other",
            {empty("TR-064", VCFG_MSG_TR64_LAN_DEVICE_UPDATE),
             empty("MAC", VCFG_MSG_LAN_MAC_CONTROL_EVENT),
             empty("Internet LED", VCFG_MSG_WAN_INTERNET_LED_UPDATE),
             empty("wireless LED", VCFG_MSG_WIFI_LED_ENABLE),
             empty("unknown", 0x8000FFFF),
             {"system log", {[](Gateway& gateway) {
                  // More than one, as a stop may be what fails.
                  for (const size_t pause : {1U, 2U, 3U, 4U}) {
                      gateway.duringPause(pause, [&] { gateway.receiveEmpty(VCFG_MSG_SYSTEM_LOG_STOP); });
                  }
                  gateway.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START);
                  gateway.receiveEmpty(VCFG_MSG_SYSTEM_LOG_START);
                  gateway.runThreads();
              }}}}};
}

std::vector<Group> allGroups() {
    std::vector<Group> groups;
    for (const PayloadSeeds& handler : kPayloadSeeds) {
        groups.push_back(groupOf(handler));
    }
    for (Group (*const make)() : {kernelEvents, commands, startUp, others}) {
        groups.push_back(make());
    }
    return groups;
}

}  // namespace

const std::vector<faults::Group>& faults::groups() {
    static const std::vector<Group> all = allGroups();
    return all;
}
