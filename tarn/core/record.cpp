#include "core/record.h"

#include <cstdlib>

#include "core/log.h"

namespace record_detail {

int read(Read how, uint32_t oid, objIndex& iid, void** record) {
    return how == Read::Refreshed ? vcfgFeObjStructGet(oid, &iid, record)
                                  : vcfgFeObjStructGetWithoutUpdate(oid, &iid, record);
}

int readNext(Read how, uint32_t oid, objIndex& iid, void** record) {
    return how == Read::Refreshed ? vcfgFeObjStructGetNext(oid, &iid, record)
                                  : vcfgFeObjStructGetNextWithoutUpdate(oid, &iid, record);
}

int readNextChild(uint32_t oid, const objIndex& parent, objIndex& iid, void** record) {
    return vcfgFeSubInStructGetNext(oid, &parent, &iid, record);
}

void release(int code, void* record, Place place) {
    if (record != nullptr) {
        free(record);
        return;
    }
    if (code != VCFG_OK) {
        return;
    }
    const std::string_view source = logs::sourceTag(place.file);
    if (source == "tarn") {  // the dispatcher's module says it in the framework log, all others on standard output
        VLOG(VLOG_DEBUG, "Free NULL pointer");
    } else {
        logs::print("Free NULL pointer. %s %d\n", source.data(), place.line);
    }
}

}  // namespace record_detail
