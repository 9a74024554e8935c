#include "lease_end.h"

#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstdint>
#include <cstdio>

namespace {

constexpr uint32_t kForever = UINT32_MAX;

// Beside the client's own file.
std::string noteOf(std::string_view pidFile) {
    return std::string(pidFile.substr(0, pidFile.rfind(".pid"))) + ".lease";
}

// A machine that sleeps does not stop the provider's clock.
int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_BOOTTIME, &time);
    return time.tv_sec;
}

}  // namespace

void noteLeaseEnd(const std::string& pidFile, std::string_view seconds) {
    uint32_t length = 0;
    const auto [end, problem] = std::from_chars(seconds.data(), seconds.data() + seconds.size(), length);
    if (problem != std::errc() || end != seconds.data() + seconds.size()) {
        return;
    }
    const std::string note = noteOf(pidFile);
    const std::string fresh = note + ".new";
    FILE* const file = fopen(fresh.c_str(), "we");
    if (file == nullptr) {
        return;
    }
    fprintf(file, "%lld\n", length == kForever ? -1LL : static_cast<long long>(now() + length));
    if (fclose(file) == 0) {
        rename(fresh.c_str(), note.c_str());
    }
}

void forgetLeaseEnd(const std::string& pidFile) {
    unlink(noteOf(pidFile).c_str());
}

int leaseLeft(const std::string& pidFile) {
    FILE* const file = fopen(noteOf(pidFile).c_str(), "re");
    long long end = 0;
    const bool known = file != nullptr && fscanf(file, "%lld", &end) == 1;
    if (file != nullptr) {
        fclose(file);
    }
    return known && end < 0 ? -1 : static_cast<int>(std::clamp<int64_t>(known ? end - now() : 0, 0, INT_MAX));
}
