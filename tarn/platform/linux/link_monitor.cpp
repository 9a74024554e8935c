#include "platform/link_monitor.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include "core/log.h"
#include "core/record.h"
#include "platform/linux/link_look.h"
#include "platform/linux/link_socket.h"
#include "platform/linux/link_table.h"
#include "platform/linux/port_speed.h"

namespace {

// Of the one thread that follows the kernel.
LinkTable& table() {
    static LinkTable only;
    return only;
}

std::atomic<bool> tellAll{false};

void closeKernelMonitor() {
    if (kernelFd >= 0) {
        close(kernelFd);
    }
    kernelFd = -1;
}

// The ports of the data model. Of a machine's many other links (of containers, bridges) nothing is to be told.
std::vector<std::string> configuredPorts() {
    std::vector<std::string> names;
    for (const auto& port : instances<EthernetInterface>()) {
        if (!port->Name.empty()) {
            names.emplace_back(port->Name.view());
        }
    }
    return names;
}

void tell(const std::vector<PortChange>& changes, kernel::LinkChanged linkChanged) {
    for (const PortChange& change : changes) {
        const std::string text = change.name + (change.up ? ":up:" + speedAndDuplex(change.name) : ":down:0:H");
        linkChanged(text.c_str());
    }
}

// What waits in the socket is older than what the links say themselves.
void look(kernel::LinkChanged linkChanged) {
    link_socket::drain(kernelFd);
    if (tellAll.exchange(false)) {
        table().forgetTold();
    }
    if (const auto links = link_socket::list()) {
        tell(table().takeAll(*links, configuredPorts()), linkChanged);
    } else {
        VLOG(VLOG_ERROR, "the kernel does not list its links");
    }
}

void handle(const link_messages::Datagram& datagram, kernel::LinkChanged linkChanged) {
    if (datagram.links.empty()) {
        return;
    }
    const auto ports = configuredPorts();
    for (const auto& link : datagram.links) {
        tell(table().take(link, ports), linkChanged);
    }
}

}  // namespace

int openKernelMonitor() {
    closeKernelMonitor();
    logs::print("[TARN] Initial kernel monitor ...");
    kernelFd = link_socket::open();
    if (kernelFd < 0) {
        logs::print("Could not open netlink socket for kernel monitor");
        return VCFG_ERR_FAIL;
    }
    logs::print("kernelFd=%d\n", kernelFd.load());
    lookAtAllPorts();
    return VCFG_OK;
}

void lookAtAllPorts() {
    tellAll = true;
    link_socket::knock(kernelFd);
}

void followKernel(kernel::LinkChanged linkChanged) {
    std::string_view datagram;
    const auto reading = link_socket::receive(kernelFd, datagram);
    if (reading == link_socket::Reading::Lost) {
        VLOG(VLOG_WARNING, "link events of the kernel are lost, all ports are looked at");
        look(linkChanged);
    } else if (tellAll) {
        look(linkChanged);
    } else if (reading == link_socket::Reading::Datagram) {
        handle(link_messages::decode(datagram), linkChanged);
    } else if (reading == link_socket::Reading::Failed) {
        VLOG(VLOG_ERROR, "link events of the kernel cannot be read: %s", strerror(errno));
    }
}
