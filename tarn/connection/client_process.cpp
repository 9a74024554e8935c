#include "connection/client_process.h"

#include <charconv>
#include <limits>
#include <string>
#include <system_error>

#include "core/log.h"
#include "core/os.h"

namespace {

constexpr size_t kPidFileLimit = 64;

// A signal to any thread of the daemon reaches the daemon.
bool isOwnThread(pid_t process) {
    return process == os::ownProcess() ||
           os::readFile("/proc/self/task/" + std::to_string(process) + "/comm", 1).has_value();
}

}  // namespace

pid_t processInPidFile(std::string_view pidFile) {
    const std::string content = os::readFile(std::string(pidFile), kPidFileLimit).value_or("");
    const size_t start = content.find_first_not_of(" \t\r\n");
    if (start == std::string::npos) {
        return 0;
    }
    pid_t process = 0;
    const char* const first = content.data() + start;
    const auto [end, error] = std::from_chars(first, content.data() + content.size(), process);
    if (error == std::errc::result_out_of_range) {  // a number all the same, though no process can have it
        return *first == '-' ? 0 : std::numeric_limits<pid_t>::max();
    }
    return process;
}

void signalClient(pid_t process, int signal) {
    if (process <= 1 || isOwnThread(process)) {
        logs::system(LOG_ERR, "%s : process %d is no DHCP client, it gets no signal\n", __func__, process);
    } else if (os::signalProcess(process, signal) != 0) {
        logs::system(LOG_ERR, "%s : process %d does not take the signal, it is no live process\n", __func__, process);
    }
}
