// One parameter: as it is, and as it came to be so.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "select.h"
#include "store/record.h"
#include "story.h"

namespace vcfgctl {

struct Finding {
    const vcfg::model::Object* object;
    const vcfg::model::Parameter* parameter;
    objIndex iid;
    std::string value;                          // as it is shown
    const Told* change;                         // the last one; null when the recorder has lost it
    std::vector<Link> chain;                    // to the event under which it was made
    std::optional<vcfg::store::Origin> origin;  // of the whole record: what is known without the recorder

    std::string path() const;
    // Whether what the recorder has last is what there is now. Long values are recorded in part.
    bool isCurrent() const;
};

// An exit status, reported when not kDone.
int findAll(const Story& story, const Selection& selection, std::vector<Finding>* findings);

}  // namespace vcfgctl
