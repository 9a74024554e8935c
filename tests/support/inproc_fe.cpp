#include "inproc_fe.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

#include "store/edit.h"

namespace {

using inproc::Operation;
using vcfg::model::Object;
using vcfg::store::Store;

struct Fault {
    int times;
    int code;
};

struct World {
    Store store;
    std::map<std::pair<Operation, std::string>, Fault> faults = {};
    std::vector<std::string> nullRecords = {};
    std::map<std::string, std::string> reports = {};
    std::map<std::string, int> owners = {};  // what their apply answers
    std::vector<std::string> applied = {};
    std::vector<std::string> reads = {};
    std::vector<std::string> writes = {};
    unsigned calls = 0;
};

// What the model is after a reset, when a test has kept one.
struct Kept {
    std::string text;
    uint32_t revision = 0;
};
std::optional<Kept> kept;

std::mutex mutex;
// Never destroyed: a thread that nobody waits for may have looked at it last.
World& world = *std::make_unique<World>().release();

std::string patternOf(uint32_t oid) {
    const Object* object = vcfg::model::find(oid);
    return object != nullptr ? object->pattern : "";
}

// Counts the call, and answers what a fault prepared for it says; VCFG_OK lets it go on.
int enter(Operation operation, uint32_t oid) {
    ++world.calls;
    const auto fault = world.faults.find({operation, patternOf(oid)});
    if (fault == world.faults.end()) {
        return VCFG_OK;
    }
    const int code = fault->second.code;
    if (--fault->second.times == 0) {
        world.faults.erase(fault);
    }
    return code;
}

int handOut(uint32_t oid, int code, const void* stored, void** record) {
    if (code != VCFG_OK) {
        return code;
    }
    const auto prepared = std::find(world.nullRecords.begin(), world.nullRecords.end(), patternOf(oid));
    if (prepared != world.nullRecords.end()) {
        world.nullRecords.erase(prepared);
        *record = nullptr;
        return VCFG_OK;
    }
    const size_t size = vcfg::model::find(oid)->size;
    *record = std::malloc(size);
    if (*record == nullptr) {
        return VCFG_ERR_FAIL;
    }
    std::memcpy(*record, stored, size);
    return VCFG_OK;
}

void noteRead(const char* verb, uint32_t oid, const objIndex& iid) {
    const Object* object = vcfg::model::find(oid);
    world.reads.push_back(std::string(verb) + " " + (object != nullptr ? path(*object, iid) : "?"));
}

// One line for a write that took effect.
int note(int code, const char* verb, uint32_t oid, const objIndex& iid, const std::string& rest = {}) {
    if (code == VCFG_OK) {
        world.writes.push_back(std::string(verb) + " " + path(*vcfg::model::find(oid), iid) + rest);
    }
    return code;
}

// Puts what the owner reports into the store.
void refresh(uint32_t oid, const objIndex& iid) {
    const auto report = world.reports.find(patternOf(oid));
    if (report != world.reports.end()) {
        world.store.write(oid, iid, vcfg::store::parseObject(report->second, nullptr).get(), nullptr);
    }
}

// Hands what was written to its owner.
int apply(int code, const char* action, uint32_t oid, const objIndex& iid) {
    const auto owner = world.owners.find(patternOf(oid));
    if (code != VCFG_OK || owner == world.owners.end()) {
        return code;
    }
    world.applied.push_back(std::string(action) + " " + path(*vcfg::model::find(oid), iid));
    return owner->second;
}

int readOne(uint32_t oid, objIndex* iid, void** record, bool refreshed) {
    const std::lock_guard lock(mutex);
    if (iid == nullptr || record == nullptr) {
        return VCFG_ERR_INVALID;
    }
    noteRead("get", oid, *iid);
    if (const int code = enter(Operation::Get, oid); code != VCFG_OK) {
        return code;
    }
    if (refreshed) {
        refresh(oid, *iid);
    }
    const void* stored = nullptr;
    const int code = world.store.get(oid, *iid, &stored);
    return handOut(oid, code, stored, record);
}

int readNext(uint32_t oid, const objIndex& parent, objIndex* iid, void** record, bool refreshed) {
    const std::lock_guard lock(mutex);
    if (iid == nullptr || record == nullptr) {
        return VCFG_ERR_INVALID;
    }
    noteRead("next", oid, *iid);
    if (const int code = enter(Operation::Next, oid); code != VCFG_OK) {
        return code;
    }
    const void* stored = nullptr;
    const int code = world.store.nextChild(oid, parent, iid, &stored);
    if (code == VCFG_OK && refreshed) {
        refresh(oid, *iid);
        world.store.get(oid, *iid, &stored);
    }
    return handOut(oid, code, stored, record);
}

int writeRecord(Operation operation, const char* verb, uint32_t oid, const objIndex* iid, const void* record) {
    const std::lock_guard lock(mutex);
    const Object* object = vcfg::model::find(oid);
    if (object == nullptr || iid == nullptr || record == nullptr) {
        return object == nullptr ? VCFG_ERR_NOT_FOUND : VCFG_ERR_INVALID;
    }
    if (const int code = enter(operation, oid); code != VCFG_OK) {
        return code;
    }
    const auto* bytes = static_cast<const std::byte*>(record);
    const int code = note(world.store.set(oid, *iid, {bytes, object->size}, nullptr), verb, oid, *iid);
    if (operation == Operation::SetNoApply) {
        return code;
    }
    const int applied = apply(code, "set", oid, *iid);
    return operation == Operation::SetAndWait ? applied : code;
}

int writeParameters(uint32_t oid, const objIndex* iid, json_object* json, uint32_t requestType,
                    const std::string& text) {
    if (iid == nullptr || json == nullptr) {
        return VCFG_ERR_INVALID;
    }
    if (const int code = enter(Operation::Write, oid); code != VCFG_OK) {
        return code;
    }
    const int code = note(world.store.write(oid, *iid, json, nullptr), "write", oid, *iid, " " + text);
    if (requestType != VCFG_FE_WRITE_NO_APPLY) {
        apply(code, "set", oid, *iid);
    }
    return code;
}

int makeStep(vcfg::store::Edit& edit, vcfg_step_t& step) {
    const bool isAdded = step.kind == VCFG_STEP_ADD;
    if (step.kind == VCFG_STEP_DELETE) {
        return edit.remove(step.oid, &step.iid, nullptr);
    }
    const int code = isAdded ? edit.add(step.oid, &step.iid, nullptr) : static_cast<int>(VCFG_OK);
    return code == VCFG_OK ? edit.write(step.oid, &step.iid, step.json != nullptr ? step.json : "{}", nullptr) : code;
}

int makeSteps(std::vector<vcfg_step_t>& steps, std::vector<vcfg::store::Edited>* edited) {
    return world.store.change(nullptr, [&] {
        vcfg::store::Edit edit(world.store);
        for (vcfg_step_t& step : steps) {
            if (const int code = makeStep(edit, step); code != VCFG_OK) {
                return code;
            }
        }
        *edited = edit.end();
        return static_cast<int>(VCFG_OK);
    });
}

int applyAll(const std::vector<vcfg::store::Edited>& edited) {
    using vcfg::store::Fate;
    int failed = VCFG_OK;
    for (const vcfg::store::Edited& one : edited) {
        const char* action = one.fate == Fate::Came ? "add" : one.fate == Fate::Went ? "del" : "set";
        const int code = apply(VCFG_OK, action, one.object->oid, one.iid);
        failed = failed == VCFG_OK ? code : failed;
    }
    return failed;
}

// Makes the instances that are missing on the way to `iid`; the reason when that cannot be.
std::string makeInstances(const Object& object, const objIndex& iid) {
    const Object* table = object.isTable ? &object : vcfg::model::find(object.parentOid);
    const void* there = nullptr;
    objIndex own = iid;
    own.level = table != nullptr ? table->depth : uint8_t{0};
    if (table == nullptr || world.store.get(table->oid, own, &there) == VCFG_OK) {
        return {};
    }
    if (const Object* parent = vcfg::model::find(table->parentOid); parent != nullptr) {
        if (std::string why = makeInstances(*parent, iid); !why.empty()) {
            return why;
        }
    }
    std::string why;
    return world.store.create(table->oid, own, &why) == VCFG_OK ? std::string() : why;
}

}  // namespace

