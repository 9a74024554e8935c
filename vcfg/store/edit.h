// What one request does to several instances, within Store::change(); and what has become of each in the end, for who
// applies it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "edited.h"
#include "store.h"

namespace vcfg::store {

class Edit {
  public:
    explicit Edit(Store& store) : store_(store) {}

    // As those of Store; of a refusal `why` names the path. An instance number 0 becomes the one that the last instance
    // added to its table has got.
    int set(uint32_t oid, objIndex* iid, std::span<const std::byte> record, std::string* why);
    // The parameters are a JSON object's text.
    int write(uint32_t oid, objIndex* iid, std::string_view parameters, std::string* why);
    int add(uint32_t oid, objIndex* iid, std::string* why);
    int remove(uint32_t oid, objIndex* iid, std::string* why);

    // All that was written, came or went, in the order in which that happened first. What came and went again is not
    // there.
    std::vector<Edited> end();

    // The record as it is now; empty when there is none.
    std::vector<std::byte> stored(const model::Object& object, const objIndex& iid) const;

  private:
    const model::Object* find(uint32_t oid, objIndex* iid, std::string* why) const;
    Edited* entryOf(const model::Object& object, const objIndex& iid);
    void touch(const model::Object& object, const objIndex& iid);
    bool hasCome(const model::Object& object, const objIndex& iid) const;
    void goes(const model::Object& object, const objIndex& iid);
    void goesWithin(const model::Object& object, const objIndex& above);

    Store& store_;
    std::vector<Edited> entries_;
    std::vector<std::pair<uint32_t, uint8_t>> added_;  // the table, and the number
};

}  // namespace vcfg::store
