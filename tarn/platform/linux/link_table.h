// What is known of the machine's links, and what the daemon has been told of its ports.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/link_messages.h"

struct PortChange {
    std::string name;
    bool up;
};

class LinkTable {
  public:
    // What changes by that for the ports, which are those that the daemon knows. Another name for a link takes the old
    // port down.
    std::vector<PortChange> take(const link_messages::Link& link, const std::vector<std::string>& ports);

    // What a look at all links has found: any other link is gone.
    std::vector<PortChange> takeAll(const std::vector<link_messages::Link>& links,
                                    const std::vector<std::string>& ports);

    // Every port's state is news again.
    void forgetTold() { told_.clear(); }

  private:
    struct State {
        std::string name;
        bool up;
    };
    bool isUp(std::string_view name) const;
    void settle(const std::string& name, const std::vector<std::string>& ports, std::vector<PortChange>& changes);

    std::map<int, State> links_;  // by the kernel's index, which a link keeps when it is renamed
    std::map<std::string, bool> told_;
};
