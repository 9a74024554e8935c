// The values that an apply hook is given: what an instance holds now, and what it held before.
#pragma once

#include <optional>
#include <string>

struct json_object;

class Values {
  public:
    explicit Values(json_object* object) : object_(object) {}  // borrows it

    std::string text(const char* name) const;
    bool flag(const char* name) const { return text(name) == "true" || text(name) == "1"; }
    int number(const char* name) const;
    std::optional<Values> previous() const;
    // Whether every value of the other one is the same here.
    bool agreesWith(const Values& other) const;

  private:
    json_object* member(const char* name) const;
    json_object* object_;
};

// One run of a hook. `now` is missing when the instance goes, `before` when it is new.
struct Change {
    std::string path;
    std::optional<Values> now;
    std::optional<Values> before;
};
