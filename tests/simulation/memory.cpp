// The C library's heap, counted. It is pieces that count: what a piece measures depends on which one was free.
#include "memory.h"

#include <cstddef>

extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the C library chose the names
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void __libc_free(void* memory);
// NOLINTEND(bugprone-reserved-identifier)

static int64_t pieces = 0;

void* malloc(size_t size) noexcept {
    void* const memory = __libc_malloc(size);
    pieces += memory != nullptr ? 1 : 0;
    return memory;
}

void* calloc(size_t count, size_t size) noexcept {
    void* const memory = __libc_calloc(count, size);
    pieces += memory != nullptr ? 1 : 0;
    return memory;
}

void* realloc(void* memory, size_t size) noexcept {
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

namespace sim {

int64_t piecesInUse() {
    return pieces;
}

}  // namespace sim
