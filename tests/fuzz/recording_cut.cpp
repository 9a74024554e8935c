// A recording that somebody hands over, cut to the chain of one event (the input's first byte). What is left of it is a
// recording too, of which the same cut takes nothing more.
#include <fstream>
#include <sstream>

#include "cut.h"
#include "own_directory.h"
#include "target.h"
#include "verb.h"

namespace {

std::string contentOf(const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(name, std::ios::binary).rdbuf();
    return content.str();
}

}  // namespace

void handleInput(std::string_view bytes) {
    static const std::string given = ownDirectory() + "/given";
    static const std::string cut = ownDirectory() + "/cut";
    static const std::string again = ownDirectory() + "/again";
    if (bytes.empty()) {
        return;
    }
    const auto event = static_cast<uint8_t>(bytes[0]);
    std::ofstream(given, std::ios::binary | std::ios::trunc) << bytes.substr(1);
    if (vcfgctl::cutRecording(event, given, cut) != vcfgctl::kDone) {
        return;
    }
    if (vcfgctl::cutRecording(event, cut, again) != vcfgctl::kDone || contentOf(cut) != contentOf(again)) {
        finding("what was cut is not whole");
    }
}
