// System calls that the kernel refuses to one thread, as a broken or an older system would.
#pragma once

#include <functional>
#include <vector>

// Runs `body` on a thread of its own, of which the first so many of these calls (SYS_*) fail with `error`. False where
// the kernel has no such thing: then nothing was run.
bool whereRefused(const std::vector<long>& calls, int error, int times, const std::function<void()>& body);
