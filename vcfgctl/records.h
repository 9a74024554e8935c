// Records as the front end hands them out.
#pragma once

#include <vcfg/fe.h>

#include <memory>

#include "client/free.h"

namespace vcfgctl {

using Record = std::unique_ptr<void, vcfg::Free>;

// A vcfg_code. With `refresh`, the owner brings the record up to date first.
int readOne(uint32_t oid, objIndex* iid, bool refresh, Record* record);
// The instance after `iid`, which becomes it.
int readNext(uint32_t oid, objIndex* iid, bool refresh, Record* record);

}  // namespace vcfgctl
