// Stories that are kept: a line each for what happens, numbers first, words for the reader behind them.
#pragma once

#include <optional>
#include <string>

#include "story.h"

namespace sim {

std::string fileText(const Story& story);
// Nothing when it cannot be read or is no story.
std::optional<Story> readStory(const char* path);

}  // namespace sim
