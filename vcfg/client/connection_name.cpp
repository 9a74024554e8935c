#include "connection_name.h"

#include <cstddef>
#include <cstring>

#include "recorder/events.h"

namespace vcfg::bus {
namespace {

// An address without a file; the number lies behind it as it is in memory.
constexpr char kPrefix[] = {'\0', 'v', 'c', 'f', 'g', '-'};
constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + sizeof kPrefix + sizeof(uint32_t);

}  // namespace

uint32_t nameConnection(int socket) {
    const uint32_t name = recorder::freshConnection();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, kPrefix, sizeof kPrefix);
    memcpy(address.sun_path + sizeof kPrefix, &name, sizeof name);
    return name != 0 && bind(socket, reinterpret_cast<const sockaddr*>(&address), kSize) == 0 ? name : 0;
}

uint32_t connectionName(const sockaddr_un& address, socklen_t size) {
    uint32_t name = 0;
    if (size == kSize && memcmp(address.sun_path, kPrefix, sizeof kPrefix) == 0) {
        memcpy(&name, address.sun_path + sizeof kPrefix, sizeof name);
    }
    return name;
}

}  // namespace vcfg::bus
