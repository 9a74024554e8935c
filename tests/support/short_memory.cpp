#include "short_memory.h"

#include <cstdlib>
#include <new>

namespace {

thread_local int newsLeft = -1;
thread_local int callocsLeft = -1;
thread_local int jsonLeft = -1;
thread_local int oneFailsAfter = -1;
thread_local size_t news = 0;

bool take(int& left) {
    if (left == 0) {
        return false;
    }
    left -= left > 0 ? 1 : 0;
    return true;
}

bool isTheOneToFail() {
    return oneFailsAfter >= 0 && oneFailsAfter-- == 0;
}

void* allocate(size_t size) {
    ++news;
    return !isTheOneToFail() && take(newsLeft) ? std::malloc(size) : nullptr;
}

}  // namespace

namespace short_memory {

void leaveNews(int count) {
    newsLeft = count;
}

void leaveCallocs(int count) {
    callocsLeft = count;
}

void leaveJson(int count) {
    jsonLeft = count;
}

void failOneNew(int after) {
    oneFailsAfter = after;
}

void allNewsSucceed() {
    newsLeft = -1;
    oneFailsAfter = -1;
}

Spared::Spared() : newsLeft_(newsLeft), oneFailsAfter_(oneFailsAfter) {
    allNewsSucceed();
}

Spared::~Spared() {
    newsLeft = newsLeft_;
    oneFailsAfter = oneFailsAfter_;
}

size_t newsSoFar() {
    return news;
}

}  // namespace short_memory

// The linker leads the program's calls of these functions here (--wrap).
struct json_object;
extern "C" {
// NOLINTBEGIN(bugprone-reserved-identifier): the linker chose the names
void* __real_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size);
void* __wrap_calloc(size_t count, size_t size) {
    return take(callocsLeft) ? __real_calloc(count, size) : nullptr;
}
json_object* __real_json_object_new_object();
json_object* __wrap_json_object_new_object();
json_object* __wrap_json_object_new_object() {
    return take(jsonLeft) ? __real_json_object_new_object() : nullptr;
}
const char* __real_json_object_to_json_string_ext(json_object* object, int flags);
const char* __wrap_json_object_to_json_string_ext(json_object* object, int flags);
const char* __wrap_json_object_to_json_string_ext(json_object* object, int flags) {
    return take(jsonLeft) ? __real_json_object_to_json_string_ext(object, flags) : nullptr;
}
// NOLINTEND(bugprone-reserved-identifier)
}

void* operator new(size_t size) {
    void* memory = allocate(size);
    return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
void operator delete(void* memory, size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, size_t) noexcept {
    std::free(memory);
}
