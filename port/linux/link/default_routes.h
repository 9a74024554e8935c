// Has the flight recorder know when a device loses its last default route, or gets one: nobody is sent a message then.
#pragma once

#include <set>

#include "route_watch.h"

class DefaultRoutes {
  public:
    DefaultRoutes() : fd_(route_watch::open()) {}
    ~DefaultRoutes();
    DefaultRoutes(const DefaultRoutes&) = delete;
    DefaultRoutes& operator=(const DefaultRoutes&) = delete;

    // To wait for; -1 when routes cannot be watched, which takes nothing else along.
    int fd() const { return fd_; }
    void look();

  private:
    void take(const route_watch::Change& change);
    bool hasOther(const route_watch::Route& route) const;
    void beginAnew();

    int fd_;
    std::set<route_watch::Route> routes_;
};
