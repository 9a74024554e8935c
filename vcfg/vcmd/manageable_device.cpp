#include "manageable_device.h"

#include <cstring>

namespace vcfg::vcmd {

bool isMarkedForDeletion(const model::Object& object, std::span<const std::byte> record) {
    if (object.oid != RDM_OID_MANAGEABLE_DEVICE || record.size() != sizeof(ManageableDevice)) {
        return false;
    }
    ManageableDevice device;
    memcpy(&device, record.data(), sizeof device);
    return device.Alias == "MGAB_DEV_DELETE";
}

}  // namespace vcfg::vcmd
