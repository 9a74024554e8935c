#include "platform/linux/link_table.h"

#include <algorithm>

bool LinkTable::isUp(std::string_view name) const {
    return std::any_of(links_.begin(), links_.end(),
                       [name](const auto& entry) { return entry.second.name == name && entry.second.up; });
}

// By name, because the data model knows ports by name: a card that comes back in another's place has another index.
void LinkTable::settle(const std::string& name, const std::vector<std::string>& ports,
                       std::vector<PortChange>& changes) {
    if (std::find(ports.begin(), ports.end(), name) == ports.end()) {
        told_.erase(name);
        return;
    }
    const bool up = isUp(name);
    const auto told = told_.find(name);
    if (told == told_.end() || told->second != up) {
        told_[name] = up;
        changes.push_back({name, up});
    }
}

std::vector<PortChange> LinkTable::take(const link_messages::Link& link, const std::vector<std::string>& ports) {
    const auto known = links_.find(link.index);
    const std::string before = known != links_.end() ? known->second.name : "";
    const std::string name = link.name.empty() ? before : link.name;
    if (link.gone) {
        links_.erase(link.index);
    } else {
        links_[link.index] = {name, link.up};
    }
    std::vector<PortChange> changes;
    if (before != name) {
        settle(before, ports, changes);
    }
    settle(name, ports, changes);
    return changes;
}

std::vector<PortChange> LinkTable::takeAll(const std::vector<link_messages::Link>& links,
                                           const std::vector<std::string>& ports) {
    links_.clear();
    for (const auto& link : links) {
        links_[link.index] = {link.name, link.up};
    }
    std::vector<PortChange> changes;
    for (const std::string& name : ports) {
        settle(name, ports, changes);
    }
    return changes;
}
