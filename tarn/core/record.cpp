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
    } else if (code == VCFG_OK) {
        logs::print("Free NULL pointer. %s %d\n", logs::sourceTag(place.file), place.line);
    }
}

}  // namespace record_detail
