#include "secret.h"

namespace vcfgctl {

std::string shown(const Call& call, const vcfg::model::Parameter& parameter, const std::string& value) {
    const bool isHidden = parameter.isSecret() && !value.empty() && call.option(kShowSecrets.name) == nullptr;
    return isHidden ? std::string(vcfg::model::kHidden) : value;
}

}  // namespace vcfgctl
