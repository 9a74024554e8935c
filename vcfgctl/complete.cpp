#include "complete.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "ask.h"
#include "names.h"
#include "records.h"
#include "select.h"

namespace vcfgctl {
namespace {

namespace model = vcfg::model;

constexpr const char* kGlobals[] = {"--run-dir", "--json", "--help", "--version"};

// What stands behind a path of the verb's operands when a parameter is complete.
const char* behindParameter(const std::string& verb) {
    return verb == "set" ? "=" : verb == "wait" ? "==" : "";
}

bool takesParameters(const std::string& verb) {
    return verb != "add" && verb != "del";
}

Texts instances(const std::string& runDir, const std::string& table) {
    std::string why;
    Texts found{"*"};
    const std::vector<Selection> selections = selectInstances(table + ".*", &why);
    struct stat status {};
    if (selections.empty() || stat(runDir.c_str(), &status) != 0 || vcfg_msg_eidInit(kOwnEid, "vcfgctl") != VCFG_OK) {
        return found;
    }
    const Selection& selection = selections.front();
    const Lookup anything = [](const auto&, const auto&, const auto&) { return std::nullopt; };
    objIndex iid{};
    Record record;
    while (readNext(selection.object->oid, &iid, false, &record) == VCFG_OK) {
        if (selection.fits(iid, anything)) {
            add(found, std::to_string(iid.idx[iid.level - 1]));
        }
    }
    return found;
}

Texts paths(const std::string& runDir, const std::string& verb, const std::string& word) {
    const std::string whole = word.ends_with('.') || word.empty() ? word + "x" : word;
    const Parts parts = split(whole);
    const std::string above = join(parts, parts.size() - 1);
    const std::string plain = above == "Device" ? "" : plainPath(above);
    const Parts known = split(plain);
    const Level level = levelOf(known);
    Texts found;
    if (level.known != known.size()) {
        return found;
    }
    const std::string begin = above.empty() ? "" : above + ".";
    const std::string plainBegin = known.empty() ? "" : plain + ".";
    for (const std::string& name : level.takesInstance ? instances(runDir, plain) : level.names) {
        std::string why;
        const bool isParameter = !level.takesInstance && !select(plainBegin + name, &why).empty();
        if (!isParameter) {
            found.push_back(begin + name + ".");
        } else if (takesParameters(verb)) {
            found.push_back(begin + name + behindParameter(verb));
        }
    }
    return found;
}

// The values that the parameter takes, as far as they can be told.
Texts values(const std::string& path, const std::string& written) {
    std::string why;
    const std::vector<Selection> found = select(plainPath(path), &why);
    if (found.empty() || found.front().parameter == nullptr) {
        return {};
    }
    const model::Parameter& parameter = *found.front().parameter;
    std::string_view all = parameter.kind == model::Kind::Bool ? "true,false" : parameter.values;
    Texts texts;
    while (!all.empty()) {
        const size_t comma = std::min(all.find(','), all.size());
        texts.push_back(written + std::string(all.substr(0, comma)));
        all.remove_prefix(std::min(comma + 1, all.size()));
    }
    return texts;
}

// Of `add`: the table's parameters, and their values.
Texts assignments(const std::string& table, const std::string& word) {
    const std::string begin = (table.ends_with('.') ? table : table + ".") + "*.";
    const size_t equals = word.find('=');
    if (equals != word.npos) {
        return values(begin + word.substr(0, equals), word.substr(0, equals + 1));
    }
    std::string why;
    Texts names;
    for (const Selection& selection : selectInstances(plainPath(begin.substr(0, begin.size() - 1)), &why)) {
        for (const model::Parameter& parameter : selection.object->parameters) {
            names.push_back(std::string(parameter.name) + "=");
        }
    }
    return names;
}

Texts operands(const std::string& runDir, const Verb& verb, const Texts& given, const std::string& word) {
    const std::string name = verb.name;
    if (name == "serve") {
        return endpointNames();
    }
    if (!verb.takesPaths) {
        return {};
    }
    if (name == "add" && !given.empty()) {
        return assignments(given.front(), word);
    }
    const size_t end = pathLength(word);
    if (end == word.size()) {
        return paths(runDir, name, word);
    }
    const size_t value = word.find_first_not_of("=!~<>", end);
    return values(word.substr(0, end), word.substr(0, value));
}

Texts optionNames(const Verb* verb) {
    Texts names(std::begin(kGlobals), std::end(kGlobals));
    for (const option& one : verb != nullptr ? verb->options : std::span<const option>()) {
        names.push_back(std::string("--") + one.name);
    }
    return names;
}

const Verb* findVerb(const std::string& name) {
    const auto found =
        std::find_if(verbs().begin(), verbs().end(), [&](const Verb& verb) { return name == verb.name; });
    return found != verbs().end() ? &*found : nullptr;
}

bool takesValue(const Verb* verb, const std::string& word) {
    if (word == "--run-dir") {
        return true;
    }
    const auto options = verb != nullptr ? verb->options : std::span<const option>();
    return std::any_of(options.begin(), options.end(), [&](const option& one) {
        return one.has_arg == required_argument && word == std::string("--") + one.name;
    });
}

Texts optionValues(const std::string& name) {
    return name == "--to" || name == "--from" || name == "--endpoint" ? endpointNames()
           : name == "--type"                                         ? typeNames()
                                                                      : Texts{};
}

Texts verbNames() {
    Texts names;
    for (const Verb& verb : verbs()) {
        names.emplace_back(verb.name);
    }
    return names;
}

Texts all(const std::string& runDir, const std::vector<std::string>& words) {
    const Verb* verb = nullptr;
    bool isValue = false;
    Texts given;
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        const bool isOption = !isValue && words[i].starts_with('-');
        if (!isOption && !isValue) {
            verb != nullptr ? given.push_back(words[i]) : void(verb = findVerb(words[i]));
        }
        isValue = isOption && takesValue(verb, words[i]);
    }
    if (isValue) {
        return optionValues(words[words.size() - 2]);
    }
    if (words.back().starts_with('-')) {
        return optionNames(verb);
    }
    return verb != nullptr ? operands(runDir, *verb, given, words.back()) : verbNames();
}

}  // namespace

Texts candidates(const std::string& runDir, const std::vector<std::string>& words) {
    Texts found = all(runDir, words);
    std::erase_if(found, [&](const std::string& one) { return !one.starts_with(words.back()); });
    return found;
}

}  // namespace vcfgctl