namespace inproc {

void reset() {
    const std::lock_guard lock(mutex);
    if (!kept) {
        world = World();
        return;
    }
    Store store = std::move(world.store);
    if (store.revision() != kept->revision) {
        store.fromText(kept->text, vcfg::store::What::All, vcfg::store::Unknown::Refuse, nullptr, nullptr);
        kept->revision = store.revision();
    }
    world = World{std::move(store)};
}

void keep() {
    const std::lock_guard lock(mutex);
    kept = Kept{world.store.toText(vcfg::store::What::All), world.store.revision()};
}

bool isKept() {
    const std::lock_guard lock(mutex);
    return kept.has_value();
}

std::string set(const std::string& path, const std::string& value) {
    const std::lock_guard lock(mutex);
    const auto where = vcfg::model::resolve(path);
    if (!where || (!where->rest.empty() && where->parameter == nullptr)) {
        return "the model has no " + path;
    }
    std::string why = makeInstances(*where->object, where->iid);
    if (!why.empty() || where->parameter == nullptr) {
        return why;
    }
    const vcfg::store::JsonPtr json(json_object_new_object());
    json_object_object_add(json.get(), where->parameter->name, json_object_new_string(value.c_str()));
    return world.store.write(where->object->oid, where->iid, json.get(), &why) == VCFG_OK ? std::string() : why;
}

std::string get(const std::string& path) {
    const std::lock_guard lock(mutex);
    const auto where = vcfg::model::resolve(path);
    const void* record = nullptr;
    if (!where || where->parameter == nullptr || world.store.get(where->object->oid, where->iid, &record) != VCFG_OK) {
        return {};
    }
    return valueText(*where->parameter, record);
}

std::string text() {
    const std::lock_guard lock(mutex);
    return world.store.toText(vcfg::store::What::All);
}

bool exists(const std::string& path) {
    const std::lock_guard lock(mutex);
    const auto where = vcfg::model::resolve(path);
    const void* record = nullptr;
    return where && (where->rest.empty() || where->parameter != nullptr) &&
           world.store.get(where->object->oid, where->iid, &record) == VCFG_OK;
}

std::vector<std::string> instancesOf(const std::string& tablePath) {
    const std::lock_guard lock(mutex);
    std::vector<std::string> paths;
    const auto table = vcfg::model::resolveTable(tablePath);
    if (table) {
        objIndex iid{};
        const void* record = nullptr;
        while (world.store.nextChild(table->object->oid, table->parent, &iid, &record) == VCFG_OK) {
            paths.push_back(path(*table->object, iid));
        }
    }
    return paths;
}

void fail(Operation operation, const std::string& pattern, int times, int code) {
    const std::lock_guard lock(mutex);
    world.faults[{operation, pattern}] = {times, code};
}

void failNoMore() {
    const std::lock_guard lock(mutex);
    world.faults.clear();
}

void nullRecord(const std::string& pattern) {
    const std::lock_guard lock(mutex);
    world.nullRecords.push_back(pattern);
}

void ownerReports(const std::string& pattern, const std::string& json) {
    const std::lock_guard lock(mutex);
    world.reports[pattern] = json;
}

void ownerApplies(const std::string& pattern) {
    const std::lock_guard lock(mutex);
    world.owners[pattern] = VCFG_OK;
}

void ownerRefuses(const std::string& pattern) {
    const std::lock_guard lock(mutex);
    world.owners[pattern] = VCFG_ERR_FAIL;
}

std::vector<std::string> applied() {
    const std::lock_guard lock(mutex);
    return world.applied;
}

std::vector<std::string> writes() {
    const std::lock_guard lock(mutex);
    return world.writes;
}

void forgetWrites() {
    const std::lock_guard lock(mutex);
    world.writes.clear();
}

std::vector<std::string> reads() {
    const std::lock_guard lock(mutex);
    return world.reads;
}

void forgetReads() {
    const std::lock_guard lock(mutex);
    world.reads.clear();
}

unsigned calls() {
    const std::lock_guard lock(mutex);
    return world.calls;
}

}  // namespace inproc

