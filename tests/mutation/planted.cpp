#include "planted.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

// The change that this run has is in TARN_PLANTED; which ones the code came by is marked in the file TARN_REACHED, a
// byte each, also by the processes that a test starts.
namespace {

constexpr size_t kMost = 1 << 16;

int chosen() {
    const char* const number = getenv("TARN_PLANTED");
    return number != nullptr ? atoi(number) : -1;
}

unsigned char* marks() {
    const char* const path = getenv("TARN_REACHED");
    const int file = path != nullptr ? open(path, O_RDWR | O_CLOEXEC) : -1;
    if (file < 0) {
        return nullptr;
    }
    void* const memory = mmap(nullptr, kMost, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return memory == MAP_FAILED ? nullptr : static_cast<unsigned char*>(memory);
}

}  // namespace

bool planted::isOn(int number) noexcept {
    static const int one = chosen();
    static unsigned char* const reached = marks();
    if (reached != nullptr) {
        reached[number] = 1;
    }
    return number == one;
}
