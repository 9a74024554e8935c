#include "sieve.h"

#include "print.h"

namespace vcfgctl {

bool Sieve::begins(const Bond& bond, json_object* line) const {
    if (text_.empty() || (!bond.isMessage() && bond.kind != "kernel" && bond.kind != "timer")) {
        return false;
    }
    for (const char* name : {"what", "name", "type", "text"}) {
        if (textIn(line, name).find(text_) != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool Sieve::isOfStart(const Bond& bond, json_object* line) const {
    return isWithStart && bond.kind == "log" && bond.event == 0 && textIn(line, "program") == "tarn";
}

// What came of something else was there all the same when the chain went on. What readers brought up to date comes
// again by itself.
void Sieve::takeChange(JsonPtr line, bool belongs) {
    if (!belongs && json_object_object_get_ex(line.get(), "for", nullptr)) {
        return;
    }
    if (!belongs) {
        json_object_object_add(line.get(), "by", jsonText(kElsewhere));
    }
    file_.put(line.release());
}

void Sieve::take(JsonPtr line) {
    if (json_object_object_get_ex(line.get(), "recording", nullptr)) {
        json_object_object_add(line.get(), "only", jsonText(about_));
        file_.put(line.release());
        return;
    }
    const Bond bond = bondOf(line.get());
    if (begins(bond, line.get())) {
        bond.isMessage() ? chain.beginWithMessage(bond.at) : chain.begin(bond.event);
    }
    const bool belongs = chain.take(bond) || isOfStart(bond, line.get());
    if (bond.kind == "datagram" && !belongs) {
        datagram_ = std::move(line);
        return;
    }
    const JsonPtr datagram = bond.kind == "kernel" ? std::move(datagram_) : nullptr;
    if (bond.kind == "change") {
        takeChange(std::move(line), belongs);
    } else if (belongs || bond.kind == "object" || bond.kind == "begin" || bond.kind == "end" || bond.kind == "lost") {
        if (datagram != nullptr) {
            file_.put(json_object_get(datagram.get()));
        }
        file_.put(line.release());
    }
}

}  // namespace vcfgctl