int vcfgFeObjStructGet(uint32_t oid, objIndex* iid, void** record) {
    return readOne(oid, iid, record, true);
}

int vcfgFeObjStructGetWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return readOne(oid, iid, record, false);
}

int vcfgFeObjStructGetNext(uint32_t oid, objIndex* iid, void** record) {
    return readNext(oid, {}, iid, record, true);
}

int vcfgFeObjStructGetNextWithoutUpdate(uint32_t oid, objIndex* iid, void** record) {
    return readNext(oid, {}, iid, record, false);
}

int vcfgFeSubInStructGetNext(uint32_t oid, const objIndex* parent, objIndex* iid, void** record) {
    return parent != nullptr ? readNext(oid, *parent, iid, record, true) : VCFG_ERR_INVALID;
}

int vcfgFeObjStructSet(uint32_t oid, const objIndex* iid, const void* record, void*) {
    return writeRecord(Operation::Set, "set", oid, iid, record);
}

int vcfgFeObjStructSetWithoutApply(uint32_t oid, const objIndex* iid, const void* record, void*) {
    return writeRecord(Operation::SetNoApply, "publish", oid, iid, record);
}

int vcfgFeObjStructBlockedSet(uint32_t oid, const objIndex* iid, const void* record, void*) {
    return writeRecord(Operation::SetAndWait, "setAndWait", oid, iid, record);
}

