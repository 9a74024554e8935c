// The model's file, as another release, a person or a failing flash may have left it. What was taken can be written,
// and that text is taken without a word and written the same again.
#include <vcfg/codes.h>

#include "store/store.h"
#include "target.h"

using namespace vcfg::store;

void handleInput(std::string_view bytes) {
    static Store store;
    static Store again;
    again.fromText(bytes, What::All, Unknown::Refuse, nullptr, nullptr);
    store.clear(nullptr);
    Skipped skipped;
    std::string why;
    if (store.fromText(bytes, What::Configuration, Unknown::Skip, &skipped, &why) != VCFG_OK) {
        return;
    }
    const std::string written = store.toText(What::All);
    if (again.fromText(written, What::All, Unknown::Refuse, nullptr, &why) != VCFG_OK ||
        again.toText(What::All) != written) {
        finding("what was written is not taken as it was");
    }
}
