#include "fixture.h"
#include "inproc_fe.h"

void startWorld() {
    inproc::reset();
}

void stopWorld() {}

void ownerReports(const std::string& pattern, const std::string& json) {
    inproc::ownerReports(pattern, json);
}

void ownerApplies(const std::string& pattern) {
    inproc::ownerApplies(pattern);
}

void ownerRefuses(const std::string& pattern) {
    inproc::ownerRefuses(pattern);
}

std::vector<std::string> applied(size_t) {
    return inproc::applied();
}
