// Short words for the store's tests: instances and values by path.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "store/store.h"

using vcfg::store::Change;
using vcfg::store::JsonPtr;
using vcfg::store::Skipped;
using vcfg::store::Store;
using vcfg::store::Unknown;
using vcfg::store::What;

inline bool has(const Store& store, const std::string& path) {
    const auto where = vcfg::model::resolve(path);
    const void* record = nullptr;
    return where && where->rest.empty() && store.get(where->object->oid, where->iid, &record) == VCFG_OK;
}

inline std::string value(const Store& store, const std::string& path) {
    const auto where = vcfg::model::resolve(path);
    const void* record = nullptr;
    const bool there =
        where && where->parameter != nullptr && store.get(where->object->oid, where->iid, &record) == VCFG_OK;
    return there ? valueText(*where->parameter, record) : "(" + path + " is missing)";
}

inline void make(Store& store, const std::string& path) {
    const auto where = vcfg::model::resolve(path);
    ASSERT_TRUE(where) << path;
    std::string why;
    ASSERT_EQ(store.create(where->object->oid, where->iid, &why), VCFG_OK) << path << ": " << why;
}

inline void drop(Store& store, const std::string& path) {
    const auto where = vcfg::model::resolve(path);
    ASSERT_TRUE(where) << path;
    ASSERT_EQ(store.remove(where->object->oid, where->iid, nullptr), VCFG_OK) << path;
}

// The new instance's path.
inline std::string add(Store& store, const std::string& table) {
    const auto where = vcfg::model::resolveTable(table);
    if (!where) {
        return "";
    }
    objIndex iid = where->parent;
    return store.add(where->object->oid, &iid, nullptr) == VCFG_OK ? path(*where->object, iid) : "";
}

// Writes JSON parameters to one instance; the reason when they are refused.
inline std::string write(Store& store, const std::string& path, const std::string& json) {
    const auto where = vcfg::model::resolve(path);
    std::string why;
    const JsonPtr parameters = vcfg::store::parseObject(json, &why);
    if (!where || !parameters) {
        return where ? why : "(" + path + " is no path)";
    }
    const int code = store.write(where->object->oid, where->iid, parameters.get(), &why);
    EXPECT_EQ(code == VCFG_OK, why.empty());
    return why;
}
