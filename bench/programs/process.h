// The processes that are measured with, and where their files are.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace bench {

[[noreturn]] void fail(const std::string& what);

// A directory that goes with the program.
class Directory {
  public:
    Directory();
    ~Directory();
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    std::string file(const std::string& name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

// A process that ends with its object, at the latest with the program.
class Process {
  public:
    // Runs `body`, which calls its argument as soon as it can be talked to; returns then.
    explicit Process(const std::function<void(const std::function<void()>&)>& body);
    explicit Process(const std::vector<std::string>& command);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

  private:
    pid_t id_ = -1;
};

// Until `attempt` succeeds: a server is only starting.
void await(const char* what, const std::function<bool()>& attempt);

}  // namespace bench
