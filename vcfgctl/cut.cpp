#include "cut.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "kinship.h"
#include "sieve.h"
#include "verb.h"

namespace vcfgctl {
namespace {

constexpr size_t kLongestLine = 1 << 20;
constexpr size_t kMostLines = 1 << 20;

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
        std::map<uint32_t, uint32_t> causes;
        Kinship kin;
        bool isThere = false;
        for (const auto& [json, bond] : lines_) {
            isThere = isThere || bond.event == event;
            if (bond.event != 0 && bond.cause != 0) {
                causes.emplace(bond.event, bond.cause);
            }
            kin.learn(bond);
        }
        chain_ = kin.of(firstCause(causes, event));
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

    // A circle ends where it began.
    static uint32_t firstCause(const std::map<uint32_t, uint32_t>& causes, uint32_t event) {
        std::set<uint32_t> seen;
        for (auto cause = causes.find(event); cause != causes.end() && seen.insert(event).second;
             cause = causes.find(event)) {
            event = cause->second;
        }
        return event;
    }

    std::vector<Line> lines_;
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
