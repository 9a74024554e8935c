#include "core/record.h"

#include <vcfg/recorder.h>

#include <cstdlib>

#include "core/log.h"

namespace record_detail {

Handle::Handle(Handle&& other) noexcept {
    *this = std::move(other);
}

Handle& Handle::operator=(Handle&& other) noexcept {
    std::swap(code_, other.code_);
    std::swap(iid_, other.iid_);
    std::swap(record_, other.record_);
    std::swap(place_, other.place_);
    return *this;
}

Handle::~Handle() {
    if (record_ != nullptr) {
        free(record_);
        return;
    }
    if (code_ != VCFG_OK) {
        return;
    }
    const std::string_view source = logs::sourceTag(place_.file);
    if (source == "tarn") {  // the dispatcher's module says it in the framework log, all others on standard output
        VLOG(VLOG_DEBUG, "Free NULL pointer");
    } else {
        logs::print("Free NULL pointer. %s %d\n", source.data(), place_.line);
    }
}

int Handle::write(Operation operation, uint32_t oid) const {
    vcfgEventPlace(place_.file, place_.line);
    return operation(oid, &iid_, record_, nullptr);
}

Handle read(Read how, uint32_t oid, objIndex iid, Place place) {
    void* record = nullptr;
    const int code = how == Read::Refreshed ? vcfgFeObjStructGet(oid, &iid, &record)
                                            : vcfgFeObjStructGetWithoutUpdate(oid, &iid, &record);
    return {code, iid, record, place};
}

Handle Table::next(objIndex iid) const {
    void* record = nullptr;
    int code = VCFG_OK;
    if (parent) {
        code = vcfgFeSubInStructGetNext(oid, &*parent, &iid, &record);
    } else {
        code = how == Read::Refreshed ? vcfgFeObjStructGetNext(oid, &iid, &record)
                                      : vcfgFeObjStructGetNextWithoutUpdate(oid, &iid, &record);
    }
    return {code, iid, record, place};
}

Handle Table::find(bool (*matches)(const void* record, const void* context), const void* context) const {
    Handle found = next({});
    while (found && !matches(found.get(), context)) {
        found = next(found.iid());
    }
    return found;
}

}  // namespace record_detail
