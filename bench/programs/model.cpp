// The data model, through the front end and a vcmd that runs already. Tables are filled to the size that a measure
// names, with records of about 1 KiB.
#include <vcfg/vcfg.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "measure.h"

namespace {

using namespace bench;

constexpr uint32_t kTable = RDM_OID_MAIL_ACCOUNT;
constexpr int kSizes[] = {1, 16, 64, 200, 255};
constexpr int kFull = 255;

void must(int code, const char* what) {
    if (code != VCFG_OK) {
        fail(std::string(what) + ": " + std::to_string(code));
    }
}

objIndex instance(int number) {
    return {1, {static_cast<uint8_t>(number)}};
}

objIndex add() {
    objIndex iid{};
    must(vcfgFeObjStructAdd(kTable, &iid, nullptr), "add");
    return iid;
}

void remove(const objIndex& iid) {
    must(vcfgFeObjStructDel(kTable, &iid, nullptr), "delete");
}

// Instances are numbered from 1 without a gap: each new one takes the next number, and the last one goes first.
void fill(int size) {
    static int instances = 0;
    for (; instances < size; ++instances) {
        add();
    }
    for (; instances > size; --instances) {
        remove(instance(instances));
    }
}

MailAccount* get(int number) {
    objIndex iid = instance(number);
    void* record = nullptr;
    must(vcfgFeObjStructGetWithoutUpdate(kTable, &iid, &record), "get");
    return static_cast<MailAccount*>(record);
}

void walk() {
    objIndex iid{};
    void* record = nullptr;
    while (vcfgFeObjStructGetNextWithoutUpdate(kTable, &iid, &record) == VCFG_OK) {
        free(record);
    }
}

using Set = int(uint32_t, const objIndex*, const void*, void*);

// Each write has something new in it.
std::vector<double> writes(Set* set, int number, int count) {
    MailAccount* const record = get(number);
    const objIndex iid = instance(number);
    std::vector<double> figures = microsecondsOfEach(count, [&] {
        record->Port = record->Port % 60000 + 1;
        must(set(kTable, &iid, record, nullptr), "set");
    });
    free(record);
    return figures;
}

std::vector<double> jsonWrites(int number, int count) {
    const objIndex iid = instance(number);
    int port = 0;
    return microsecondsOfEach(count, [&] {
        char json[32];
        snprintf(json, sizeof json, R"({"Port":%d})", port++ % 60000 + 1);
        must(vcfgFeObjWrite(kTable, &iid, json, VCFG_FE_WRITE_NO_APPLY, nullptr), "write");
    });
}

// Adds and deletes one instance behind the others, and times one of the two. A full table has no place for it.
std::vector<double> comings(int size, int count, bool timesAdding) {
    fill(std::min(size, kFull - 1));
    std::vector<double> figures;
    for (int each = 0; each < count; ++each) {
        objIndex iid{};
        const double adding = microseconds([&] { iid = add(); });
        const double deleting = microseconds([&] { remove(iid); });
        figures.push_back(timesAdding ? adding : deleting);
    }
    return figures;
}

Measure withTable(const char* name, int size, const std::function<std::vector<double>(int count)>& run) {
    return {name + (" " + std::to_string(size)), [=](int count) {
                fill(size);
                return run(count);
            }};
}

std::vector<Measure> measures() {
    std::vector<Measure> all;
    for (const int size : kSizes) {
        all.push_back(
            withTable("get", size, [=](int count) { return microsecondsOfEach(count, [=] { free(get(size)); }); }));
        all.push_back(withTable("walk", size, [](int count) { return microsecondsOfEach(count, walk); }));
        all.push_back(
            withTable("set", size, [=](int count) { return writes(vcfgFeObjStructSetWithoutApply, size, count); }));
        all.push_back(
            withTable("set with apply", size, [=](int count) { return writes(vcfgFeObjStructSet, size, count); }));
        all.push_back(withTable("write JSON", size, [=](int count) { return jsonWrites(size, count); }));
        all.push_back(withTable("add", size, [=](int count) { return comings(size, count, true); }));
        all.push_back(withTable("delete", size, [=](int count) { return comings(size, count, false); }));
    }
    return all;
}

}  // namespace

int main() {
    must(vcfg_msg_eidInit(200, "bench"), "the bus");
    return serve(measures());
}
