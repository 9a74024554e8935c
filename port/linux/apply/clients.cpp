#include "clients.h"

#include <sys/stat.h>
#include <vcfg/recorder.h>

#include <csignal>

#include "files.h"
#include "lease_end.h"
#include "network.h"
#include "process.h"

namespace {

std::string configurationFile(const std::string& device) {
    return clientFile("dhcpcd-" + device + ".conf");
}

std::string hardwareAddress(const std::string& device) {
    const std::string text = readFile("/sys/class/net/" + device + "/address");
    return text.substr(0, text.find('\n'));
}

// A DUID of the hardware address; a PPP link, which has none, takes the LAN bridge's. The client's own way to make one
// depends on the machine it runs on.
std::string duid(const std::string& device) {
    const std::string own = hardwareAddress(device);
    return "00:03:00:01:" + (own.empty() ? hardwareAddress("br0") : own);
}

// Advertisements are the listener's business.
std::string configuration(const std::string& device, const Dhcpv6Wants& wants) {
    std::string text =
        "script /usr/share/dhcpcd/tarn.script\n"
        "nodev\nnogateway\nnoipv4\nnoipv6rs\n";
    text += "duid " + duid(device) + "\n";
    text += wants.nameServers ? "option dhcp6_name_servers\n" : "";
    text += "interface " + device + "\n";
    text += wants.address ? "ia_na 1\n" : "";
    text += wants.prefix ? "ia_pd 2\n" : "";
    return text;
}

// Pid file of a client from the moment of its start, when it has none of its own yet and does not know its signals.
std::string startedPidFile(const char* kind, const std::string& device) {
    return clientFile(std::string(kind) + "-" + device + ".pid");
}

bool isStarted(const char* kind, const std::string& device) {
    return processOf(startedPidFile(kind, device)) != 0;
}

std::string kernelSwitch(const std::string& device, const char* name) {
    return "/proc/sys/net/ipv6/conf/" + device + "/" + name;
}

// Changing it, even to what it is, makes the kernel forget the routes that it has learnt.
bool forwardIpv6() {
    const std::string forwarding = kernelSwitch("all", "forwarding");
    return readFile(forwarding) == "1\n" || writeFile(forwarding, "1\n");
}

}  // namespace

std::string clientFile(const std::string& name) {
    constexpr const char* kDirectory = "/run/tarn";
    mkdir(kDirectory, 0755);
    return std::string(kDirectory) + "/" + name;
}

bool startClient(const char* kind, const std::string& device) {
    const bool isDone = run({"/usr/libexec/tarn/start-client", kind, device});
    const pid_t started = processOf(startedPidFile(kind, device));
    if (started != 0) {
        vcfgEventStep("start", (std::to_string(started) + " " + kind + " of " + device).c_str(), 0, nullptr, 0);
    }
    return isDone;
}

bool startOrRenewDhcpv4(const std::string& pidFile, const std::string& device) {
    signalProcess(pidFile, SIGUSR1);
    return processOf(pidFile) != 0 || isStarted("dhcpv4", device) || startClient("dhcpv4", device);
}

// The next signal must not overtake this one; a client without a lease has nothing to give back.
void releaseDhcpv4(const std::string& pidFile) {
    constexpr int kAttempts = 150;
    if (leaseLeft(pidFile) == 0) {
        return;
    }
    signalProcess(pidFile, SIGUSR2);
    for (int attempt = 0; attempt < kAttempts && processOf(pidFile) != 0 && leaseLeft(pidFile) != 0; ++attempt) {
        waitAMoment();
    }
}

void endDhcpv4(const std::string& pidFile, const std::string& device) {
    releaseDhcpv4(pidFile);
    endProcess(startedPidFile("dhcpv4", device), SIGTERM);
}

std::string dhcpv4PidFile(const std::string& device) {
    return "/var/run/udhcpc-" + device + ".pid";
}

std::string dhcpv6PidFile(const std::string& device) {
    return "/run/dhcpcd/" + device + "-6.pid";
}

bool runDhcpv6(const std::string& device, const Dhcpv6Wants& wants, bool renew) {
    const std::string wanted = configuration(device, wants);
    if (isStarted("dhcpv6", device) && readFile(configurationFile(device)) == wanted) {
        if (renew) {
            renewDhcpv6(device);
        }
        return true;
    }
    releaseDhcpv6(device);  // a kept lease would be asked for again as it was
    return writeFile(configurationFile(device), wanted) && startClient("dhcpv6", device);
}

bool renewDhcpv6(const std::string& device) {
    const pid_t client = processOf(dhcpv6PidFile(device));
    return client == 0 ? isStarted("dhcpv6", device) : tell(client, SIGUSR1);
}

void releaseDhcpv6(const std::string& device) {
    endProcess(startedPidFile("dhcpv6", device), SIGALRM);
}

bool acceptAdvertisements(const std::string& device) {
    return forwardIpv6() && writeFile(kernelSwitch(device, "accept_ra"), "2\n") &&  // although it forwards
           (isStarted("ra", device) || startClient("ra", device));
}

void refuseAdvertisements(const std::string& device) {
    endProcess(startedPidFile("ra", device), SIGTERM);
    writeFile(kernelSwitch(device, "accept_ra"), "0\n");
    ipQuietly({"-6", "route", "flush", "dev", device, "proto", "ra"});
}
