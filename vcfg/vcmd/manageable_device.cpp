#include "manageable_device.h"

#include <cstring>

namespace vcfg::vcmd {

bool isMarkedForDeletion(std::span<const std::byte> record) {
    ManageableDevice device;
    if (record.size() != sizeof device) {
        return false;
    }
    memcpy(&device, record.data(), sizeof device);
    return device.Alias == "MGAB_DEV_DELETE";
}

}  // namespace vcfg::vcmd
