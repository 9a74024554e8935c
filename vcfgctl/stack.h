// What lies on what, as the interface stack has it.
#pragma once

#include <string>
#include <vector>

#include "finding.h"

namespace vcfgctl {

struct Layer {
    std::string higher;
    std::string lower;
};
std::vector<Layer> layersOf(const Story& story);

// The others that lie on what this one lies on: the channels of a line, the ports of a bridge.
std::vector<Layer> beside(const std::vector<Layer>& layers, const std::string& path);

}  // namespace vcfgctl
