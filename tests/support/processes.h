// Real processes, and waiting for what becomes of them.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/types.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

// A condition that comes true soon or, after a generous deadline, fails the test.
template <class Condition>
bool comesTrue(const Condition& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

// What is dead may wait long for whoever has to bury it.
inline bool isRunning(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string number, name, state;
    return static_cast<bool>(file >> number >> name >> state) && state != "Z" && state != "X";
}

// A folder in which commands write down their processes.
class ProcessTest : public testing::Test {
  protected:
    ProcessTest() {
        std::string name = testing::TempDir() + "processes-XXXXXX";
        folder = mkdtemp(name.data());
    }
    ~ProcessTest() override { std::system(("rm -r '" + folder + "'").c_str()); }

    std::string list() const { return folder + "/pids"; }
    bool anyBegun() const {
        std::ifstream file(list());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        return text.find('\n') != std::string::npos;
    }
    int running() const {
        std::ifstream file(list());
        int count = 0;
        for (pid_t pid = 0; file >> pid;) {
            count += isRunning(pid) ? 1 : 0;
        }
        return count;
    }

    std::string folder;
};
