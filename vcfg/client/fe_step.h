// The steps of a change of several objects, as they lie in its request.
#pragma once

#include <cstring>
#include <string_view>

#include "fe_wire.h"

namespace vcfg::wire {

struct Step {
    StepHeader header;
    std::string_view text;  // a JSON object, or nothing
};

// Takes a header off the bytes; false when they are fewer.
template <class Header>
bool takeHeader(std::string_view& bytes, Header* header) {
    if (bytes.size() < sizeof *header) {
        return false;
    }
    memcpy(header, bytes.data(), sizeof *header);
    bytes.remove_prefix(sizeof *header);
    return true;
}

// Takes the next step off the bytes; false when they begin with none that is whole.
inline bool takeStep(std::string_view& bytes, Step* step) {
    if (!takeHeader(bytes, &step->header) || step->header.length > bytes.size()) {
        return false;
    }
    const std::string_view text = bytes.substr(0, step->header.length);
    bytes.remove_prefix(text.size());
    step->text = text.substr(0, text.find('\0'));
    return text.empty() || step->text.size() == text.size() - 1;
}

}  // namespace vcfg::wire