int vcfgFeObjStructAdd(uint32_t oid, objIndex* iid, void*) {
    const std::lock_guard lock(mutex);
    if (iid == nullptr) {
        return VCFG_ERR_INVALID;
    }
    if (const int code = enter(Operation::Add, oid); code != VCFG_OK) {
        return code;
    }
    const int code = world.store.add(oid, iid, nullptr);
    apply(note(code, "add", oid, *iid), "add", oid, *iid);
    return code;
}

int vcfgFeObjStructDel(uint32_t oid, const objIndex* iid, void*) {
    const std::lock_guard lock(mutex);
    if (iid == nullptr) {
        return VCFG_ERR_INVALID;
    }
    if (const int code = enter(Operation::Delete, oid); code != VCFG_OK) {
        return code;
    }
    const int code = note(world.store.remove(oid, *iid, nullptr), "delete", oid, *iid);
    apply(code, "del", oid, *iid);
    return code;
}

int vcfgFeObjWrite(uint32_t oid, const objIndex* iid, const char* json, uint32_t requestType, void*) {
    const std::lock_guard lock(mutex);
    const std::string text = json != nullptr ? json : "";
    return writeParameters(oid, iid, vcfg::store::parseObject(text, nullptr).get(), requestType, text);
}

int vcfgFeObjJsonSetWithAdditions(uint32_t oid, const objIndex* iid, json_object* json, uint32_t, uint32_t requestType,
                                  void*) {
    const std::lock_guard lock(mutex);
    const char* text = json_object_to_json_string_ext(json, JSON_C_TO_STRING_PLAIN | JSON_C_TO_STRING_NOSLASHESCAPE);
    return writeParameters(oid, iid, json, requestType, text);
}

int vcfgFeObjChange(vcfg_step_t* steps, size_t count, uint32_t requestType, void*) {
    const std::lock_guard lock(mutex);
    ++world.calls;
    std::vector<vcfg_step_t> made(steps, steps + count);
    std::vector<vcfg::store::Edited> edited;
    const int code = makeSteps(made, &edited);
    if (code != VCFG_OK) {
        return code;
    }
    std::copy(made.begin(), made.end(), steps);
    for (const vcfg_step_t& step : made) {
        note(code, "change", step.oid, step.iid, step.json != nullptr ? std::string(" ") + step.json : "");
    }
    const int applied = requestType != VCFG_FE_WRITE_NO_APPLY ? applyAll(edited) : static_cast<int>(VCFG_OK);
    return requestType == VCFG_FE_WRITE_AND_WAIT ? applied : code;
}

int vcfgFeDebugCfgObjInit(const char* daemon) {
    const std::lock_guard lock(mutex);
    ++world.calls;
    return daemon != nullptr ? VCFG_OK : VCFG_ERR_INVALID;
}
