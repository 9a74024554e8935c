#include "connection_name.h"

#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstring>

#include "recorder/events.h"
#include "store/clock.h"

namespace vcfg::bus {
namespace {

constexpr char kFreely = '-';
constexpr char kInTurn = '=';

// An address without a file. The machine has one space of them, for all run directories: what lies behind the number
// keeps those of two apart.
struct Address {
    std::array<char, 5> prefix{'\0', 'v', 'c', 'f', 'g'};
    char order = kFreely;
    std::array<uint32_t, 3> words{};  // the number, the process, the time
};

constexpr size_t kHead = sizeof(Address::prefix) + sizeof(Address::order);
constexpr size_t kBytes = kHead + sizeof(Address::words);
constexpr socklen_t kSize = offsetof(sockaddr_un, sun_path) + kBytes;

}  // namespace

// An address is worth having without a number, too.
ConnectionName nameConnection(int socket, bool isInTurn) {
    const ConnectionName name{recorder::freshConnection(), isInTurn};
    const Address own{.order = isInTurn ? kInTurn : kFreely,
                      .words = {name.number, static_cast<uint32_t>(getpid()), static_cast<uint32_t>(monotonicUs())}};
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    memcpy(address.sun_path, &own, kHead);
    memcpy(address.sun_path + kHead, own.words.data(), sizeof own.words);
    return bind(socket, reinterpret_cast<const sockaddr*>(&address), kSize) == 0 ? name : ConnectionName{};
}

ConnectionName connectionName(const sockaddr_un& address, socklen_t size) {
    ConnectionName name;
    if (size == kSize && memcmp(address.sun_path, Address{}.prefix.data(), sizeof(Address::prefix)) == 0) {
        name.isInTurn = address.sun_path[sizeof(Address::prefix)] == kInTurn;
        memcpy(&name.number, address.sun_path + kHead, sizeof name.number);
    }
    return name;
}

}  // namespace vcfg::bus
