// What lies on a WAN link follows it: the IP interface, and the DHCP client that runs there.
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <vcfg/vcfg.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "hooks.h"
#include "model.h"
#include "network.h"

namespace {

// A daemon whose queue is full will look at the LED for what waits there, and may itself be waiting for this hook.
constexpr uint32_t kPatienceMs = 100;

struct Free {
    void operator()(void* memory) const { free(memory); }
};

template <class Object>
std::unique_ptr<Object, Free> next(objIndex& iid) {
    void* record = nullptr;
    const int result = vcfgFeObjStructGetNextWithoutUpdate(vcfg::ObjectId<Object>::value, &iid, &record);
    return std::unique_ptr<Object, Free>(result == VCFG_OK ? static_cast<Object*>(record) : nullptr);
}

std::string firstLine(const std::string& file) {
    char line[64] = "";
    FILE* const stream = fopen(file.c_str(), "re");
    if (stream != nullptr) {
        if (fgets(line, sizeof line, stream) != nullptr) {
            line[strcspn(line, "\n")] = '\0';
        }
        fclose(stream);
    }
    return line;
}

std::string pidFileOf(const std::string& device) {
    return "/var/run/udhcpc-" + device + ".pid";
}

// The DHCP client on that device; 0 when none runs.
pid_t clientOn(const std::string& device) {
    const std::string number = firstLine(pidFileOf(device));
    pid_t process = 0;
    std::from_chars(number.data(), number.data() + number.size(), process);
    return process > 1 && firstLine("/.proc/" + number + "/comm") == "udhcpc" ? process : 0;
}

bool startClient(const std::string& device) {
    const std::string pidFile = pidFileOf(device);
    const std::string name = "dhcpc-" + device;
    const char* const words[] = {"/usr/lib/gateway/gw-spawn",
                                 name.c_str(),
                                 "env",
                                 "-i",
                                 "PATH=/usr/lib/gateway/bin:/usr/sbin:/usr/bin:/sbin:/bin",
                                 "VCFG_RUN_DIR=/run/vcfg",
                                 "udhcpc",
                                 "-f",
                                 "-i",
                                 device.c_str(),
                                 "-p",
                                 pidFile.c_str(),
                                 "-s",
                                 "/usr/share/udhcpc/gateway.script",
                                 "-O",
                                 "121",
                                 "-O",
                                 "212",
                                 "-t",
                                 "4",
                                 "-T",
                                 "1",
                                 "-A",
                                 "2",
                                 nullptr};
    pid_t child = 0;
    int status = 0;
    return posix_spawn(&child, words[0], nullptr, nullptr, const_cast<char* const*>(words), environ) == 0 &&
           waitpid(child, &status, 0) > 0 && status == 0;
}

// A link that is back may lead elsewhere, so the lease is asked for anew; on a link that is gone it is worth nothing.
bool followWithClient(const std::string& device, bool up) {
    const pid_t client = clientOn(device);
    if (client == 0) {
        return !up || startClient(device);
    }
    return kill(client, up ? SIGUSR1 : SIGUSR2) == 0;
}

bool hasClient(int interface) {
    objIndex iid{};
    while (const auto client = next<Dhcpv4Client>(iid)) {
        if (client->Enable != 0 && interfaceNumber(client->Interface.c_str()) == interface) {
            return true;
        }
    }
    return false;
}

bool follow(const objIndex& iid, IpInterface& interface, bool up) {
    interface.Status = up ? "Up" : "LowerLayerDown";
    if (vcfgFeObjStructSetWithoutApply(RDM_OID_IP_IFACE, &iid, &interface, nullptr) != VCFG_OK) {
        fprintf(stderr, "gw-apply: IP.Interface.%u does not take its status\n", iid.idx[0]);
        return false;
    }
    const std::string device = interface.X_VORAN_IfName.c_str();
    return !isDevice(device) || !hasClient(iid.idx[0]) || followWithClient(device, up);
}

bool isUp(const std::optional<Values>& values) {
    return values && values->text("Status") == "Up";
}

}  // namespace

// The Internet LED is the daemon's; whether an interface can be used is known here first.
void tellLed() {
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + 1));
    if (message == nullptr) {
        return;
    }
    message->type = VCFG_MSG_WAN_INTERNET_LED_UPDATE;
    message->dstEid = VCFG_EID_TARN;
    vcfg_msg_sendAndGetReply(message, nullptr, kPatienceMs);
}

bool applyLink(const Change& change) {
    const bool up = isUp(change.now);
    if (up == isUp(change.before)) {
        return true;
    }
    bool followed = true;
    bool any = false;
    objIndex iid{};
    while (const auto interface = next<IpInterface>(iid)) {
        if (interface->Enable != 0 && interface->LowerLayers == change.path.c_str()) {
            followed = follow(iid, *interface, up) && followed;
            any = true;
        }
    }
    if (any) {
        tellLed();
    }
    return followed;
}
