// The whole model as JSON and as a file.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <utility>

#include "refused_calls.h"
#include "store/json_text.h"
#include "store/persist.h"
#include "store_support.h"

namespace {

std::string text(const Store& store) {
    const JsonPtr json = store.toJson();
    return json_object_to_json_string_ext(json.get(), JSON_C_TO_STRING_PLAIN);
}

void fill(Store& store) {
    make(store, "IP.Interface.3");
    make(store, "IP.Interface.3.IPv4Address.1");
    make(store, "PPP.Interface.2");
    EXPECT_EQ(write(store, "IP.Interface.3", R"({"Enable":true,"Status":"Up","Alias":"w\"a\\n/ä\n"})"), "");
    EXPECT_EQ(write(store, "IP.Interface.3.IPv4Address.1", R"({"IPAddress":"192.0.2.1"})"), "");
    EXPECT_EQ(write(store, "PPP.Interface.2.IPCP", R"({"LocalIPAddress":"192.0.2.2"})"), "");
    EXPECT_EQ(write(store, "DNS.Client", R"({"Enable":true})"), "");
}

int save(const std::string& file, const Store& store, std::string* why) {
    return vcfg::store::save(file, store.toText(What::All), nullptr, why);
}

class StoreFile : public testing::Test {
  protected:
    StoreFile() {
        char name[] = "/tmp/store_file_XXXXXX";
        EXPECT_NE(mkdtemp(name), nullptr);
        directory = name;
        file = directory + "/vcfg_config.json";
    }
    ~StoreFile() override {
        unlink(file.c_str());
        unlink((file + ".new").c_str());
        rmdir((file + ".new").c_str());
        rmdir(directory.c_str());
    }
    void put(const std::string& content) const { std::ofstream(file) << content; }
    std::string content() const {
        std::ostringstream all;
        all << std::ifstream(file).rdbuf();
        return all.str();
    }

    std::string directory;
    std::string file;
    std::string why;
};

TEST_F(StoreFile, IsNotReadInPart) {
    std::ofstream(file) << R"({"DNS.Client":{"Enable":true}})";
    Store store;
    if (!whereRefused({SYS_read}, EIO, 1,
                      [&] { EXPECT_EQ(load(file, What::All, &store, nullptr, &why), VCFG_ERR_INVALID); })) {
        GTEST_SKIP() << "this kernel refuses nothing on request";
    }
    EXPECT_NE(why.find(strerror(EIO)), std::string::npos) << why;
}

TEST_F(StoreFile, IsReadWhateverHasFailedBefore) {
    Store store;
    fill(store);
    ASSERT_EQ(save(file, store, &why), VCFG_OK) << why;
    Store again;
    errno = EINTR;
    EXPECT_EQ(load(file, What::All, &again, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(text(again), text(store));
}

TEST(StoreText, IsThatOfTheJsonLibrary) {
    for (const char* const document :
         {R"({"a":[1,[2.5,true],{"b":null}],"c":{"d":"/\u0001\"\\\n\u00e4"}})", "[[7]]", "7", "null"}) {
        const JsonPtr json(json_tokener_parse(document));
        for (const int flags : {JSON_C_TO_STRING_PLAIN, JSON_C_TO_STRING_PRETTY, JSON_C_TO_STRING_NOSLASHESCAPE,
                                JSON_C_TO_STRING_PRETTY | JSON_C_TO_STRING_NOSLASHESCAPE}) {
            EXPECT_EQ(vcfg::store::textOf(json.get(), flags), json_object_to_json_string_ext(json.get(), flags))
                << flags;
        }
    }
}

TEST(StoreText, WhatIsEmptyStaysOnItsLine) {
    const JsonPtr json(json_tokener_parse(R"({"a":{},"b":[]})"));
    EXPECT_EQ(vcfg::store::textOf(json.get(), JSON_C_TO_STRING_PRETTY), "{\n  \"a\":{},\n  \"b\":[]\n}");
    EXPECT_EQ(vcfg::store::textOf(json.get()), R"({"a":{},"b":[]})");
}

}  // namespace

TEST(StoreJson, NamesEveryInstanceAndWhatDiffersFromItsDefaults) {
    Store store;
    make(store, "IP.Interface.1");
    make(store, "IP.Interface.1.IPv4Address.2");
    write(store, "IP.Interface.1", R"({"Enable":true,"LastChange":5})");
    EXPECT_EQ(
        text(store),
        R"({"version":1,"objects":{"IP.Interface.1":{"Enable":true,"LastChange":5},"IP.Interface.1.IPv4Address.2":{}}})");
}

