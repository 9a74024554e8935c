#include "connection_name.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "recorder/events.h"
#include "store/clock.h"

namespace vcfg::bus {
namespace {

// An address without a file. The machine has one space of them, for all run directories: what lies behind the number
// keeps those of two apart.
struct Address {
    std::array<char, 6> prefix{'\0', 'v', 'c', 'f', 'g', '-'};
    std::array<uint32_t, 3> words{};  // the number, the process, the time
};

constexpr size_t kBytes = sizeof(Address::prefix) + sizeof(Address::words);
constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + kBytes;

}  // namespace

uint32_t nameConnection(int socket) {
    const uint32_t name = recorder::freshConnection();
    const Address own{.words = {name, static_cast<uint32_t>(getpid()), static_cast<uint32_t>(monotonicUs())}};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, own.prefix.data(), sizeof own.prefix);
    memcpy(address.sun_path + sizeof own.prefix, own.words.data(), sizeof own.words);
    return name != 0 && bind(socket, reinterpret_cast<const sockaddr*>(&address), kSize) == 0 ? name : 0;
}

uint32_t connectionName(const sockaddr_un& address, socklen_t size) {
    uint32_t name = 0;
    if (size == kSize && memcmp(address.sun_path, Address{}.prefix.data(), sizeof(Address::prefix)) == 0) {
        memcpy(&name, address.sun_path + sizeof(Address::prefix), sizeof name);
    }
    return name;
}

}  // namespace vcfg::bus
