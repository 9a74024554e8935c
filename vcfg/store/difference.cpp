// What a change that replaces the model leaves otherwise than it was.
#include <algorithm>
#include <cstring>

#include "store.h"

namespace vcfg::store {
namespace {

using model::Object;

using Bytes = std::vector<std::byte>;

Bytes copyOf(const Object& object, const std::byte* value) {
    return value == nullptr ? Bytes() : Bytes(recordOf(value), recordOf(value) + object.size);
}

// Walks both states of a table side by side.
class Pairs {
  public:
    Pairs(const Object& object, View before, View after)
        : object_(object), before_(before), after_(after), old_(before.first(object)), fresh_(after.first(object)) {}

    // The next instance that differs; false at the end.
    bool next(Edited* edited) {
        while (old_.value != nullptr || fresh_.value != nullptr) {
            const bool hasOld = old_.value != nullptr && (fresh_.value == nullptr || old_.key <= fresh_.key);
            const bool hasFresh = fresh_.value != nullptr && (old_.value == nullptr || fresh_.key <= old_.key);
            *edited = {&object_, iidOf(hasOld ? old_.key : fresh_.key, object_.depth),
                       !hasOld     ? Fate::Came
                       : !hasFresh ? Fate::Went
                                   : Fate::Stays,
                       copyOf(object_, hasOld ? old_.value : nullptr),
                       copyOf(object_, hasFresh ? fresh_.value : nullptr)};
            old_ = hasOld ? before_.behind(object_, old_.key) : old_;
            fresh_ = hasFresh ? after_.behind(object_, fresh_.key) : fresh_;
            if (edited->before != edited->after) {
                return true;
            }
        }
        return false;
    }

  private:
    const Object& object_;
    View before_;
    View after_;
    Place old_;
    Place fresh_;
};

// What has gone stands before all else, the deepest first.
int rank(const Edited& one) {
    return one.fate == Fate::Went ? -2 * one.object->depth - (one.object->isTable ? 0 : 1) : 1;
}

}  // namespace

// A single object comes with the instance above it: what it has then beside its defaults has been written.
std::vector<Edited> Store::differences() const {
    std::vector<Edited> all;
    for (const Object& object : model::objects()) {
        Pairs pairs(object, held_->committed->view(), held_->changing->view());
        for (Edited one{}; pairs.next(&one);) {
            if (one.fate == Fate::Came && !object.isTable) {
                one.fate = Fate::Stays;
                one.before = defaultsOf(object);
            }
            if (one.before != one.after) {
                all.push_back(std::move(one));
            }
        }
    }
    std::stable_sort(all.begin(), all.end(),
                     [](const Edited& left, const Edited& right) { return rank(left) < rank(right); });
    return all;
}

// Whether an instance lies below one that is there.
bool Store::hasParent(const Object& object, Key key) const {
    const Object* parent = model::find(object.parentOid);
    return parent == nullptr || view().at(*parent, ancestor(key, parent->depth)) != nullptr;
}

// As if each had been written by itself.
void Store::noteDifferences() {
    changes_.clear();
    if (!watcher_) {
        return;
    }
    for (const Edited& one : differences()) {
        const Key key = keyOf(one.iid);
        if (one.fate == Fate::Stays) {
            noteValues(*one.object, key, one.before.data(), one.after.data());
        } else if (one.fate == Fate::Came) {
            noteInstance(*one.object, key, true);
            noteValues(*one.object, key, defaultsOf(*one.object).data(), one.after.data());
        } else if (one.object->isTable && hasParent(*one.object, key)) {
            noteInstance(*one.object, key, false);
        }
    }
}

}  // namespace vcfg::store
