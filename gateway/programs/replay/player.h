// Whoever plays the recording, as the stand-ins of a replay ask it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct Result {
    int32_t status = 0;  // as system() tells it
    std::string said;
};

// The answer comes when the recording has come to it; nothing when nobody plays one.
std::optional<Result> resultOf(const std::string& question);
