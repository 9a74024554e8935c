// The payload of a message on the bus, for people.
#pragma once

#include <string>

#include "onlooker.h"

namespace vcfgctl {

struct Shown {
    std::string text;
    bool isWhole = true;  // false when something in it must not be seen, so that its bytes must not either
};

// Data-model requests in the words of the model, everything else as its text up to the first NUL.
Shown shownPayload(const Copy& copy, bool showSecrets);

// The object's path that the message is about; empty when it is about none.
std::string pathOf(const vcfg_msg_t& message);

}  // namespace vcfgctl
