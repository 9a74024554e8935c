// Mapped files. A file can lose its end while it is looked at; its lost pages then fault (SIGBUS), and are replaced by
// zeros.
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

#include "core/descriptor.h"
#include "core/os.h"

namespace os {
namespace {

constexpr off_t kWindow = 1 << 20;  // mapped at once: the address space of a small machine holds it at any time

struct Mapped {
    char* begin;
    char* end;
};
thread_local Mapped lookedAt{nullptr, nullptr};

uintptr_t pageSize = 0;
struct sigaction otherFaults;

bool replaceByZeros(char* from, char* to) {
    const auto size = static_cast<size_t>(to - from);
    return mmap(from, size, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == from;
}

// Runs on the thread that faulted. A signal that cannot be helped here goes to whoever answered it before.
void onBusError(int signal, siginfo_t* fault, void* /*context*/) {
    const auto address = static_cast<char*>(fault->si_addr);
    const bool isOurs = address >= lookedAt.begin && address < lookedAt.end;
    if (!isOurs || !replaceByZeros(address - reinterpret_cast<uintptr_t>(address) % pageSize, lookedAt.end)) {
        sigaction(signal, &otherFaults, nullptr);
        raise(signal);
    }
}

bool answerBusErrors() {
    pageSize = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    struct sigaction answer {};
    answer.sa_sigaction = onBusError;
    answer.sa_flags = SA_SIGINFO;
    return sigaction(SIGBUS, &answer, &otherFaults) == 0;
}

// A part of a file, mapped and looked at by this thread.
class Window {
  public:
    Window(int file, off_t at, size_t size) : size_(size) {
        void* const begin = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, at);
        if (begin != MAP_FAILED) {
            look({static_cast<char*>(begin), static_cast<char*>(begin) + size});
        }
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() {
        const Mapped mapped = lookedAt;
        look({nullptr, nullptr});
        if (mapped.begin != nullptr) {
            munmap(mapped.begin, size_);
        }
    }
    bool isMapped() const { return lookedAt.begin != nullptr; }
    std::string_view bytes() const { return {lookedAt.begin, size_}; }

  private:
    // The fault handler, on this very thread, has to find it before the first byte is read.
    static void look(Mapped mapped) {
        lookedAt = mapped;
        std::atomic_signal_fence(std::memory_order_seq_cst);
    }

    size_t size_;
};

}  // namespace

bool visitFile(const std::string& path, void (*visit)(std::string_view bytes, void* context), void* context) {
    static const bool safe = answerBusErrors();
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status {};
    if (!safe || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    for (off_t at = 0; at < status.st_size; at += kWindow) {
        const Window window(file.get(), at, static_cast<size_t>(std::min(kWindow, status.st_size - at)));
        if (!window.isMapped()) {
            return false;
        }
        visit(window.bytes(), context);
    }
    return true;
}

}  // namespace os
