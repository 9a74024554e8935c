#include "records.h"

namespace vcfgctl {

int readOne(uint32_t oid, objIndex* iid, bool refresh, Record* record) {
    void* found = nullptr;
    const int code = refresh ? vcfgFeObjStructGet(oid, iid, &found) : vcfgFeObjStructGetWithoutUpdate(oid, iid, &found);
    record->reset(found);
    return code;
}

int readNext(uint32_t oid, objIndex* iid, bool refresh, Record* record) {
    void* found = nullptr;
    const int code =
        refresh ? vcfgFeObjStructGetNext(oid, iid, &found) : vcfgFeObjStructGetNextWithoutUpdate(oid, iid, &found);
    record->reset(found);
    return code;
}

}  // namespace vcfgctl
