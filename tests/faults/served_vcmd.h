// The configuration daemon on a thread of this process, with its calls exposed to faults.
#pragma once

#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "client/fe_client.h"
#include "vcmd/vcmd.h"

// What it is sent signals by is its own matter; for the whole process, once, and before its threads begin.
void blockSignals();

vcfg::Answer ask(uint32_t type, uint32_t oid = 0, const objIndex& at = {}, const std::string& payload = "");
bool eventually(const std::function<bool()>& condition);

// A directory with what vcmd needs, and hooks for PPP interfaces.
class Home {
  public:
    Home();
    ~Home() { std::filesystem::remove_all(path_); }
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;
    std::string path(const char* name) const { return path_ / name; }

  private:
    void hook(const char* kind, const char* script);
    std::filesystem::path path_;
};

// Serves until it is told to end.
class Served {
  public:
    Served();
    ~Served();
    Served(const Served&) = delete;
    Served& operator=(const Served&) = delete;
    bool isLost() const { return lost_; }
    std::string modelFile() const { return home_.path("run/model.mdb"); }

  private:
    Home home_;
    vcfg::vcmd::Vcmd vcmd_;
    std::atomic<bool> lost_{false};
    std::thread thread_;
};