TEST(StoreJson, ComesBackAsItWas) {
    Store original;
    fill(original);
    Store copy;
    std::string why;
    ASSERT_EQ(copy.fromText(text(original), What::All, Unknown::Refuse, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(text(copy), text(original));
    EXPECT_EQ(value(copy, "IP.Interface.3.Alias"), "w\"a\\n/\xc3\xa4\n");
    EXPECT_EQ(value(copy, "IP.Interface.3.IPv4AddressNumberOfEntries"), "1");
    EXPECT_EQ(value(copy, "PPP.Interface.2.IPCP.LocalIPAddress"), "192.0.2.2");
}

TEST(StoreJson, ConfigurationNamesEveryInstanceAndNoState) {
    Store store;
    make(store, "DHCPv4.Client.1");
    write(store, "DHCPv4.Client.1", R"({"DHCPStatus":"Bound","Renew":true})");
    write(store, "DNS.Client", R"({"Status":"Enabled"})");
    write(store, "DeviceInfo", R"({"FirstUseDate":"2026-01-01T00:00:00Z","UpTime":7})");
    const std::string configuration = store.toText(What::Configuration);
    EXPECT_NE(configuration.find("DHCPv4.Client.1"), std::string::npos);
    EXPECT_NE(configuration.find("2026-01-01"), std::string::npos);
    for (const char* state : {"Bound", "Renew", "DNS.Client", "UpTime"}) {
        EXPECT_EQ(configuration.find(state), std::string::npos) << state;
    }
}

TEST(StoreJson, StateThatIsNotWantedIsLookedAtAndLeftOut) {
    const char* const json = R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"a","Status":"Up"}}})";
    const char* const odd = R"({"version":1,"objects":{"IP.Interface.1":{"Alias":"a","Status":"Odd"}}})";
    Store store;
    std::string why;
    ASSERT_EQ(store.fromText(json, What::Configuration, Unknown::Refuse, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "a");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Down");
    EXPECT_EQ(store.fromText(odd, What::Configuration, Unknown::Refuse, nullptr, &why), VCFG_ERR_INVALID);
}

TEST(StoreJson, ConfigurationsRevisionIsThatOfInstancesAndOfWhatOutlivesAPowerCycle) {
    Store store;
    uint32_t before = store.configurationRevision();
    const auto changed = [&] { return std::exchange(before, store.configurationRevision()) != before; };
    make(store, "IP.Interface.1");
    EXPECT_TRUE(changed());
    write(store, "IP.Interface.1", R"({"Status":"Up","LastChange":3,"Reset":true})");
    EXPECT_FALSE(changed());
    write(store, "IP.Interface.1", R"({"Alias":"a"})");
    EXPECT_TRUE(changed());
    write(store, "IP.Interface.1", R"({"Alias":"a"})");
    EXPECT_FALSE(changed());
    drop(store, "IP.Interface.1");
    EXPECT_TRUE(changed());
}

TEST(StoreJson, ReplacesWhatWasThere) {
    Store store;
    fill(store);
    std::string why;
    ASSERT_EQ(
        store.fromText(R"({"version":1,"objects":{"IP.Interface.9":{}}})", What::All, Unknown::Refuse, nullptr, &why),
        VCFG_OK);
    EXPECT_TRUE(has(store, "IP.Interface.9"));
    EXPECT_FALSE(has(store, "IP.Interface.3"));
    EXPECT_EQ(value(store, "DNS.Client.Enable"), "false");
    EXPECT_EQ(value(store, "IP.InterfaceNumberOfEntries"), "1");
}

TEST(StoreJson, ParentsMayStandBehindTheirChildren) {
    Store store;
    std::string why;
    EXPECT_EQ(store.fromText(R"({"version":1,"objects":{"IP.Interface.1.IPv4Address.1":{},"IP.Interface.1":{}}})",
                             What::All, Unknown::Refuse, nullptr, &why),
              VCFG_OK)
        << why;
}

