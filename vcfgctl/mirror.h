// What vcmd has, kept up by the changes that it tells: nothing is asked twice, and no state is missed.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "changes.h"
#include "select.h"

namespace vcfgctl {

// What must be watched to know the selection's values and whether its filters pass; a line each.
std::string patternsOf(const Selection& selection);

class Mirror {
  public:
    // The values that the selections stand for now, those that their filters look at included. While changes are told.
    // An exit status, reported when not kDone.
    int read(const std::vector<Selection>& selections);
    void take(const Change& change);

    Lookup lookup() const;
    // Every value that the selection, which has a parameter, stands for.
    using TakeValue = std::function<void(const std::string& path, const std::string& value)>;
    void forEach(const Selection& selection, const TakeValue& take) const;

  private:
    void addInstance(const vcfg::model::Object& object, const objIndex& iid);
    void addRecord(const vcfg::model::Object& object, const objIndex& iid, const void* record);

    std::map<std::string, std::string> values_;
};

}  // namespace vcfgctl
