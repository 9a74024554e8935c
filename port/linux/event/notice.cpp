#include "notice.h"

#include <vcfg/recorder.h>

namespace {

// The recorder keeps an event long when its number is asked for.
void notice(const char* kind, const std::string& device, const std::string& text) {
    const uint32_t before = vcfgEventBegin(kind, 0, (device + ": " + text).c_str(), nullptr, 0);
    vcfgEventCurrent();
    vcfgEventEnd(before);
}

}  // namespace

void noticeTrouble(const std::string& device, const std::string& text) {
    notice("trouble", device, text);
}

void noticeRelief(const std::string& device, const std::string& text) {
    notice("relief", device, text);
}
