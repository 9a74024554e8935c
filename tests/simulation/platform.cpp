// The platform: what its commands do to the hardware, and how a change of the hardware becomes known.
#include <string_view>

#include "inproc_fe.h"
#include "layers.h"
#include "world.h"

namespace sim {
namespace {

struct Command {
    std::string_view text;  // a command that ends in '*' begins so
    void (*does)(World& w);
    bool isLinkWork = false;
};
constexpr Command kCommands[] = {
    {"/usr/bin/wan adsl open", [](World& w) { w.lineOpen = true, lineChanges(); }, true},
    {"/usr/bin/wan adsl close", [](World& w) { w.lineOpen = false, lineChanges(); }, true},
    {"echo 0 > /proc/tc3162/led_internet_red\n", [](World& w) { w.ledRed = false; }},
    {"echo 2 > /proc/tc3162/led_internet_red\n", [](World& w) { w.ledRed = true; }},
    {"echo 0 0 > /proc/tc3162/led_internet\n", [](World& w) { w.ledGreen = false; }},
    {"echo 2 0 > /proc/tc3162/led_internet\n", [](World& w) { w.ledGreen = true; }},
    {"killall vlanautohunt", [](World& w) { w.vlanHunting = false; }},
    {"killall vcautohunt", [](World& w) { w.vcHunting = false; }},
    {"killall br2684ctl", nullptr},
    {"/userfs/bin/ethphxcmd eth0 wanactive enable", nullptr, true},
    {"/userfs/bin/ethphxcmd eth0 wanactive disable", nullptr, true},
    {"insmod /lib/modules/*", nullptr, true},
    {"rmmod *", nullptr, true},
    {"echo 1 > /proc/sys/vm/drop_caches", nullptr, true},
    {"echo 0 >/proc/tc3162/ptm_do_reset_sequence", nullptr, true},
    {"echo 1 >/proc/tc3162/ptm_do_reset_sequence", nullptr, true},
    {"vlanctl --tx --if ptm*", nullptr, true},
    {"rm -rf /tmp/quarterHours/", nullptr, true},
    {"/usr/etc/initQuarterHourFiles.sh", nullptr, true},
    {"/etc/init.d/*", nullptr},
    {"ip -6 ro*", nullptr},
    {"ftpget *", nullptr},
    {"chmod 777 /tmp/systemDebug.sh", nullptr},
    {"/tmp/systemDebug.sh *", nullptr},
    {"operator *", nullptr},
};

bool matches(std::string_view known, std::string_view command) {
    if (known.back() != '*') {
        return known == command;
    }
    known.remove_suffix(1);
    return command.substr(0, known.size()) == known;
}

constexpr uint32_t kLinkWithText = 0x2000;
constexpr size_t kNetlinkHeader = 16;

std::string datagram(const std::string& text) {
    const auto size = static_cast<uint32_t>(kNetlinkHeader + text.size() + 1);
    std::string bytes(size, '\0');
    for (int byte = 0; byte < 4; ++byte) {
        bytes[static_cast<size_t>(byte)] = static_cast<char>(size >> (8 * byte));
    }
    bytes[5] = static_cast<char>(kLinkWithText >> 8);
    return bytes.replace(kNetlinkHeader, text.size(), text);
}

std::string lineText(const char* status) {
    return (world().lineAtm ? "atm0:" : "ptm0:") + std::string(status);
}

void lineComesUp() {
    noteLineUp();
    world().lineUp = true;
    inproc::set("DSL.Line.1.X_VORAN_LinkTypeIsATM", world().lineAtm ? "true" : "false");
    inproc::set("DSL.Line.1.LinkStatus", "Up");
    hardwareChanged(lineText("up"));
}

void lineGoesDown() {
    world().lineUp = false;
    inproc::set("DSL.Line.1.LinkStatus", "NoSignal");
    hardwareChanged(lineText("down"));
}

}  // namespace

int platformRuns(const std::string& command) {
    for (const Command& known : kCommands) {
        if (matches(known.text, command)) {
            if (known.isLinkWork) {
                doLinkWork();
            }
            if (known.does != nullptr) {
                known.does(world());
            }
            return 0;
        }
    }
    broken("EveryCommandIsOneThatThePlatformHas", "\"" + command + "\"");
    return 0;
}

void hardwareChanged(const std::string& kernelText) {
    world().kernel.push_back(datagram(kernelText));
}

// A line that is fed and open trains for some seconds; one that is not is lost at once.
void lineChanges() {
    World& w = world();
    const uint32_t attempt = ++w.retrain;
    if (!w.lineFed || !w.lineOpen) {
        if (w.lineUp) {
            later(50, [] {
                if (world().lineUp) {
                    noteEnd(kLinkDslLine, 1);
                    lineGoesDown();
                }
            });
        }
        return;
    }
    later(3000 + w.chance.below(17000), [attempt] {
        if (world().retrain == attempt && !world().lineUp) {
            lineComesUp();
        }
    });
}

}  // namespace sim
