// Records of the data model as they are stored: reading one asks nobody else.
#pragma once

#include <vcfg/vcfg.h>

#include <cstdlib>
#include <memory>
#include <string>

struct Free {
    void operator()(void* memory) const { free(memory); }
};
template <class Object>
using Stored = std::unique_ptr<Object, Free>;

// The instance after `iid`; null at the end.
template <class Object>
Stored<Object> next(objIndex& iid) {
    void* record = nullptr;
    const int result = vcfgFeObjStructGetNextWithoutUpdate(vcfg::ObjectId<Object>::value, &iid, &record);
    return Stored<Object>(result == VCFG_OK ? static_cast<Object*>(record) : nullptr);
}

template <class Object>
Stored<Object> stored(objIndex iid) {
    void* record = nullptr;
    const int result = vcfgFeObjStructGetWithoutUpdate(vcfg::ObjectId<Object>::value, &iid, &record);
    return Stored<Object>(result == VCFG_OK ? static_cast<Object*>(record) : nullptr);
}

// The number after the table's name in a path, whatever follows it; 0 when the path is another.
int numberIn(const std::string& path, const std::string& table);
// The instance of a table that has one level.
objIndex instance(int number);
// The instance that the numbers of a path name.
objIndex instanceAt(const std::string& path);

// What the data model says of it now; a hook's record is of when it was written. Empty for one that is gone.
template <class Object>
std::string statusOf(const std::string& path) {
    const auto record = stored<Object>(instanceAt(path));
    return record ? record->Status.c_str() : "";
}
