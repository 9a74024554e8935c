#include "stack.h"

#include <algorithm>
#include <map>
#include <string_view>

namespace vcfgctl {

std::vector<Layer> layersOf(const Story& story) {
    std::string why;
    std::vector<Finding> findings;
    findAll(story, select("InterfaceStack.", &why).front(), &findings);
    std::map<uint8_t, Layer> layers;
    for (const Finding& finding : findings) {
        const std::string_view name = finding.parameter->name;
        Layer& layer = layers[finding.iid.idx[0]];
        if (name == "HigherLayer" || name == "LowerLayer") {
            (name == "HigherLayer" ? layer.higher : layer.lower) = finding.value;
        }
    }
    std::vector<Layer> all;
    all.reserve(layers.size());
    for (auto& [iid, layer] : layers) {
        all.push_back(std::move(layer));
    }
    return all;
}

std::vector<Layer> beside(const std::vector<Layer>& layers, const std::string& path) {
    std::vector<Layer> others;
    for (const Layer& own : layers) {
        for (const Layer& other : layers) {
            if (own.higher == path && other.higher != path && other.lower == own.lower) {
                others.push_back(other);
            }
        }
    }
    return others;
}

}  // namespace vcfgctl
