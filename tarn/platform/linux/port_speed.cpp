#include "platform/linux/port_speed.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

std::string speedAndDuplex(const std::string& port) {
    unsigned speed = 1000;
    char duplex = 'F';
    const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return "1000:F";
    }
    ethtool_cmd settings{};
    settings.cmd = ETHTOOL_GSET;
    ifreq request{};
    port.copy(request.ifr_name, IFNAMSIZ - 1);
    request.ifr_data = reinterpret_cast<char*>(&settings);
    if (ioctl(fd, SIOCETHTOOL, &request) == 0) {
        const unsigned told = ethtool_cmd_speed(&settings);
        if (told != 0 && told != static_cast<unsigned>(SPEED_UNKNOWN)) {
            speed = told;
        }
        if (settings.duplex == DUPLEX_HALF) {
            duplex = 'H';
        }
    }
    close(fd);
    return std::to_string(speed) + ":" + duplex;
}
