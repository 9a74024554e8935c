// Records as the front end hands them out.
#pragma once

#include <vcfg/fe.h>

#include <cstdlib>
#include <memory>

namespace vcfgctl {

struct FreeRecord {
    void operator()(void* record) const { free(record); }
};
using Record = std::unique_ptr<void, FreeRecord>;

// A vcfg_code. With `refresh`, the owner brings the record up to date first.
int readOne(uint32_t oid, objIndex* iid, bool refresh, Record* record);
// The instance after `iid`, which becomes it.
int readNext(uint32_t oid, objIndex* iid, bool refresh, Record* record);

}  // namespace vcfgctl
