// The parts of sentences, and those about what reached somebody.
#pragma once

#include <cstdint>
#include <string>

#include "story.h"

namespace vcfgctl {

std::string quoted(const std::string& text);
std::string fieldText(const Told& told, size_t each);
// Of a message: its type and its ends.
std::string messageText(const Told& told);
uint8_t sourceOf(const Told& told);
uint8_t destinationOf(const Told& told);

// Somebody has noticed what no message tells: a default route that went, a clock that was set.
bool isNotice(const Told& told);
// "cable eth0.5 pulled", of a link event's text.
std::string linkText(const std::string& event);
std::string eventText(const Story& story, const Told& told);
std::string receivedText(const Story& story, const Told& told);

}  // namespace vcfgctl
