// Reads of the data model, answered in this process.
#pragma once

#include <vcfg/rdm.h>

namespace vcfg {

enum class Step : uint8_t { Get, Next };
struct Wanted {
    Step step;
    bool refreshed;  // its owner is asked first, if it has one
    uint32_t oid;
    objIndex parent{};  // below which the next one is looked for
};

// The instance at `iid`, or the next one, which `iid` becomes; `record` is the caller's, who frees it. A vcfg_code.
int readModel(const Wanted& wanted, objIndex* iid, void** record);

}  // namespace vcfg
