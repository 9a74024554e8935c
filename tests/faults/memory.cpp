// The program's heap, and that of the libraries in it: counted, and refused where a fault is due.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include <atomic>
#include <cerrno>

#include "injector.h"

namespace {

// Never destroyed and made before any code runs: allocations come before everything else.
std::atomic<int64_t> pieces{0};

bool refused() {
    if (!faults::strikes(faults::Kind::Memory)) {
        return false;
    }
    errno = ENOMEM;
    return true;
}

void* counted(void* memory) {
    pieces += memory != nullptr ? 1 : 0;
    return memory;
}

}  // namespace

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the C library chose the names
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)

void* malloc(size_t size) noexcept {
    return refused() ? nullptr : counted(__libc_malloc(size));
}

void* calloc(size_t count, size_t size) noexcept {
    return refused() ? nullptr : counted(__libc_calloc(count, size));
}

void* realloc(void* memory, size_t size) noexcept {
    if (refused()) {
        return nullptr;
    }
    void* const moved = __libc_realloc(memory, size);
    pieces += memory == nullptr && moved != nullptr ? 1 : 0;
    pieces -= memory != nullptr && size == 0 ? 1 : 0;
    return moved;
}

void free(void* memory) noexcept {
    pieces -= memory != nullptr ? 1 : 0;
    __libc_free(memory);
}
}

// Text that is copied is malloc's own matter in the C library, where no one comes between.
char* strdup(const char* text) noexcept {
    const size_t size = strlen(text) + 1;
    auto* const copy = static_cast<char*>(malloc(size));
    return copy != nullptr ? static_cast<char*>(memcpy(copy, text, size)) : nullptr;
}

int64_t faults::piecesInUse() {
    return pieces;
}
