// Records of the data model: reading, walking, writing. A Record owns what the front end handed out and frees it once.
//
//   if (auto interface = get<IpInterface>(iid)) { interface->Status = "Up"; interface.publish(); }
//   for (auto& client : instances<Dhcpv4Client>()) { ... }
//   auto address = firstChild<IpInterfaceIpv4Address>(interface.iid());
#pragma once

#include <vcfg/fe.h>

#include <utility>

#include "core/path.h"

namespace record_detail {

enum class Read { Refreshed, Stored };

struct Place {  // where in the source a record was asked for
    const char* file;
    int line;
};

int read(Read how, uint32_t oid, objIndex& iid, void** record);
int readNext(Read how, uint32_t oid, objIndex& iid, void** record);
int readNextChild(uint32_t oid, const objIndex& parent, objIndex& iid, void** record);
// Frees a record; one that a successful read left null prints "Free NULL pointer. %s %d".
void release(int code, void* record, Place place);

}  // namespace record_detail

template <class T>
class Record {
  public:
    Record() = default;
    Record(int code, const objIndex& iid, void* record, record_detail::Place place)
        : code_(code), iid_(iid), record_(static_cast<T*>(record)), place_(place) {}
    Record(Record&& other) noexcept { swap(other); }
    Record& operator=(Record&& other) noexcept {
        swap(other);
        return *this;
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    ~Record() { record_detail::release(code_, record_, place_); }

    explicit operator bool() const { return code_ == VCFG_OK && record_ != nullptr; }
    // Why there is no record: the front end's code, never 0 then.
    int code() const { return code_ == VCFG_OK && record_ == nullptr ? VCFG_ERR_FAIL : code_; }

    T* operator->() { return record_; }
    const T* operator->() const { return record_; }
    T& operator*() { return *record_; }
    const T& operator*() const { return *record_; }

    const objIndex& iid() const { return iid_; }
    // The innermost instance number.
    uint8_t instance() const { return iid_.level > 0 ? iid_.idx[iid_.level - 1] : uint8_t{0}; }

    // Into the data model only; let the owner apply it too; return when it is applied. 0 or the front end's code.
    int publish() const { return vcfgFeObjStructSetWithoutApply(oid(), &iid_, record_, nullptr); }
    int apply() const { return vcfgFeObjStructSet(oid(), &iid_, record_, nullptr); }
    int applyAndWait() const { return vcfgFeObjStructBlockedSet(oid(), &iid_, record_, nullptr); }
    int remove() const { return vcfgFeObjStructDel(oid(), &iid_, nullptr); }

  private:
    static constexpr uint32_t oid() { return vcfg::ObjectId<T>::value; }
    void swap(Record& other) {
        std::swap(code_, other.code_);
        std::swap(iid_, other.iid_);
        std::swap(record_, other.record_);
        std::swap(place_, other.place_);
    }

    int code_ = VCFG_ERR_NOT_FOUND;
    objIndex iid_{};
    T* record_ = nullptr;
    record_detail::Place place_{};
};

// One instance: refreshed by its owner first, or the stored values as they are.
template <class T>
Record<T> get(objIndex iid = {}, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    void* record = nullptr;
    const int code = record_detail::read(record_detail::Read::Refreshed, vcfg::ObjectId<T>::value, iid, &record);
    return Record<T>(code, iid, record, {file, line});
}
template <class T>
Record<T> getStored(objIndex iid = {}, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    void* record = nullptr;
    const int code = record_detail::read(record_detail::Read::Stored, vcfg::ObjectId<T>::value, iid, &record);
    return Record<T>(code, iid, record, {file, line});
}

// A walk to loop over. `Next` is called with the id of the instance before; its Record ends the walk when it is empty.
template <class T, class Next>
class Walk {
  public:
    struct End {};
    class Iterator {
      public:
        explicit Iterator(const Next& next) : next_(next), current_(next_(objIndex{})) {}
        Record<T>& operator*() { return current_; }
        Iterator& operator++() {
            const objIndex here = at_.level > 0 ? at_ : current_.iid();
            current_ = next_(here);
            at_ = current_.iid();
            return *this;
        }
        bool operator!=(End) {
            at_ = current_.iid();
            return static_cast<bool>(current_);
        }

      private:
        Next next_;
        Record<T> current_;
        objIndex at_{};  // kept apart, because the loop's body may move the record away
    };

    explicit Walk(Next next) : next_(next) {}
    Iterator begin() const { return Iterator(next_); }
    End end() const { return {}; }

  private:
    Next next_;
};

namespace record_detail {

template <class T>
struct NextInstance {
    Read how;
    Place place;
    Record<T> operator()(objIndex iid) const {
        void* record = nullptr;
        const int code = readNext(how, vcfg::ObjectId<T>::value, iid, &record);
        return Record<T>(code, iid, record, place);
    }
};

template <class T>
struct NextChild {
    objIndex parent;
    Place place;
    Record<T> operator()(objIndex iid) const {
        void* record = nullptr;
        const int code = readNextChild(vcfg::ObjectId<T>::value, parent, iid, &record);
        return Record<T>(code, iid, record, place);
    }
};

// The first record of a walk that matches; without one, an empty Record that holds the code with which the walk ended.
template <class T, class Next, class Matches>
Record<T> findFirst(const Next& next, const Matches& matches) {
    Record<T> record = next(objIndex{});
    while (record && !matches(*record)) {
        record = next(record.iid());
    }
    return record;
}

}  // namespace record_detail

template <class T>
auto instances(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using Next = record_detail::NextInstance<T>;
    return Walk<T, Next>(Next{record_detail::Read::Refreshed, {file, line}});
}
template <class T>
auto storedInstances(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using Next = record_detail::NextInstance<T>;
    return Walk<T, Next>(Next{record_detail::Read::Stored, {file, line}});
}
// The instances of a child table under one parent instance.
template <class T>
auto children(const objIndex& parent, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using Next = record_detail::NextChild<T>;
    return Walk<T, Next>(Next{parent, {file, line}});
}

// The walk as a call, for those who need the code with which it ended.
template <class T, class Visit>
int forEachInstance(const Visit& visit, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    const record_detail::NextInstance<T> next{record_detail::Read::Refreshed, {file, line}};
    Record<T> record = next(objIndex{});
    while (record) {
        visit(record);
        record = next(record.iid());
    }
    return record.code();
}

template <class T, class Matches>
Record<T> findInstance(const Matches& matches, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return record_detail::findFirst<T>(record_detail::NextInstance<T>{record_detail::Read::Refreshed, {file, line}},
                                       matches);
}
template <class T, class Matches>
Record<T> findChild(const objIndex& parent, const Matches& matches, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    return record_detail::findFirst<T>(record_detail::NextChild<T>{parent, {file, line}}, matches);
}
template <class T>
Record<T> firstChild(const objIndex& parent, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return record_detail::NextChild<T>{parent, {file, line}}(objIndex{});
}

// Adds an instance under the parent that `iid` names; on 0 `iid` is the new instance's.
template <class T>
int add(objIndex& iid) {
    return vcfgFeObjStructAdd(vcfg::ObjectId<T>::value, &iid, nullptr);
}
template <class T>
int remove(const objIndex& iid) {
    return vcfgFeObjStructDel(vcfg::ObjectId<T>::value, &iid, nullptr);
}
