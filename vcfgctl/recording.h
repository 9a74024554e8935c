// A recording: the data model as it was, and then what arrived at the daemon and what became of it. JSON lines that
// people can read and compare; the first one says what it is.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "changes.h"
#include "hidden.h"
#include "json.h"
#include "passing.h"

namespace vcfgctl {

inline constexpr int kRecordingVersion = 1;
// Who has made a change that is not told more of: it came of what was left out.
inline constexpr const char* kElsewhere = "elsewhere";

// Where the lines go: a file that only its owner may read, or standard output ("-").
class RecordingFile {
  public:
    // An exit status, reported when not kDone.
    int open(const std::string& name);
    void put(json_object* line);
    bool takes() const;

  private:
    struct Close {
        void operator()(FILE* file) const { fclose(file); }
    };
    std::unique_ptr<FILE, Close> own_;
    FILE* file_ = stdout;
};

// The lines. Times are microseconds since the recording began.
json_object* headerLine(int64_t beganUs);
// Puts every instance of the model, and learns its secrets. An exit status, reported when not kDone.
int putModel(RecordingFile& file, Hidden& hidden);
// Null for what counts instances. `event` is what it was written for.
json_object* changeLine(const Change& change, uint32_t event, int64_t beganUs, Hidden& hidden);
// Null for what is about the data model alone: reads leave no trace, and writes are told as changes.
json_object* passageLine(const Passage& passage, int64_t beganUs, const Hidden& hidden);
json_object* markLine(const char* kind, int64_t timeUs, int64_t beganUs);

}  // namespace vcfgctl
