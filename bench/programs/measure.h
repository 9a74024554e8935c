// What the measuring programs have in common: one serves measures over its standard streams, and talks to servers that
// it forked. Whoever runs several of them can so let their rounds take turns.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "process.h"

namespace bench {

constexpr size_t kEnvelope = 56;
constexpr size_t kPayloads[] = {200, 1024, 65536 - kEnvelope};  // the last makes a packet of 64 KiB

// Something that can be measured, and its figures when it is done `count` times.
struct Measure {
    std::string name;
    std::function<std::vector<double>(int count)> run;
};

// Prints the measures' names as a JSON array, then answers each line "COUNT NAME" with an array of figures, until the
// input ends.
int serve(const std::vector<Measure>& measures);

double microseconds(const std::function<void()>& work);
std::vector<double> microsecondsOfEach(int count, const std::function<void()>& work);
// Messages a second, when `batch` returns as soon as that many have arrived.
Measure oneWay(const std::function<void(int count)>& batch);
// One measure per payload size: "call 200", "call 1024", ...
std::vector<Measure> calls(const std::function<void(size_t payload)>& call);
std::vector<Measure> operator+(std::vector<Measure> left, Measure right);

}  // namespace bench
