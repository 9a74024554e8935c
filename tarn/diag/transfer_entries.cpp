#include "diag/transfer_entries.h"

#include "diag/transfer_result.h"

namespace {

template <class T>
void removeStored() {
    for (const auto& entry : storedInstances<T>()) {
        entry.remove();
    }
}

}  // namespace

void tarnDiagResultsClear(uint32_t object) {
    if (object == RDM_OID_IP_DIAG_DL_DIAG) {
        removeStored<DownloadPerConnectionResult>();
        removeStored<DownloadIncrementalResult>();
    } else if (object == RDM_OID_IP_DIAG_UL_DIAG) {
        removeStored<UploadPerConnectionResult>();
        removeStored<UploadIncrementalResult>();
    }
}
