// Between a library's function and its callers: a function that has the name that they know it by.
#pragma once

#include <dlfcn.h>

#include <cerrno>

#include "injector.h"

namespace faults {

inline bool refused(Kind kind, int error) {
    if (!strikes(kind)) {
        return false;
    }
    errno = error;
    return true;
}

template <class Function>
Function* real(const char* name) {
    const Spared itsOwn;
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace faults

// A function with its arguments, the error that it fails with, and what it answers then.
#define REFUSABLE(kind, result, name, error, failed, parameters, arguments)              \
    extern "C" result faulty_##name parameters asm(#name);                               \
    extern "C" result faulty_##name parameters {                                         \
        static auto* const itself = faults::real<result parameters>(#name);              \
        return faults::refused(faults::Kind::kind, error) ? (failed) : itself arguments; \
    }
