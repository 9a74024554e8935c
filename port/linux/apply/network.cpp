#include "network.h"

#include "process.h"

namespace {

bool runIp(std::vector<std::string> words, bool quiet) {
    words.insert(words.begin(), "ip");
    return run(words, quiet);
}

}  // namespace

bool ip(const std::vector<std::string>& words) {
    return runIp(words, false);
}

void ipQuietly(const std::vector<std::string>& words) {
    runIp(words, true);
}
