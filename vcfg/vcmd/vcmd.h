// What the configuration daemon holds. One thread does everything; nothing in it waits but for the disk.
#pragma once

#include <memory>
#include <string>

#include "announce.h"
#include "client/bus_server.h"
#include "clock_watch.h"
#include "hook_watch.h"
#include "hooks.h"
#include "keeper.h"
#include "options.h"
#include "store/store.h"
#include "watchers.h"

namespace vcfg::vcmd {

// A model that comes in parts, over one connection. Only one comes at a time, and it ends with its connection.
struct Loading {
    bus::ConnectionId from = 0;
    std::string text;
};

struct Vcmd {
    Options options;
    Fd dataLock;         // held as long as the keeper's file is ours
    store::Store store;  // one of its own until the model's is open
    Keeper keeper;
    Loading loading;
    std::unique_ptr<bus::Server> server;
    Hooks hooks;
    HookWatch hookWatch;
    ClockWatch clockWatch;
    Watchers watchers;
    Announcer announcer;
    bool levelsChanged = true;  // the daemons are to be told their log levels
    bool stop = false;
};

// Opens and loads everything. False with the reason on standard error.
bool setUp(Vcmd& vcmd);
// Serves until the process is told to end, or another one has taken the endpoint over. False when it cannot go on.
bool run(Vcmd& vcmd);

// Answers all requests that are ready; true when there may be more of them.
bool serveRequests(Vcmd& vcmd);

// Drops the parts of a model whose sender has gone.
void forgetLoading(Vcmd& vcmd);

}  // namespace vcfg::vcmd
