#include "store.h"

#include <cstring>

#include "identity.h"
#include "refusal.h"

namespace vcfg::store {
namespace {

EnvironmentPtr ownEnvironment() {
    try {
        return openPrivate();
    } catch (const Failure&) {
        throw std::bad_alloc();
    }
}

int handOut(const Found& found, const void** record) {
    *record = found.value != nullptr ? recordOf(found.value) : nullptr;
    return found.code;
}

}  // namespace

std::vector<std::byte> defaultsOf(const model::Object& object) {
    std::vector<std::byte> record(object.size);
    setDefaults(object, record.data());
    return record;
}

Store::Store() : Store(ownEnvironment()) {}

Store::Store(EnvironmentPtr environment) : held_(std::make_unique<Held>()) {
    held_->environment = std::move(environment);
    held_->committed = std::make_unique<Snapshot>(held_->environment.get());
    if (view().note(Note::Identity).empty() && clear(nullptr) != VCFG_OK) {
        throw std::bad_alloc();
    }
}

int Store::get(uint32_t oid, const objIndex& iid, const void** record) const {
    return handOut(view().get(oid, iid), record);
}

int Store::next(uint32_t oid, objIndex* iid, const void** record) const {
    return nextChild(oid, objIndex{}, iid, record);
}

int Store::nextChild(uint32_t oid, const objIndex& parent, objIndex* iid, const void** record) const {
    const Found found = view().next(oid, parent, *iid);
    if (found.code == VCFG_OK) {
        *iid = iidOf(found.key, found.object->depth);
    }
    return handOut(found, record);
}

int Store::originOf(uint32_t oid, const objIndex& iid, Origin* origin) const {
    const Found found = view().get(oid, iid);
    if (found.value != nullptr) {
        *origin = store::originOf(found.value);
    }
    return found.code;
}

int Store::clear(std::string* why) {
    return change(why, [this] {
        clearAll();
        changes_.clear();
        return static_cast<int>(VCFG_OK);
    });
}

// What there is goes, and what every model has comes.
void Store::clearAll() {
    Transaction& changing = *held_->changing;
    for (const model::Object& object : model::objects()) {
        changing.erase(object, 0, lastBelow(0, 0));
    }
    for (const model::Object& object : model::objects()) {
        if (object.depth == 0) {
            insert(object, 0);
        }
    }
    changing.putNote(Note::Identity, noteOf(ownIdentity()));
}

int Store::setRefreshed(const Refreshed& refreshed) {
    const std::string_view content(reinterpret_cast<const char*>(refreshed.data()), refreshed.size());
    return change(nullptr, [this, content] {
        if (view().note(Note::Refreshed) != content) {
            held_->changing->putNote(Note::Refreshed, content);
        }
        return static_cast<int>(VCFG_OK);
    });
}

int Store::standOn(const FileMark& file) {
    return change(nullptr, [this, &file] {
        FileNote note{};
        const std::string_view before = view().note(Note::File);
        if (before.size() == sizeof note) {
            std::memcpy(&note, before.data(), sizeof note);
        }
        note = {note.now, file};
        held_->changing->putNote(Note::File, {reinterpret_cast<const char*>(&note), sizeof note});
        return static_cast<int>(VCFG_OK);
    });
}

}  // namespace vcfg::store
