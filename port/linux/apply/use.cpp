#include "use.h"

#include <cstdio>

#include "process.h"

namespace {

// A thing that is gone has no status any more.
bool tellStatus(const Change& change, const std::string& status) {
    return !change.now || run({"vcfgctl", "set", "--no-apply", change.path + ".Status=" + status});
}

bool isSwitched(const Change& change) {
    return isEnabled(change.now) != isEnabled(change.before);
}

}  // namespace

bool isEnabled(const std::optional<Values>& values) {
    return values && values->flag("Enable");
}

bool isSwitchedOn(const Change& change) {
    return isEnabled(change.now) && isSwitched(change);
}

bool isOwn(const Values& values, const char* origin) {
    const std::string from = values.text(origin);
    return from.empty() || from == "Static";
}

bool isUsed(const Change& change, const char* origin, const std::string& status) {
    if (!isEnabled(change.now)) {
        return false;
    }
    if (!isOwn(*change.now, origin)) {
        return change.now->text("Status") == "Enabled";
    }
    return isSwitchedOn(change) || status != "Disabled";
}

bool tellUse(const Change& change, const char* origin, bool used, bool done) {
    if (!change.now) {
        return done;
    }
    const std::string status = !used ? "Disabled" : done ? "Enabled" : "Error";
    const bool same = change.now->text("Status") == status;
    const bool switched = isSwitched(change);
    const bool told = isOwn(*change.now, origin) ? same && !switched : same || !switched;
    return (told || tellStatus(change, status)) && done;
}

bool refuse(const Change& change, const char* status, const std::string& why) {
    tellStatus(change, status);
    return complain(change.path, why);
}

bool complain(const std::string& path, const std::string& why) {
    fprintf(stderr, "%s %s\n", path.c_str(), why.c_str());
    return false;
}
