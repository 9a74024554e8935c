// The data-model engine: which instances exist and what their records hold. vcmd serves writes to it on the bus and
// keeps it in a file (persist.h), everyone reads what it has committed (snapshot.h), the unit tests call it directly.
//
// What always holds:
//  - An instance exists only below its parent instance; it goes with it.
//  - A single object exists from the start, with its defaults; below a table's instance ("PPP.Interface.{i}.IPCP") it
//    comes and goes with that instance. It is neither added nor removed.
//  - A write takes effect whole or not at all; so does every other operation that answers a failure. Once it has
//    answered, every reader sees it.
//  - "<Table>NumberOfEntries" is counted here: what a written record says there is not looked at.
//
// Not safe to call from several threads at once.
#pragma once

#include <vcfg/codes.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "edited.h"
#include "environment.h"
#include "file_mark.h"
#include "json.h"
#include "model/describe.h"
#include "snapshot.h"
#include "transaction.h"

namespace vcfg::store {

// One parameter that has another value now. An instance that came or went is one change of its path without a
// parameter: it has no `before` when it came, and no `after` when it went.
struct Change {
    std::string path;
    std::optional<std::string> before;
    std::optional<std::string> after;
    const model::Object* object;
    objIndex iid;
    const model::Parameter* parameter;  // null for none
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

// A new instance's record.
std::vector<std::byte> defaultsOf(const model::Object& object);

class Store {
  public:
    // In an environment of its own; std::bad_alloc when there can be none.
    Store();
    // In that environment; what is in it stays. Throws Failure or std::bad_alloc.
    explicit Store(EnvironmentPtr environment);
    // The file that the environment lies in, to be found there again when LMDB cannot end a change; without one, or
    // when that fails, whoever makes the next change gets Lost.
    void liesIn(std::string file) { file_ = std::move(file); }

    // All results are vcfg_code. `why` (may be null) gets one line when something is refused. VCFG_ERR_FULL when the
    // environment has no room for a change.

    // The record of one instance; it is valid until the next change. VCFG_ERR_NOT_FOUND, or VCFG_ERR_INVALID when `iid`
    // has not as many levels as the object.
    int get(uint32_t oid, const objIndex& iid, const void** record) const;
    // The instance after `iid` over all parents, ascending; `iid` of level 0 starts. What lies beyond `iid`'s level is
    // not looked at. VCFG_ERR_NOT_FOUND at the end; VCFG_ERR_INVALID for an object without instance numbers, which
    // would otherwise be found without end.
    int next(uint32_t oid, objIndex* iid, const void** record) const;
    // The same among the instances below `parent`; an `iid` that lies before them, or has level 0, starts.
    int nextChild(uint32_t oid, const objIndex& parent, objIndex* iid, const void** record) const;
    // The change that gave an instance its values. VCFG_ERR_NOT_FOUND, VCFG_ERR_INVALID as get().
    int originOf(uint32_t oid, const objIndex& iid, Origin* origin) const;

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

    // Joins all changes that `operation` makes in one: they are seen together, or, when it does not answer VCFG_OK, not
    // at all. It may be run twice.
    template <class Operation>
    int change(std::string* why, Operation operation) {
        return run(why, std::ref(operation));
    }

    // The whole model: {"version":1,"objects":{"IP.Interface.1":{"Enable":true}}}. Every instance is named; of the
    // parameters only those that differ from a new instance's, and none that are counted. Throws std::bad_alloc.
    JsonPtr toJson(What what = What::All) const;
    std::string toText(What what) const;
    // Replaces the whole model by what such a text says, or nothing. `skipped` (may be null) tells what was
    // skipped. State that is not wanted is looked at like the rest, and begins at its defaults. The watcher is told
    // what differs.
    int fromText(std::string_view text, What what, Unknown unknown, Skipped* skipped, std::string* why);
    // Nothing but the single objects, with their defaults. Tells the watcher nothing.
    int clear(std::string* why);

    // Within change(): the instances that are not as they were before it. Those that have gone come first, the deepest
    // before the others.
    std::vector<Edited> differences() const;

    // Which objects have an owner who refreshes them before they are read.
    int setRefreshed(const Refreshed& refreshed);
    // That the model's file is, or is about to become, another one.
    int standOn(const FileMark& file);

    void watch(Watcher watcher) { watcher_ = std::move(watcher); }
    // Who makes the changes that follow, and on behalf of which event.
    void writeAs(std::string by, uint32_t event = 0) {
        writer_ = std::move(by);
        event_ = event;
    }
    const std::string& writer() const { return writer_; }
    // Another number after every operation that has changed something.
    uint32_t revision() const { return revision_; }
    // The same of the configuration: instances, and the parameters that outlive a power cycle.
    uint32_t configurationRevision() const { return configurationRevision_; }

  private:
    // Ends in the right order.
    struct Held {
        EnvironmentPtr environment;
        std::unique_ptr<Snapshot> committed;
        std::unique_ptr<Transaction> changing;  // null but within a change
    };

    View view() const { return held_->changing ? held_->changing->view() : held_->committed->view(); }
    struct Tries {
        int full;  // more when there was no room
        int anew = 1;
    };
    int run(std::string* why, const std::function<int()>& operation);
    bool mayGoBetter(Tries& left);
    void openAnew();
    int attempt(const std::function<int()>& operation);
    void concluded();
    void tidyReaders();

    int put(const Found& found, const std::byte* staged);
    bool hasParent(const model::Object& object, Key key) const;
    void noteDifferences();
    void noteValues(const model::Object& object, Key key, const std::byte* record, const std::byte* other);
    void noteInstance(const model::Object& object, Key key, bool came);
    void insert(const model::Object& object, Key key);
    void erase(const model::Object& object, Key key);
    void count(const model::Object& object, Key key, int difference);
    void clearAll();

    struct Entry {
        const model::Object* object;
        objIndex iid;
        std::string_view parameters;
    };
    using Refuse = std::function<bool(const std::string& path, const std::string& why)>;  // false ends the loading
    static bool findEntries(std::string_view objects, std::vector<Entry>* entries, const Refuse& refused);
    bool loadEntry(const Entry& entry, What what, const Refuse& refused);

    std::unique_ptr<Held> held_;
    std::string file_;
    std::vector<Change> changes_;  // of the change that is being made
    Watcher watcher_;
    std::string writer_;
    uint32_t event_ = 0;
    uint32_t revision_ = 0;
    uint32_t configurationRevision_ = 0;
    bool touchesConfiguration_ = false;  // the change that is being made
    size_t tidiedAt_ = 0;                // the pages in use when dead readers were looked for
    int64_t tidiedUs_ = 0;
    bool full_ = false;  // there was no room for the last change
};

}  // namespace vcfg::store
