#include "clients.h"
#include "hooks.h"
#include "process.h"
#include "stored.h"
#include "use.h"
#include "words.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace {

// A name that is one word to pppd and part of a file's name.
bool isWord(const std::string& text) {
    constexpr const char* kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
    return !text.empty() && text[0] != '.' && text[0] != '-' && text.find_first_not_of(kLetters) == std::string::npos;
}

// A text that pppd's options file takes as one word; nothing for one that no line can hold.
std::string quoted(const std::string& text) {
    std::string word = "\"";
    for (const char letter : text) {
        if (static_cast<unsigned char>(letter) < ' ') {
            return "\"\"";
        }
        word += letter == '"' || letter == '\\' ? std::string("\\") + letter : std::string(1, letter);
    }
    return word + "\"";
}

std::string pidFile(const std::string& link) {
    return "/var/run/ppp-" + link + ".pid";
}

// Device that the PPPoE frames go over.
std::string carrier(const std::string& lowerLayers) {
    const auto link = stored<EthernetLink>(instance(numberIn(lowerLayers, "Ethernet.Link.")));
    const std::string device = link ? link->Name.c_str() : "";
    return isDevice(device) ? device : std::string();
}

bool writeOptions(const PppInterface& ppp, const std::string& link, const std::string& device) {
    const std::string path = clientFile("ppp-" + link + ".options");
    unlink(path.c_str());
    FILE* const file = fopen(path.c_str(), "wxe");
    if (file == nullptr) {
        perror(("port-apply: " + path).c_str());
        return false;
    }
    const bool secret = fchmod(fileno(file), 0600) == 0;
    fprintf(file, "plugin pppoe.so\nnic-%s\nlinkname %s\nifname %s\n", device.c_str(), link.c_str(),
            ppp.X_VORAN_IfName.c_str());
    fprintf(file, "user %s\npassword %s\n", quoted(ppp.Username.c_str()).c_str(), quoted(ppp.Password.c_str()).c_str());
    // At its end a script may still have to tell a daemon that is busy or just starting: pppd itself waits for 5 s.
    fprintf(file, "nodetach\nnoauth\nnoipdefault\nnodefaultroute\nusepeerdns\nmaxfail 1\nchild-timeout 60\n%s",
            ppp.IPv6CPEnable != 0 ? "+ipv6\n" : "");
    return fclose(file) == 0 && secret;
}

bool isDriverThere() {
    return access("/dev/ppp", F_OK) == 0;
}

bool dial(const PppInterface& ppp, const std::string& link) {
    if (processOf(pidFile(link)) != 0) {
        return true;
    }
    const std::string device = carrier(ppp.LowerLayers.c_str());
    if (device.empty() || !isWord(ppp.X_VORAN_IfName.c_str())) {
        fprintf(stderr, "port-apply: %s has no device to dial over, or none to make\n", link.c_str());
        return false;
    }
    if (!isDriverThere()) {
        vlog_log_f(VLOG_WARNING, "ppp_interface", __LINE__, __func__, "this kernel has no PPP, %s is not dialled",
                   link.c_str());
        return true;
    }
    return writeOptions(ppp, link, device) && startClient("ppp", link);
}

Stored<PppInterface> linkAt(const std::string& path) {
    return stored<PppInterface>(instance(numberIn(path, "PPP.Interface.")));
}

}  // namespace

bool resetPpp(const std::string& path) {
    const auto ppp = linkAt(path);
    const std::string link = ppp ? ppp->X_VORAN_LinkName.c_str() : "";
    if (!isWord(link) || ppp->Enable == 0) {
        return complain(path, "is not enabled, or has no link name: there is no session to begin anew");
    }
    if (!isDriverThere()) {
        return complain(path, "cannot be dialled: this kernel has no PPP");
    }
    endProcess(pidFile(link), SIGTERM);
    return run({"vcfgctl", "set", "--no-apply", path + ".ConnectionStatus=Connecting"}) && dial(*ppp, link);
}

bool applyPppInterface(const Change& change) {
    const std::optional<Values>& values = change.now ? change.now : change.before;
    if (change.now && change.now->flag("Reset")) {
        return resetPpp(change.path);
    }
    const std::string link = values ? values->text("X_VORAN_LinkName") : std::string();
    if (!isWord(link)) {
        return true;
    }
    const std::string before = change.before ? change.before->text("ConnectionStatus") : "";
    const std::string now = change.now ? change.now->text("ConnectionStatus") : "Disconnected";
    if (const auto ppp = linkAt(change.path); now == "Connecting" && ppp && ppp->Enable != 0) {
        // A session that has just gone has told so before its pppd ended, which would dial for nobody.
        if (const pid_t former = processOf(pidFile(link)); former != 0 && before == "Disconnected") {
            awaitEnd(former);
        }
        return dial(*ppp, link);
    }
    if (now == "Connected" && before != now && values->flag("IPv6CPEnable")) {
        return startIpv6Over(change.path);
    }
    if (now == "Disconnected" && before != now) {
        endProcess(pidFile(link), SIGTERM);
    }
    return true;
}
