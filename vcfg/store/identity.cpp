#include "identity.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

#include "model/describe.h"

namespace vcfg::store {
namespace {

constexpr uint32_t kLayout = 1;

// FNV-1a: nobody is kept out by it, mistakes are.
class Sum {
  public:
    void add(std::string_view bytes) {
        for (const char byte : bytes) {
            sum_ = (sum_ ^ static_cast<unsigned char>(byte)) * 0x100000001b3;
        }
    }
    void add(uint64_t number) { add({reinterpret_cast<const char*>(&number), sizeof number}); }
    uint64_t value() const { return sum_; }

  private:
    uint64_t sum_ = 0xcbf29ce484222325;
};

uint64_t sumOfModel() {
    Sum sum;
    for (const model::Object& object : model::objects()) {
        sum.add(object.pattern);
        sum.add(object.size);
        for (const model::Parameter& parameter : object.parameters) {
            sum.add(parameter.name);
            sum.add(static_cast<uint64_t>(parameter.kind) << 48 | uint64_t{parameter.size} << 32 | parameter.offset);
        }
    }
    return sum.value();
}

Identity makeIdentity() {
    Identity identity{kLayout, sizeof(void*), sumOfModel(), {}};
    const int fd = open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
        // An empty name is good enough where there is none: it differs from all others.
        const ssize_t length = read(fd, identity.boot, sizeof identity.boot - 1);
        identity.boot[length > 0 ? length : 0] = '\0';
        close(fd);
    }
    return identity;
}

}  // namespace

const Identity& ownIdentity() {
    static const Identity identity = makeIdentity();
    return identity;
}

bool readIdentity(std::string_view note, Identity* identity) {
    if (note.size() != sizeof *identity) {
        return false;
    }
    std::memcpy(identity, note.data(), sizeof *identity);
    return true;
}

}  // namespace vcfg::store
