// What the recorded bus, clock, shell and files of one test share. Only the kit's own files include this.
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kit.h"

namespace kit {

struct Thread {
    void (*body)(void*);
    void* argument;
};

struct World {
    std::mutex guard;

    std::deque<std::vector<char>> inbox;  // whole messages, envelope and payload and a NUL
    std::vector<SentMessage> replies;
    std::vector<SentMessage> requests;
    std::map<uint8_t, int> answers;
    std::map<std::pair<uint8_t, uint32_t>, Answer> typedAnswers;  // by endpoint and type
    std::string timerSocket;
    bool timerHangsUp = false;
    std::vector<int> timerClients;  // far ends of recorded connections to the timer
    std::vector<std::string> timerRequests;
    std::set<uint32_t> debugTypes;

    uint32_t clockMs = 0;
    std::vector<uint32_t> sleeps;
    std::vector<int64_t> pauses;
    std::map<size_t, std::function<void()>> duringPause;

    std::vector<std::string> commands;
    std::map<std::string, int> commandResults;
    std::map<std::string, uint32_t> commandDurations;
    std::map<std::string, std::function<void()>> commandEvents;
    std::map<std::string, std::string> commandOutputs;
    std::map<std::string, std::function<void()>> duringCommand;

    std::map<std::string, std::string> files;
    std::set<std::string> unwritable;
    std::set<std::string> fullDisks;
    bool uptimeKnown = true;
    std::set<pid_t> alive;
    std::vector<std::pair<pid_t, int>> signals;
    std::deque<Thread> threads;
    bool threadsRefused = false;

    std::vector<std::string> mails;
    int mailResult = 0;
    std::vector<LogLine> log;
};

World& world();

// Reads what the daemon has sent on recorded connections to the timer; the caller holds the guard.
void takeTimerRequests();

}  // namespace kit
