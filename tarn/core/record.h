// Records of the data model: reading, walking, writing. A Record owns what the front end handed out and frees it once.
//
//   if (auto interface = get<IpInterface>(iid)) { interface->Status = "Up"; interface.publish(); }
//   for (auto& client : instances<Dhcpv4Client>()) { ... }
//   auto address = firstChild<IpInterfaceIpv4Address>(interface.iid());
#pragma once

#include <vcfg/fe.h>

#include <optional>
#include <utility>

#include "core/path.h"

namespace record_detail {

enum class Read { Refreshed, Stored };

struct Place {  // where in the source a record was asked for
    const char* file;
    int line;
};

// What is alike for records of all types. It is compiled once, because flash is small.
class Handle {
  public:
    Handle() = default;
    Handle(int code, const objIndex& iid, void* record, Place place)
        : code_(code), iid_(iid), record_(record), place_(place) {}
    Handle(Handle&& other) noexcept;
    Handle& operator=(Handle&& other) noexcept;
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    // Frees the record; one that a successful read left null prints "Free NULL pointer. %s %d".
    ~Handle();

    explicit operator bool() const { return code_ == VCFG_OK && record_ != nullptr; }
    // Why there is no record: the front end's code, never 0 then.
    int code() const { return code_ == VCFG_OK && record_ == nullptr ? VCFG_ERR_FAIL : code_; }

    const objIndex& iid() const { return iid_; }
    const void* get() const { return record_; }
    // The innermost instance number.
    uint8_t instance() const { return iid_.level > 0 ? iid_.idx[iid_.level - 1] : uint8_t{0}; }

  protected:
    using Operation = int (*)(uint32_t oid, const objIndex* iid, const void* record, void* feedback);
    int write(Operation operation, uint32_t oid) const;

    int code_ = VCFG_ERR_NOT_FOUND;
    objIndex iid_{};
    void* record_ = nullptr;
    Place place_{};
};

Handle read(Read how, uint32_t oid, objIndex iid, Place place);

// What a walk goes over: all instances of a type, or those of a child table under one parent.
struct Table {
    uint32_t oid;
    Place place;
    Read how = Read::Refreshed;
    std::optional<objIndex> parent = {};

    Handle next(objIndex iid) const;
    // The first record that matches; without one, an empty Handle that holds the code with which the walk ended.
    Handle find(bool (*matches)(const void* record, const void* context), const void* context) const;
};

}  // namespace record_detail

template <class T>
class Record : public record_detail::Handle {
  public:
    using Handle::Handle;
    Record() = default;
    explicit Record(Handle&& found) : Handle(std::move(found)) {}

    T* operator->() { return static_cast<T*>(record_); }
    const T* operator->() const { return static_cast<const T*>(record_); }
    T& operator*() { return *static_cast<T*>(record_); }
    const T& operator*() const { return *static_cast<const T*>(record_); }

    // Into the data model only; let the owner apply it too; return when it is applied. 0 or the front end's code.
    int publish() const { return write(vcfgFeObjStructSetWithoutApply, oid()); }
    int apply() const { return write(vcfgFeObjStructSet, oid()); }
    int applyAndWait() const { return write(vcfgFeObjStructBlockedSet, oid()); }
    int remove() const { return vcfgFeObjStructDel(oid(), &iid_, nullptr); }

  private:
    static constexpr uint32_t oid() { return vcfg::ObjectId<T>::value; }
};

// One instance: refreshed by its owner first, or the stored values as they are.
template <class T>
Record<T> get(const objIndex& iid = {}, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using namespace record_detail;
    return Record<T>(read(Read::Refreshed, vcfg::ObjectId<T>::value, iid, {file, line}));
}
template <class T>
Record<T> getStored(const objIndex& iid = {}, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using namespace record_detail;
    return Record<T>(read(Read::Stored, vcfg::ObjectId<T>::value, iid, {file, line}));
}

// A walk to loop over; an empty Record ends it.
template <class T>
class Walk {
  public:
    struct End {};
    class Iterator {
      public:
        explicit Iterator(const record_detail::Table& table) : table_(table), current_(table_.next({})) {}
        Record<T>& operator*() { return current_; }
        Iterator& operator++() {
            current_ = Record<T>(table_.next(at_));
            return *this;
        }
        bool operator!=(End) {
            at_ = current_.iid();
            return static_cast<bool>(current_);
        }

      private:
        const record_detail::Table& table_;
        Record<T> current_;
        objIndex at_{};  // kept apart, because the loop's body may move the record away
    };

    explicit Walk(const record_detail::Table& table) : table_(table) {}
    Iterator begin() const { return Iterator(table_); }
    End end() const { return {}; }

  private:
    record_detail::Table table_;
};

namespace record_detail {

template <class T, class Matches>
Record<T> findFirst(const Table& table, const Matches& matches) {
    const auto asked = [](const void* record, const void* context) {
        return static_cast<bool>((*static_cast<const Matches*>(context))(*static_cast<const T*>(record)));
    };
    return Record<T>(table.find(asked, &matches));
}

}  // namespace record_detail

template <class T>
auto instances(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return Walk<T>({vcfg::ObjectId<T>::value, {file, line}});
}
template <class T>
auto storedInstances(const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return Walk<T>({vcfg::ObjectId<T>::value, {file, line}, record_detail::Read::Stored});
}
// The instances of a child table under one parent instance.
template <class T>
auto children(const objIndex& parent, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return Walk<T>({vcfg::ObjectId<T>::value, {file, line}, record_detail::Read::Refreshed, parent});
}

// The walk as a call, for those who need the code with which it ended.
template <class T, class Visit>
int forEachInstance(const Visit& visit, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    const record_detail::Table table{vcfg::ObjectId<T>::value, {file, line}};
    Record<T> record(table.next({}));
    while (record) {
        visit(record);
        record = Record<T>(table.next(record.iid()));
    }
    return record.code();
}

template <class T, class Matches>
Record<T> findInstance(const Matches& matches, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    return record_detail::findFirst<T>({vcfg::ObjectId<T>::value, {file, line}}, matches);
}
template <class T, class Matches>
Record<T> findChild(const objIndex& parent, const Matches& matches, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
    using namespace record_detail;
    return findFirst<T>({vcfg::ObjectId<T>::value, {file, line}, Read::Refreshed, parent}, matches);
}
template <class T>
Record<T> firstChild(const objIndex& parent, const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
    using namespace record_detail;
    return Record<T>(Table{vcfg::ObjectId<T>::value, {file, line}, Read::Refreshed, parent}.next({}));
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
