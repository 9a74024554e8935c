// Records over the front-end API, freed as its contract says.
#pragma once

#include <gtest/gtest.h>
#include <vcfg/vcfg.h>

#include <cstdlib>
#include <memory>

#include "fixture.h"

struct FreeRecord {
    void operator()(void* record) const { free(record); }
};
template <class T>
using Owned = std::unique_ptr<T, FreeRecord>;

using ReadFunction = int (*)(uint32_t, objIndex*, void**);

template <class T>
Owned<T> read(objIndex iid, ReadFunction function = vcfgFeObjStructGetWithoutUpdate) {
    void* record = nullptr;
    const int code = function(vcfg::ObjectId<T>::value, &iid, &record);
    return Owned<T>(code == VCFG_OK ? static_cast<T*>(record) : nullptr);
}

// The instance after `iid`, which becomes its id; null at the end.
template <class T>
Owned<T> readNext(objIndex* iid, ReadFunction function = vcfgFeObjStructGetNextWithoutUpdate) {
    void* record = nullptr;
    const int code = function(vcfg::ObjectId<T>::value, iid, &record);
    return Owned<T>(code == VCFG_OK ? static_cast<T*>(record) : nullptr);
}

inline objIndex at() {
    return {};
}
inline objIndex at(uint8_t first) {
    return {1, {first, 0, 0, 0, 0, 0}};
}
inline objIndex at(uint8_t first, uint8_t second) {
    return {2, {first, second, 0, 0, 0, 0}};
}

inline std::string text(const objIndex& iid) {
    std::string result = std::to_string(iid.level) + ":";
    for (int i = 0; i < iid.level && i < 6; ++i) {
        result += (i > 0 ? "." : "") + std::to_string(iid.idx[i]);
    }
    return result;
}

// A new instance under `parent`; its id.
template <class T>
objIndex add(objIndex parent = {}) {
    EXPECT_EQ(vcfgFeObjStructAdd(vcfg::ObjectId<T>::value, &parent, nullptr), 0);
    return parent;
}

template <class T>
int set(const objIndex& iid, const T& record) {
    return vcfgFeObjStructSet(vcfg::ObjectId<T>::value, &iid, &record, nullptr);
}
template <class T>
int publish(const objIndex& iid, const T& record) {
    return vcfgFeObjStructSetWithoutApply(vcfg::ObjectId<T>::value, &iid, &record, nullptr);
}
template <class T>
int setAndWait(const objIndex& iid, const T& record) {
    return vcfgFeObjStructBlockedSet(vcfg::ObjectId<T>::value, &iid, &record, nullptr);
}
template <class T>
int write(const objIndex& iid, const char* json, uint32_t type = VCFG_FE_WRITE_NO_APPLY) {
    return vcfgFeObjWrite(vcfg::ObjectId<T>::value, &iid, json, type, nullptr);
}
template <class T>
int remove(const objIndex& iid) {
    return vcfgFeObjStructDel(vcfg::ObjectId<T>::value, &iid, nullptr);
}

class World : public testing::Test {
  protected:
    void SetUp() override { startWorld(); }
    void TearDown() override { stopWorld(); }
};
