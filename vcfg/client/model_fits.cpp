#include "model_fits.h"

#include <vcfg/rdm.h>

#include <cinttypes>

#include "client_log.h"

namespace vcfg {

// The linker gives the program's number preference over the library's own, if the program has one.
bool modelFits() {
    static const bool fits = [] {
        if (vcfg_modelOfProgram == VCFG_MODEL_ID) {
            return true;
        }
        CLIENT_LOG(VLOG_ERROR,
                   "this program was built from another data model (%016" PRIx64 ") than libvcfg (%016" PRIx64
                   "): it is refused until it is built anew",
                   vcfg_modelOfProgram, VCFG_MODEL_ID);
        return false;
    }();
    return fits;
}

}  // namespace vcfg
