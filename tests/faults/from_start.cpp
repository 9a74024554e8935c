// A program of its own, which is exposed from its first line on: TARN_FAULT names the call that fails, "memory 17".
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "injector.h"

namespace {

using faults::Kind;

__attribute__((constructor)) void begin() {
    const char* const fault = getenv("TARN_FAULT");
    for (const Kind kind : {Kind::Memory, Kind::Framework, Kind::System}) {
        const size_t length = strlen(faults::nameOf(kind));
        if (fault != nullptr && strncmp(fault, faults::nameOf(kind), length) == 0) {
            faults::exposeAll();
            faults::arm(kind, static_cast<uint32_t>(strtoul(fault + length, nullptr, 10)));
        }
    }
}

}  // namespace
