#include "failover_table.h"

namespace failover {

const char* nameOf(Event event) {
    constexpr const char* kNames[] = {
        "the copper port comes up", "the copper port goes down", "the SFP port comes up",    "the SFP port goes down",
        "the line trains in ATM",   "the line trains in PTM",    "the line is lost",         "the stick comes up",
        "the stick goes down",      "a message asks for a look", "the links are set up anew"};
    return kNames[static_cast<int>(event)];
}

std::string Setting::words() const {
    return "WANPriority " + std::to_string(wanPriority) + ", EthWANPriority " + std::to_string(ethWanPriority);
}

std::string State::words() const {
    constexpr const char* kLinkNames[] = {"copper", "SFP", "line", "stick"};
    std::string text;
    for (size_t link = 0; link < kLinks; ++link) {
        text += kLinkNames[link] + std::string(up[link] ? " up" : " down") + (acted[link] ? " (up), " : " (down), ");
    }
    return text + (mode == Mode::Atm ? "ATM" : "PTM") + ", carrier " + std::to_string(static_cast<int>(carrier)) +
           ", dslUp " + std::to_string(dslUp) + ", sfpUp " + std::to_string(sfpUp) + ", wanDown " +
           std::to_string(wanDown) + ", mobileDown " + std::to_string(mobileDown) + ", driver " +
           std::to_string(driver) + ", LED " + std::to_string(led) + ", asked " + std::to_string(asked);
}

}  // namespace failover
