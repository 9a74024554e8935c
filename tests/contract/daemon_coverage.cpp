// Linked into the daemon that the tests start when coverage is measured: it is ended from outside, and tells what it
// ran.
#include <signal.h>
#include <unistd.h>

// <gcov.h> of g++ 12 forgets that it is C.
extern "C" void __gcov_dump();

namespace {

[[maybe_unused]] const bool prepared = [] {
    return signal(SIGTERM, [](int) {
               __gcov_dump();
               _exit(0);
           }) != SIG_ERR;
}();

}  // namespace
