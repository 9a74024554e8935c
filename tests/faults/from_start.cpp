// A program of its own, which is exposed from its first line on: TARN_FAULT names the call that fails, "memory 17".
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "refusable.h"

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

// The C library ends a process that has no memory to note what a thread's end has to destroy: nobody could go on.
// NOLINTBEGIN(bugprone-reserved-identifier): the C library chose the name
extern "C" int __cxa_thread_atexit_impl(void (*destroy)(void*), void* object, void* library);
extern "C" int __cxa_thread_atexit_impl(void (*destroy)(void*), void* object, void* library) {
    const faults::Spared itsOwn;
    static auto* const itself = faults::real<int(void (*)(void*), void*, void*)>("__cxa_thread_atexit_impl");
    return itself(destroy, object, library);
}
// NOLINTEND(bugprone-reserved-identifier)
