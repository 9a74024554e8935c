#include "client_port.h"

#include <dirent.h>
#include <linux/if_bridge.h>
#include <net/ethernet.h>
#include <netinet/ether.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "words.h"

namespace {

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};
using Directory = std::unique_ptr<DIR, CloseDirectory>;

// The kernel's number of the port; 0 for none.
unsigned portNumber(const std::string& bridge, const ether_addr& mac) {
    const File table(fopen(("/sys/class/net/" + bridge + "/brforward").c_str(), "re"));
    __fdb_entry entry{};
    while (table && fread(&entry, sizeof entry, 1, table.get()) == 1) {
        if (memcmp(entry.mac_addr, mac.ether_addr_octet, sizeof entry.mac_addr) == 0 && entry.is_local == 0) {
            return entry.port_no + (unsigned{entry.port_hi} << 8U);
        }
    }
    return 0;
}

unsigned numberOf(const std::string& port) {
    const File file(fopen(("/sys/class/net/" + port + "/brport/port_no").c_str(), "re"));
    char text[32] = "";
    return file && fgets(text, sizeof text, file.get()) != nullptr ? static_cast<unsigned>(strtoul(text, nullptr, 0))
                                                                   : 0;
}

}  // namespace

std::string portOfClient(const std::string& bridge, const std::string& mac) {
    ether_addr address{};
    if (!isDevice(bridge) || ether_aton_r(mac.c_str(), &address) == nullptr) {
        return {};
    }
    const unsigned wanted = portNumber(bridge, address);
    const Directory ports(opendir(("/sys/class/net/" + bridge + "/brif").c_str()));
    while (const dirent* port = wanted == 0 || !ports ? nullptr : readdir(ports.get())) {
        if (numberOf(port->d_name) == wanted) {
            return port->d_name;
        }
    }
    return {};
}
