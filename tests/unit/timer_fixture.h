// A timer, with the clock in the test's hands.
#pragma once

#include "core/timer_tasks.h"

#include <gtest/gtest.h>

#include <string>

using Names = std::vector<std::string>;

class TimerTest : public testing::Test {
  protected:
    void request(const std::string& json) { handleTimerRequest(timer, json.c_str(), now); }
    void add(const std::string& name, const std::string& exprTime, const std::string& more = "\"msg_type\":1") {
        request(R"({"tmApplyObj":{"Name":")" + name + R"(","exprTime":)" + exprTime + "," + more + "}}");
    }
    void remove(const std::string& name) { request(R"({"tmApplyObjDelete":")" + name + "\"}"); }
    std::optional<uint64_t> left() { return msToTick(timer, now); }

    // Lets milliseconds pass; the names of the tasks that fire meanwhile, each with the time at which it did.
    Names pass(uint32_t milliseconds) {
        Names fired;
        const uint32_t end = now + milliseconds;
        for (auto wait = left(); wait && *wait <= end - now; wait = left()) {
            now += static_cast<uint32_t>(*wait);
            for (const TimerTask& task : tick(timer, now)) {
                fired.push_back(task.name + "@" + std::to_string(now - start));
            }
        }
        now = end;
        return fired;
    }

    const uint32_t start = 5000;
    uint32_t now = start;
    Timer timer;
};
