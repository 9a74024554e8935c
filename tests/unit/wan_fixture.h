// A gateway with WAN links, in the words of its cables and lines.
#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "core/wan_state.h"
#include "link/kernel_event.h"
#include "link/wan_link_status.h"
#include "link/wan_link_table.h"
#include "support/kit.h"
#include "unit/words.h"

using Commands = std::vector<std::string>;

inline const Commands kRouteCommands{"ip route | grep 'default'", "ip -6 route | grep 'default'"};

class WanGateway : public Gateway {
  public:
    WanGateway() { wan.WANPriority = kAutoDetect; }

    // --- the hardware, as its owners report it ---
    void dslLine(unsigned n, const std::string& linkStatus, bool atm = false) {
        set(line(n) + "LinkStatus", linkStatus);
        set(line(n) + "X_VORAN_LinkTypeIsATM", atm ? "true" : "false");
    }
    void ethernetPort(unsigned n, const std::string& name, const std::string& status, bool sfp = false) {
        set(port(n) + "Name", name);
        set(port(n) + "Upstream", "true");
        set(port(n) + "X_VORAN_SFP", sfp ? "true" : "false");
        set(port(n) + "Status", status);
    }
    void opticalPort(unsigned n, const std::string& status) {
        set(optical(n) + "Name", "pon0");
        set(optical(n) + "Upstream", "true");
        set(optical(n) + "Status", status);
    }
    void usbPort(unsigned n, const std::string& status) {
        set(usb(n) + "Name", "usb0");
        set(usb(n) + "Upstream", "true");
        set(usb(n) + "Status", status);
    }
    static std::string line(unsigned n) { return "DSL.Line." + std::to_string(n) + "."; }
    static std::string port(unsigned n) { return "Ethernet.Interface." + std::to_string(n) + "."; }
    static std::string optical(unsigned n) { return "Optical.Interface." + std::to_string(n) + "."; }
    static std::string usb(unsigned n) { return "USB.Interface." + std::to_string(n) + "."; }

    // --- what happens ---
    void tableBuilt() {
        EXPECT_EQ(initWanLinkInfo(), 0);
        forget();
    }
    void look(bool checkVlanHunt = false) { updateWanLinkStatus(nullptr, checkVlanHunt); }
    // The table is built and its links have been acted on.
    void settled() {
        tableBuilt();
        look();
        runThreads();
        forget();
    }

    // --- what the daemon did ---
    // Commands without those that every LED update runs.
    Commands actions() const {
        Commands found;
        for (const std::string& command : commands()) {
            const bool routine =
                std::find(kRouteCommands.begin(), kRouteCommands.end(), command) != kRouteCommands.end() ||
                command.find("led_internet") != std::string::npos;
            if (!routine) {
                found.push_back(command);
            }
        }
        return found;
    }
    // Of a command in the order of all; -1 when it did not run.
    long placeOf(const std::string& command) const {
        const Commands ran = commands();
        const auto found = std::find(ran.begin(), ran.end(), command);
        return found != ran.end() ? found - ran.begin() : -1;
    }
    // A line "<before><line number><after>".
    bool printedAtLine(const std::string& before, const std::string& after) const {
        const auto lines = log();
        return std::any_of(lines.begin(), lines.end(), [&](const LogLine& line) {
            return line.channel == "stdout" && isAtLine(line.text, before, after);
        });
    }
    int count(const std::string& text) const {
        const auto lines = log();
        return static_cast<int>(
            std::count_if(lines.begin(), lines.end(), [&](const LogLine& line) { return line.text == text; }));
    }

  private:
    static bool isAtLine(const std::string& text, const std::string& before, const std::string& after) {
        if (text.size() <= before.size() + after.size() || text.compare(0, before.size(), before) != 0 ||
            text.compare(text.size() - after.size(), after.size(), after) != 0) {
            return false;
        }
        const std::string number = text.substr(before.size(), text.size() - before.size() - after.size());
        return number.find_first_not_of("0123456789") == std::string::npos;
    }
};

inline uint8_t statusOf(const std::string& name) {
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        if (link->ifaceName == name) {
            return link->linkStatus;
        }
    }
    ADD_FAILURE() << "no WAN link " << name;
    return 0;
}
