#include <json-c/json.h>

#include <cstdio>

#include "print.h"
#include "select.h"
#include "suggest.h"
#include "verb.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

size_t countNames(const Parts& parts) {
    size_t names = 0;
    for (const std::string_view part : parts) {
        names += part == "{i}" || part == "*" || (part[0] >= '0' && part[0] <= '9') ? 0 : 1;
    }
    return names;
}

struct Listing {
    bool json;
    bool nextLevel;  // only what is one name longer than the path
    size_t above;    // names in the path
    Parts last;      // of the last object's pattern

    bool shows(size_t names) const { return nextLevel ? names == above + 1 : names >= above; }
};

void printLine(const Listing& listing, std::string_view path, const char* kind) {
    if (!listing.json) {
        printf("%.*s\n", static_cast<int>(path.size()), path.data());
        return;
    }
    json_object* line = json_object_new_object();
    json_object_object_add(line, "path", jsonText(path));
    json_object_object_add(line, "kind", json_object_new_string(kind));
    printJsonLine(line);
}

// The names that the path goes through, as far as the object before did not: "DHCPv4." lies above objects only.
void printAbove(const model::Object& object, Listing& listing) {
    const Parts parts = split(object.pattern);
    bool isNew = false;
    std::string path;
    for (size_t i = 0; i + 1 < parts.size(); ++i) {
        path.append(parts[i]).append(".");
        isNew = isNew || i >= listing.last.size() || listing.last[i] != parts[i];
        const bool isPlace = parts[i] == "{i}" || parts[i + 1] == "{i}";
        if (isNew && !isPlace &&
            listing.shows(countNames({parts.begin(), parts.begin() + static_cast<ptrdiff_t>(i) + 1}))) {
            printLine(listing, path, "group");
        }
    }
    listing.last = parts;
}

void printObject(const model::Object& object, Listing& listing) {
    printAbove(object, listing);
    const std::string path = std::string(object.pattern) + ".";
    if (listing.shows(countNames(listing.last))) {
        printLine(listing, path, object.isTable ? "table" : "object");
    }
    for (const model::Parameter& parameter : object.parameters) {
        if (listing.shows(countNames(listing.last) + 1)) {
            printLine(listing, path + parameter.name, "parameter");
        }
    }
}

// A parameter by its own name, or all that is below a path, which is empty for the whole model.
std::vector<Selection> selectNamed(const std::string& path, std::string* why) {
    std::vector<Selection> found = select(path, why);
    return found.empty() && !path.ends_with('.') ? select(path + ".", why) : found;
}

}  // namespace

int runList(const Call& call) {
    if (call.operands.size() > 1) {
        return wrongUsage(call, "takes one path");
    }
    const std::string path = withoutFilters(call.operands.empty() ? "." : call.operands.front());
    std::string why;
    const std::vector<Selection> found = selectNamed(path, &why);
    if (found.empty()) {
        return refuse(path + ": " + suggestion(path));
    }
    const size_t above = path == "." ? 0 : countNames(split(path));
    Listing listing{call.json, call.option("next") != nullptr, above, {}};
    for (const Selection& selection : found) {
        if (selection.parameter != nullptr) {
            printLine(listing, std::string(selection.object->pattern) + "." + selection.parameter->name, "parameter");
        } else {
            printObject(*selection.object, listing);
        }
    }
    return kDone;
}

}  // namespace vcfgctl
