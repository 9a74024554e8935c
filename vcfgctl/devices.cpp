#include "devices.h"

#include <algorithm>

#include "narrate_events.h"

namespace vcfgctl {
namespace {

using vcfg::recorder::Kind;

bool goesOn(std::string_view rest) {
    return !rest.empty() && (isalnum(static_cast<unsigned char>(rest[0])) != 0 ||
                             (rest[0] == '.' && rest.size() > 1 && isdigit(static_cast<unsigned char>(rest[1])) != 0));
}

}  // namespace

bool namesDevice(std::string_view text, std::string_view device) {
    for (size_t at = text.find(device); at != text.npos; at = text.find(device, at + 1)) {
        const bool isBegin = at == 0 || isalnum(static_cast<unsigned char>(text[at - 1])) == 0;
        if (isBegin && !goesOn(text.substr(at + device.size()))) {
            return true;
        }
    }
    return false;
}

// One may notice several things of a device: they begin with another word.
std::string kindOf(const Told& told) {
    const std::string_view text = told.field(2);
    const size_t begin = isNotice(told) ? text.find(": ") : text.npos;
    return begin == text.npos ? std::string(told.field(0))
                              : std::string(text.substr(begin, text.find(' ', begin + 2) - begin));
}

std::string deviceOf(const Story& story, const Told& begin) {
    if (begin.entry.kind != Kind::Event) {
        return "";
    }
    if (begin.field(0) == "kernel" || isNotice(begin)) {
        const std::string text = fieldText(begin, 2);
        return text.substr(0, std::min(text.find(':'), text.find(' ')));
    }
    const Told* report = begin.field(0) == "program" ? story.reportOf(begin) : nullptr;
    const std::string text = report != nullptr ? fieldText(*report, 1) : "";
    const size_t of = text.find(" of ");
    return of == text.npos ? "" : text.substr(of + 4, text.find(": ", of) - of - 4);
}

}  // namespace vcfgctl