TEST(StoreJson, OneBadEntryRefusesTheWhole) {
    const std::pair<const char*, const char*> cases[] = {
        {R"("IP.Interface.1":{"Status":"Odd"})",
         "IP.Interface.1: Status takes one of Up,Down,Unknown,Dormant,NotPresent,LowerLayerDown,Error, or nothing"},
        {R"("IP.Interface.1":{"Bogus":1})", "IP.Interface.1: no such parameter: Bogus"},
        {R"("Bogus.1":{})", "Bogus.1: the model has no such object"},
        {R"("IP.Interface.0":{})", "IP.Interface.0: the model has no such object"},
        {R"("IP.Interface.1.Status":{})", "IP.Interface.1.Status: the model has no such object"},
        {R"("IP.Interface.1.IPv4Address.1":{})", "IP.Interface.1.IPv4Address.1: no such parent instance"},
        {R"("PPP.Interface.1.IPCP":{})", "PPP.Interface.1.IPCP: no such parent instance"},
        {R"("IP.Interface.1":5)", "IP.Interface.1: takes a JSON object"},
    };
    for (const auto& [entry, reason] : cases) {
        Store store;
        fill(store);
        const std::string before = text(store);
        std::string why;
        EXPECT_EQ(store.fromText(std::string(R"({"version":1,"objects":{"IP.Interface.7":{},)") + entry + "}}",
                                 What::All, Unknown::Refuse, nullptr, &why),
                  VCFG_ERR_INVALID)
            << entry;
        EXPECT_EQ(why, reason);
        EXPECT_EQ(text(store), before);
    }
}

TEST(StoreJson, AnOldFileBootsWithoutWhatIsUnknown) {
    Store store;
    Skipped skipped;
    std::string why;
    ASSERT_EQ(
        store.fromText(
            R"({"version":1,"objects":{"Old.Table.1":{},"IP.Interface.1":{"Gone":1,"Enable":true,"Status":"Odd"}}})",
            What::All, Unknown::Skip, &skipped, &why),
        VCFG_OK);
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Down");
    ASSERT_EQ(skipped.lines.size(), 3u);
    EXPECT_EQ(skipped.lines[0], "Old.Table.1: the model has no such object");
    EXPECT_EQ(skipped.lines[1], "IP.Interface.1: no such parameter: Gone");
}

TEST(StoreJson, LinesAboutWhatIsSkippedAreFewAndShort) {
    std::string json = R"({"version":1,"objects":{")" + std::string(100000, 'x') + "\":{}";
    for (int each = 0; each < 100; ++each) {
        json += ",\"Odd." + std::to_string(each) + "\":{}";
    }
    Store store;
    Skipped skipped;
    std::string why;
    ASSERT_EQ(store.fromText(json + "}}", What::All, Unknown::Skip, &skipped, &why), VCFG_OK) << why;
    ASSERT_EQ(skipped.lines.size(), 20u);
    EXPECT_EQ(skipped.more, 81u);
    EXPECT_EQ(skipped.lines[0], std::string(200, 'x'));
}

TEST(StoreJson, ValuesMayStandInAnyForm) {
    Store store;
    std::string why;
    const char* const json = R"( {"other":[{"a":"}]\""}], "objects" : { "IP.Interface.1" : { "Alias" : "\u00e4\"{" ,
        "Enable":true,"LastChange": 7 ,"MaxMTUSize":"1400"} } , "version" : 1 } )";
    ASSERT_EQ(store.fromText(json, What::All, Unknown::Refuse, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "\xc3\xa4\"{");
    EXPECT_EQ(value(store, "IP.Interface.1.Enable"), "true");
    EXPECT_EQ(value(store, "IP.Interface.1.LastChange"), "7");
    EXPECT_EQ(value(store, "IP.Interface.1.MaxMTUSize"), "1400");
}

TEST(StoreJson, CommentsMayStandWhereBlanksMay) {
    Store store;
    std::string why;
    const char* const json = R"(/* "{ */ {/**/ "version"/* 2 */:1/* one */, /* a */ /* b */ "objects": { /* "}] */
        "IP.Interface.1": {"Alias": "/* kept */" /* { */, "LastChange": 7/**/}} /* / */ } /* the end */)";
    ASSERT_EQ(store.fromText(json, What::All, Unknown::Refuse, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(value(store, "IP.Interface.1.Alias"), "/* kept */");
    EXPECT_EQ(value(store, "IP.Interface.1.LastChange"), "7");
}

TEST(StoreJson, BadValuesOfKnownParametersAreSkippedOneByOne) {
    Store store;
    Skipped skipped;
    std::string why;
    const char* const json = R"({"version":1,"objects":{"IP.Interface.1":{"Alias":{"deep":[[[[[[[[[[[]]]]]]]]]]]},
        "Name":"gr)"
                             "\xfc\xdf"
                             R"(","LastChange":null,"Enable":tru,"Router":[],"Status":"Up"}}})";
    ASSERT_EQ(store.fromText(json, What::All, Unknown::Skip, &skipped, &why), VCFG_OK) << why;
    EXPECT_EQ(skipped.lines.size(), 5u);
    EXPECT_EQ(value(store, "IP.Interface.1.Status"), "Up");
}

