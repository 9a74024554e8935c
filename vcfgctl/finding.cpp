#include "finding.h"

#include "client/model_lease.h"
#include "instances.h"
#include "narrate.h"
#include "print.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

std::optional<vcfg::store::Origin> originOf(const model::Object& object, const objIndex& iid) {
    vcfg::ModelLease lease;
    if (lease.take() != VCFG_OK) {
        return std::nullopt;
    }
    const vcfg::store::Found found = lease.view().get(object.oid, iid);
    return found.code == VCFG_OK ? std::optional(vcfg::store::originOf(found.value)) : std::nullopt;
}

Finding find(const Story& story, const model::Object& object, const objIndex& iid, const model::Parameter& parameter,
             const void* record) {
    const std::string value = valueText(parameter, record);
    Finding finding{&object,
                    &parameter,
                    iid,
                    parameter.isSecret() && !value.empty() ? std::string(model::kHidden) : oneLine(value),
                    story.lastChange(object, iid, parameter),
                    {},
                    std::nullopt};
    if (finding.change != nullptr) {
        finding.chain = story.chainTo(finding.change->entry.event);
    }
    return finding;
}

}  // namespace

std::string Finding::path() const {
    return model::path(*object, iid) + "." + parameter->name;
}

bool Finding::isCurrent() const {
    return change != nullptr && value.starts_with(valueAfter(*change)) &&
           (value.empty() || !valueAfter(*change).empty());
}

int findAll(const Story& story, const Selection& selection, std::vector<Finding>* findings) {
    return forEach(selection, false, [&](const objIndex& iid, const void* record) {
        const std::optional<vcfg::store::Origin> origin = originOf(*selection.object, iid);
        for (const model::Parameter& parameter : selection.object->parameters) {
            if (selection.parameter == nullptr || selection.parameter == &parameter) {
                findings->push_back(find(story, *selection.object, iid, parameter, record));
                findings->back().origin = origin;
            }
        }
    });
}

}  // namespace vcfgctl
