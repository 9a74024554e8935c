// The framework API of vcfg/include over a store in this process: what the unit tests link in place of libvcfg. This
// header is the tests' grip on it.
#pragma once

#include <vcfg/vcfg.h>

#include <string>
#include <vector>

namespace inproc {

// An empty model; forgets all faults, messages, log lines and counts.
void reset();
// From now on a reset brings back the model as it is now, at once when nothing has changed meanwhile.
void keep();
bool isKept();

// The model by path. `set` makes the instances that are missing on the way. Empty result for a path that does not
// exist.
std::string set(const std::string& path, const std::string& value);  // why it was refused, or empty
std::string get(const std::string& path);
std::string text();  // all of it, as it would be kept
bool exists(const std::string& path);
std::vector<std::string> instancesOf(const std::string& tablePath);  // "IP.Interface.1.IPv4Address" -> full paths

enum class Operation { Get, Next, Set, SetNoApply, SetAndWait, Add, Delete, Write };
// The next `times` operations of that kind on the object pattern ("IP.Interface.{i}") answer `code` and do nothing.
void fail(Operation operation, const std::string& pattern, int times = 1, int code = VCFG_ERR_FAIL);
void failNoMore();
// The next read of that object succeeds with a null record.
void nullRecord(const std::string& pattern);

// The owner of an object ("IP.Interface.{i}"): the parameters that it reports at every refresh, as a JSON object; and
// whether it applies what it is handed, or fails to.
void ownerReports(const std::string& pattern, const std::string& json);
void ownerApplies(const std::string& pattern);
void ownerRefuses(const std::string& pattern);
// What those owners were handed, in order: "set IP.Interface.1", "add ...", "del ...".
std::vector<std::string> applied();

// One line per write that took effect, in order: "set IP.Interface.1", "publish ...", "setAndWait ...", "add
// ...", "delete ...", "write ... {json}".
std::vector<std::string> writes();
void forgetWrites();
// One line per read since reset, found or not, in order: "get IP.Interface.1", "next IP.Interface.1" with where the
// walk stood.
std::vector<std::string> reads();
void forgetReads();
// Number of front-end calls since reset, reads and writes.
unsigned calls();

}  // namespace inproc