TEST(StoreJson, WhatIsNoModelFileIsRefused) {
    for (const char* bad : {"",
                            "{",
                            "null",
                            R"({"version":1,"objects":{}}})",
                            R"({"version":1,"objects":{}} x)",
                            R"({"version":1,"objects":{"IP.Interface.1":{}})",
                            R"({"version":1,"objects":{"a" 1}})",
                            R"({"version":1,"objects":{"a":1,}})",
                            R"({"version":1,"objects":{"a":1 "b":2}})",
                            R"({"version":1,"objects":{"a":}})",
                            R"({"version":1,"objects":{"a)",
                            "{}",
                            R"({"version":2,"objects":{}})",
                            R"({"version":"1","objects":{}})",
                            R"({"version":1})",
                            R"({"version":1,"objects":[]})",
                            R"({"objects":{}})",
                            R"({"version":1,"objects":{}} /)",
                            R"({"version":1/,"objects":{}})",
                            R"({"version":1,"objects":{ /* })"}) {
        Store store;
        fill(store);
        std::string why;
        EXPECT_EQ(store.fromText(bad, What::All, Unknown::Skip, nullptr, &why), VCFG_ERR_INVALID) << bad;
        EXPECT_EQ(why, "takes a model file of version 1");
        EXPECT_TRUE(has(store, "IP.Interface.3"));
    }
}

