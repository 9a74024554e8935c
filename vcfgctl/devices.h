// Links by their names, in what is told of them.
#pragma once

#include <string>
#include <string_view>

#include "story.h"

namespace vcfgctl {

// The device that an event is about; empty when it is about none.
std::string deviceOf(const Story& story, const Told& begin);
// What it is that somebody was told of a device: of the same kind the latest is what counts.
std::string kindOf(const Told& told);
// "eth0.5" is not what "eth0.50" names, nor "eth0" what "eth0.5" does.
bool namesDevice(std::string_view text, std::string_view device);

}  // namespace vcfgctl
