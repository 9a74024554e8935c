// The data-model engine: which instances exist and what their records hold. No input or output in here: vcmd serves it
// on the bus and keeps it in a file (persist.h), the unit tests call it directly.
//
// What always holds:
//  - An instance exists only below its parent instance; it goes with it.
//  - A single object exists from the start, with its defaults; below a table's instance ("PPP.Interface.{i}.IPCP") it
//    comes and goes with that instance. It is neither added nor removed.
//  - A write takes effect whole or not at all; so does every other operation that answers a failure.
//  - "<Table>NumberOfEntries" is counted here: what a written record says there is not looked at.
//
// Instances stand in order, so that a step of an iteration costs the same in a long table as in a short one. Not safe
// to call from several threads at once.
#pragma once

#include <vcfg/codes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "json.h"
#include "key.h"
#include "model/describe.h"

namespace vcfg::store {

// One parameter that has another value now. An instance that came or went is one change of its path without a
// parameter: it has no `before` when it came, and no `after` when it went.
struct Change {
    std::string path;
    std::optional<std::string> before;
    std::optional<std::string> after;
};
using Watcher = std::function<void(const Change&)>;  // must not throw, and not call the store

// What to do with objects, parameters and values in a file that this model does not know or does not take.
enum class Unknown {
    Refuse,  // the whole file
    Skip     // only them: a device boots with the configuration that an older or newer release has written
};

// How much of a model: a power cycle ends the state.
enum class What { All, Configuration };

// What was skipped: a line each for the first things, and how many there were besides.
struct Skipped {
    std::vector<std::string> lines;
    size_t more = 0;
};

// Runs what may allocate: short memory is a failure, not an exception.
template <class Operation>
int guarded(Operation operation) {
    try {
        return operation();
    } catch (const std::bad_alloc&) {
        return VCFG_ERR_FAIL;
    }
}

class Store {
  public:
    Store();

    // All results are vcfg_code. `why` (may be null) gets one line when something is refused.

    // The record of one instance; it is valid until the next change. VCFG_ERR_NOT_FOUND, or VCFG_ERR_INVALID when `iid`
    // has not as many levels as the object.
    int get(uint32_t oid, const objIndex& iid, const void** record) const;
    // The instance after `iid` over all parents, ascending; `iid` of level 0 starts. What lies beyond `iid`'s level is
    // not looked at. VCFG_ERR_NOT_FOUND at the end; VCFG_ERR_INVALID for an object without instance numbers, which
    // would otherwise be found without end.
    int next(uint32_t oid, objIndex* iid, const void** record) const;
    // The same among the instances below `parent`; an `iid` that lies before them, or has level 0, starts.
    int nextChild(uint32_t oid, const objIndex& parent, objIndex* iid, const void** record) const;

    // The whole record, as it came from outside: VCFG_ERR_INVALID when its size is not the object's or a value is bad.
    int set(uint32_t oid, const objIndex& iid, std::span<const std::byte> record, std::string* why);
    // The parameters that a JSON object names.
    int write(uint32_t oid, const objIndex& iid, json_object* parameters, std::string* why);

    // A new instance with defaults below the parent that `iid` names, numbered highest + 1, or the lowest free number
    // when 255 is taken; `iid` becomes its. VCFG_ERR_FULL with 255 of them.
    int add(uint32_t oid, objIndex* iid, std::string* why);
    // The same with a given number. VCFG_ERR_INVALID when it exists already.
    int create(uint32_t oid, const objIndex& iid, std::string* why);
    // A table's instance, and all that is below it.
    int remove(uint32_t oid, const objIndex& iid, std::string* why);

    // The whole model: {"version":1,"objects":{"IP.Interface.1":{"Enable":true}}}. Every instance is named; of the
    // parameters only those that differ from a new instance's, and none that are counted. Throws std::bad_alloc.
    JsonPtr toJson(What what = What::All) const;
    std::string toText(What what) const;
    // Replaces the whole model by what such a text says, or nothing. `skipped` (may be null) tells what was
    // skipped. State that is not wanted is looked at like the rest, and begins at its defaults. Tells the watcher
    // nothing.
    int fromText(std::string_view text, What what, Unknown unknown, Skipped* skipped, std::string* why);

    void watch(Watcher watcher) { watcher_ = std::move(watcher); }
    // Another number after every operation that has changed something.
    uint32_t revision() const { return revision_; }
    // The same of the configuration: instances, and the parameters that outlive a power cycle.
    uint32_t configurationRevision() const { return configurationRevision_; }

  private:
    using Record = std::unique_ptr<std::byte[]>;
    using Table = std::map<Key, Record>;
    struct Found {
        int code;
        const model::Object* object;
        Key key;
        std::byte* record;  // null when there is no such instance
    };

    Found locate(uint32_t oid, const objIndex& iid) const;
    static std::string missing(const Found& found);
    void insert(const model::Object& object, Key key);
    void erase(const model::Object& object, Key key);
    void count(const model::Object& object, Key key, int difference, std::vector<Change>* changes);
    int commit(const Found& found, const std::byte* staged);
    void tell(const std::vector<Change>& changes) const;
    struct Entry {
        const model::Object* object;
        objIndex iid;
        std::string_view parameters;
    };
    using Refuse = std::function<bool(const std::string& path, const std::string& why)>;  // false ends the loading
    static bool findEntries(std::string_view objects, std::vector<Entry>* entries, const Refuse& refused);
    bool loadEntry(const Entry& entry, What what, const Refuse& refused);

    std::array<Table, RDM_OID_COUNT> tables_;
    std::array<Record, RDM_OID_COUNT> defaults_;
    Watcher watcher_;
    uint32_t revision_ = 0;
    uint32_t configurationRevision_ = 0;
};

}  // namespace vcfg::store
