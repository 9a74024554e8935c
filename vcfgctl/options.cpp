#include "options.h"

#include "names.h"
#include "nearest.h"
#include "print.h"

namespace vcfgctl {

bool endpointOption(const Call& call, const std::string& option, const std::string& text, uint8_t* eid) {
    const std::optional<uint32_t> found = parseEndpoint(text);
    if (!found) {
        wrongUsage(call, "--" + option + " takes an endpoint, 1 to 255 or by name (" + endpointList() + "), not \"" +
                             oneLine(text) + "\"");
        return false;
    }
    *eid = static_cast<uint8_t>(*found);
    return true;
}

bool typeOption(const Call& call, const std::string& text, uint32_t* type) {
    const std::optional<uint32_t> found = parseType(text);
    if (!found) {
        const std::vector<std::string> near =
            nearest(typeNames(), text.find('_') != text.npos ? "VCFG_MSG_" + text : text);
        wrongUsage(call, "--type takes a number up to 0xffffffff or a message's name, not \"" + oneLine(text) + "\"" +
                             (near.empty() ? "" : "; did you mean " + near.front() + "?"));
        return false;
    }
    *type = *found;
    return true;
}

}  // namespace vcfgctl
