#include "cut.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "kinship.h"
#include "remembered.h"
#include "sieve.h"
#include "verb.h"

namespace vcfgctl {
namespace {

constexpr size_t kLongestLine = 1 << 20;
constexpr size_t kMostLines = 1 << 20;
// How far the daemon's memory is followed.
constexpr int kMostSteps = 64;

struct CloseFile {
    void operator()(FILE* file) const { fclose(file); }
};

struct Line {
    JsonPtr json;
    Bond bond;
};

class Cutting {
  public:
    int read(const std::string& name) {
        const std::unique_ptr<FILE, CloseFile> file(fopen(name.c_str(), "re"));
        if (file == nullptr) {
            return refuse(name + ": " + strerror(errno));
        }
        std::string text;
        for (int c = 0; (c = fgetc(file.get())) != EOF;) {
            if (c != '\n') {
                text.push_back(static_cast<char>(c));
            } else if (!take(text)) {
                return refuse(name + ": line " + std::to_string(lines_.size() + 1) + " is none of a recording");
            } else {
                text.clear();
            }
            if (text.size() > kLongestLine || lines_.size() > kMostLines) {
                return refuse(name + ": line " + std::to_string(lines_.size() + 1) + " is too much");
            }
        }
        return lines_.empty() ? refuse(name + ": is no recording") : kDone;
    }

    // False when nothing tells of the event.
    bool select(uint32_t event) {
        bool isThere = false;
        for (const auto& [json, bond] : lines_) {
            isThere = isThere || bond.event == event;
            if (bond.event != 0 && bond.cause != 0) {
                causes_.emplace(bond.event, bond.cause);
            }
            kin_.learn(bond);
            past_.learn(bond, json.get());
        }
        follow({firstCause(event)});
        return isThere;
    }

    int write(const std::string& name, uint32_t event) {
        RecordingFile file;
        const int status = file.open(name);
        if (status != kDone) {
            return status;
        }
        Sieve sieve(file, "event " + std::to_string(event));
        sieve.chain = chain_;
        sieve.isWithStart = isWithStart();
        for (Line& line : lines_) {
            sieve.take(std::move(line.json));
        }
        return file.takes() ? kDone : refuse(name + ": cannot be written");
    }

  private:
    bool take(const std::string& text) {
        JsonPtr json(json_tokener_parse(text.c_str()));
        if (json == nullptr || !json_object_is_type(json.get(), json_type_object)) {
            return false;
        }
        const int64_t version = numberIn(json.get(), "recording");
        if (lines_.empty() && (version < 1 || version > kRecordingVersion)) {
            return false;
        }
        Bond bond = bondOf(json.get());
        lines_.push_back({std::move(json), std::move(bond)});
        return true;
    }

    // The chain, and what the daemon remembers for it, whose own chains it remembers for in turn.
    void follow(std::set<uint32_t> roots) {
        if (isWithStart()) {
            roots.insert(past_.start().begin(), past_.start().end());
        }
        chain_ = kin_.of(roots);
        size_t known = 0;
        for (int step = 0; step < kMostSteps && known != roots.size(); ++step) {
            known = roots.size();
            for (const uint32_t event : past_.behind(chain_)) {
                roots.insert(firstCause(event));
            }
            chain_ = kin_.of(roots);
        }
    }

    // The daemon did not run yet: a replay begins with its start.
    bool isWithStart() const { return json_object_object_get(lines_.front().json.get(), "daemon") == nullptr; }

    // A circle ends where it began.
    uint32_t firstCause(uint32_t event) const {
        std::set<uint32_t> seen;
        for (auto cause = causes_.find(event); cause != causes_.end() && seen.insert(event).second;
             cause = causes_.find(event)) {
            event = cause->second;
        }
        return event;
    }

    std::vector<Line> lines_;
    std::map<uint32_t, uint32_t> causes_;
    Kinship kin_;
    Remembered past_;
    Belonging chain_;
};

}  // namespace

int cutRecording(uint32_t event, const std::string& from, const std::string& to) {
    Cutting cutting;
    const int status = cutting.read(from);
    if (status != kDone) {
        return status;
    }
    return cutting.select(event) ? cutting.write(to, event)
                                 : refuse(from + ": nothing tells of event " + std::to_string(event));
}

}  // namespace vcfgctl