TEST_F(StoreFile, HoldsTheModel) {
    Store original;
    fill(original);
    ASSERT_EQ(save(file, original, &why), VCFG_OK) << why;
    Store copy;
    ASSERT_EQ(vcfg::store::load(file, What::All, &copy, nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(text(copy), text(original));
}

TEST_F(StoreFile, IsReplaced) {
    Store store;
    fill(store);
    ASSERT_EQ(save(file, store, &why), VCFG_OK);
    const std::string before = content();
    drop(store, "IP.Interface.3");
    ASSERT_EQ(save(file, store, &why), VCFG_OK);
    EXPECT_LT(content().size(), before.size());
    EXPECT_NE(access((file + ".new").c_str(), F_OK), 0);
}

TEST_F(StoreFile, IsLeftAloneWhenItHoldsTheTextAlready) {
    unsigned written = 0;
    const auto ready = [&](const struct stat& fresh) {
        struct stat temporary {};
        EXPECT_EQ(stat((file + ".new").c_str(), &temporary), 0);
        EXPECT_EQ(fresh.st_ino, temporary.st_ino);
        EXPECT_EQ(fresh.st_size, 3);
        ++written;
    };
    ASSERT_EQ(vcfg::store::save(file, "one", ready, &why), VCFG_OK) << why;
    ASSERT_EQ(vcfg::store::save(file, "one", ready, &why), VCFG_OK) << why;
    EXPECT_EQ(written, 1u);
    ASSERT_EQ(vcfg::store::save(file, "two", ready, &why), VCFG_OK) << why;
    EXPECT_EQ(written, 2u);
    EXPECT_EQ(content(), "two");
}

TEST_F(StoreFile, IsReadableByItsOwnerOnly) {
    ASSERT_EQ(save(file, Store(), &why), VCFG_OK);
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(StoreFile, ALeftOverTemporaryFileDoesNoHarm) {
    std::ofstream(file + ".new") << "{\"vers";
    ASSERT_EQ(save(file, Store(), &why), VCFG_OK) << why;
    Store copy;
    EXPECT_EQ(vcfg::store::load(file, What::All, &copy, nullptr, &why), VCFG_OK) << why;
}

TEST_F(StoreFile, ALeftOverOfAnyKindDoesNotStopSaving) {
    const std::string temporary = file + ".new";
    ASSERT_EQ(mkdir(temporary.c_str(), 0700), 0);
    ASSERT_EQ(mkdir((temporary + "/sub").c_str(), 0700), 0);
    EXPECT_EQ(vcfg::store::save(file, "one", nullptr, &why), VCFG_OK) << why;
    ASSERT_EQ(mkfifo(temporary.c_str(), 0600), 0);
    EXPECT_EQ(vcfg::store::save(file, "two", nullptr, &why), VCFG_OK) << why;
    ASSERT_EQ(symlink(temporary.c_str(), temporary.c_str()), 0);
    EXPECT_EQ(vcfg::store::save(file, "three", nullptr, &why), VCFG_OK) << why;
    EXPECT_EQ(content(), "three");
}

TEST_F(StoreFile, AnInterruptedWriteGoesOnWhereItWas) {
    const bool ran = whereRefused({SYS_write}, EINTR, 1, [this] {
        EXPECT_EQ(vcfg::store::save(file, "the whole text", nullptr, &why), VCFG_OK) << why;
    });
    if (!ran) {
        GTEST_SKIP() << "this kernel refuses nothing on request";
    }
    EXPECT_EQ(content(), "the whole text");
}

TEST_F(StoreFile, AFailedWriteLeavesTheOldFile) {
    put("old");
    const Store store;
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{8, before.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const int code = save(file, store, &why);
    setrlimit(RLIMIT_FSIZE, &before);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(code, VCFG_ERR_FAIL);
    EXPECT_EQ(content(), "old");
    EXPECT_EQ(why, file + ".new: File too large");
}

TEST_F(StoreFile, IsNotWrittenThroughALink) {
    const std::string victim = directory + "/victim";
    ASSERT_EQ(symlink(victim.c_str(), (file + ".new").c_str()), 0);
    EXPECT_EQ(save(file, Store(), &why), VCFG_OK) << why;
    EXPECT_NE(access(victim.c_str(), F_OK), 0);
}

TEST_F(StoreFile, IsNotFoundBeforeTheFirstWrite) {
    Store store;
    EXPECT_EQ(vcfg::store::load(file, What::All, &store, nullptr, &why), VCFG_ERR_NOT_FOUND);
}

TEST_F(StoreFile, ADamagedFileLeavesTheStoreAsItWas) {
    for (const char* bad : {"", "{\"version\":1,\"objects\":{", "\xff\xfe", "null"}) {
        put(bad);
        Store store;
        fill(store);
        EXPECT_EQ(vcfg::store::load(file, What::All, &store, nullptr, &why), VCFG_ERR_INVALID) << bad;
        EXPECT_EQ(why.substr(0, file.size()), file);
        EXPECT_TRUE(has(store, "IP.Interface.3"));
    }
}

TEST_F(StoreFile, WhatIsNoReadableFileHoldsNoModel) {
    Store store;
    EXPECT_EQ(vcfg::store::load(directory, What::All, &store, nullptr, &why), VCFG_ERR_INVALID);
    EXPECT_EQ(why, directory + ": Is a directory");
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
    EXPECT_EQ(vcfg::store::load(file, What::All, &store, nullptr, &why), VCFG_ERR_INVALID);
    unlink(file.c_str());
    ASSERT_EQ(symlink(file.c_str(), file.c_str()), 0);
    EXPECT_EQ(vcfg::store::load(file, What::All, &store, nullptr, &why), VCFG_ERR_INVALID);
    unlink(file.c_str());
    put("{}");
    ASSERT_EQ(truncate(file.c_str(), 40 << 20), 0);
    EXPECT_EQ(vcfg::store::load(file, What::All, &store, nullptr, &why), VCFG_ERR_INVALID);
    EXPECT_EQ(why, file + ": File too large");
}

TEST_F(StoreFile, SettingAsideReplacesWhatWasKeptBefore) {
    ASSERT_EQ(mkdir((file + ".bad").c_str(), 0700), 0);
    ASSERT_EQ(mkdir((file + ".bad/sub").c_str(), 0700), 0);
    put("bad");
    EXPECT_TRUE(vcfg::store::setAside(file));
    EXPECT_NE(access(file.c_str(), F_OK), 0);
    EXPECT_EQ(unlink((file + ".bad").c_str()), 0);
    EXPECT_FALSE(vcfg::store::setAside(file));
}
