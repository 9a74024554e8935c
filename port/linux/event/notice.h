// What nobody sends a message about, for who asks the flight recorder why: an event of its own, with the device that it
// is about.
#pragma once

#include <string>

// Something that others stood on is gone, or is there again.
void noticeTrouble(const std::string& device, const std::string& text);
void noticeRelief(const std::string& device, const std::string& text);
