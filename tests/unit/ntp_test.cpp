#include "mgmt/ntp.h"

#include <algorithm>
#include <string>

#include "support/kit.h"
#include "support/short_memory.h"

namespace {

using inproc::Operation;
using Writes = std::vector<std::string>;

constexpr const char* kToday = "2026-11-21T10:20:30Z";
constexpr const char* kTomorrow = "2026-11-22T10:20:30Z";
constexpr const char* kUnknown = "0001-01-01T00:00:00Z";

class Ntp : public testing::Test {
  protected:
    void synchronised(const std::string& time = kToday) { gw.receive(VCFG_MSG_NTP_SYNC_SUCCESS, time); }
    std::string firstUse() { return gw.get("DeviceInfo.FirstUseDate"); }
    void setFirstUse(const std::string& date) {
        gw.set("DeviceInfo.FirstUseDate", date);
        gw.forget();
    }

    Gateway gw;
};

class NtpFirstUse : public Ntp {};
class NtpNotice : public Ntp {};
class NtpBadInput : public Ntp {};

TEST_F(NtpFirstUse, IsTheFirstSynchronisation) {
    for (const char* unknown : {kUnknown, ""}) {
        firstUseDateDone = false;
        setFirstUse(unknown);
        synchronised();
        EXPECT_EQ(firstUse(), kToday) << unknown;
    }
}

TEST_F(NtpFirstUse, IsNotMovedByLaterSynchronisations) {
    synchronised();
    synchronised(kTomorrow);
    EXPECT_EQ(firstUse(), kToday);
}

TEST_F(NtpFirstUse, StoredDateIsNeverOverwritten) {
    setFirstUse(kToday);
    synchronised(kTomorrow);
    EXPECT_EQ(firstUse(), kToday);
    EXPECT_EQ(gw.writes(), Writes{"set Time"});
}

TEST_F(NtpFirstUse, IsLookedAtOnceInTheDaemonsLife) {
    setFirstUse(kToday);
    synchronised(kTomorrow);
    setFirstUse(kUnknown);
    synchronised(kTomorrow);
    EXPECT_EQ(firstUse(), kUnknown);
}

TEST_F(NtpFirstUse, IsPublishedBeforeTheTimeConfigurationIsApplied) {
    inproc::ownerApplies("DeviceInfo");
    synchronised();
    EXPECT_EQ(gw.writes(), (Writes{"publish DeviceInfo", "set Time"}));
    EXPECT_EQ(inproc::applied(), Writes{});
}

TEST_F(NtpFirstUse, IsReadWithoutARefresh) {
    inproc::ownerReports("DeviceInfo", R"({"FirstUseDate":"2020-01-01T00:00:00Z"})");
    synchronised();
    EXPECT_EQ(firstUse(), kToday);
}

TEST_F(NtpFirstUse, IsTriedAgainAfterAFailedWrite) {
    gw.refuseWrite(Operation::SetNoApply, "DeviceInfo");
    synchronised();
    EXPECT_EQ(firstUse(), kUnknown);
    synchronised(kTomorrow);
    EXPECT_EQ(firstUse(), kTomorrow);
}

TEST_F(NtpFirstUse, IsTriedAgainAfterAFailedRead) {
    gw.refuseWrite(Operation::Get, "DeviceInfo");
    synchronised();
    EXPECT_EQ(firstUse(), kUnknown);
    EXPECT_EQ(gw.requests().size(), 1u);
    synchronised(kTomorrow);
    EXPECT_EQ(firstUse(), kTomorrow);
}

TEST_F(NtpNotice, GoesToTheManagementAgentWithoutData) {
    synchronised();
    ASSERT_EQ(gw.requests().size(), 1u);
    const SentMessage notice = gw.requests()[0];
    EXPECT_EQ(notice.type, VCFG_MSG_NTP_SYNC_SUCCESS);
    EXPECT_EQ(notice.dstEid, 9);
    EXPECT_EQ(notice.length, 0);
    EXPECT_EQ(notice.payload, "");
    EXPECT_NO_REPLY(gw);
}

TEST_F(NtpNotice, IsSentByEverySynchronisation) {
    setFirstUse(kToday);
    synchronised();
    synchronised();
    gw.receiveEmpty(VCFG_MSG_NTP_SYNC_SUCCESS);
    EXPECT_EQ(gw.requests().size(), 3u);
}

TEST_F(NtpNotice, ResultIsTheHandlers) {
    EXPECT_EQ(tarnNtpUpdate(kToday), VCFG_DELIVERED);
    gw.endpointAnswers(VCFG_EID_TR069, VCFG_ERR_NO_PEER);
    EXPECT_EQ(tarnNtpUpdate(kToday), VCFG_ERR_NO_PEER);
}

TEST_F(NtpNotice, CarriesTheDataThatItIsGiven) {
    EXPECT_EQ(tarn_send_ntp_sync_tr69(0x80001234, 3, "abcdef"), VCFG_DELIVERED);
    ASSERT_EQ(gw.requests().size(), 1u);
    EXPECT_EQ(gw.requests()[0].type, 0x80001234);
    EXPECT_EQ(gw.requests()[0].payload, "abc");
}

TEST_F(NtpNotice, ShortMemoryIsLoggedAndReturned) {
    short_memory::leaveCallocs(0);
    const int code = tarn_send_ntp_sync_tr69(VCFG_MSG_NTP_SYNC_SUCCESS, 4, "abcd");
    short_memory::leaveCallocs(-1);
    EXPECT_EQ(code, -5);
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "fail to calloc memory, size = 60"));
    EXPECT_TRUE(gw.logged("vlog", VLOG_ERROR, "memory insuffcient"));
    EXPECT_TRUE(gw.requests().empty());
}

TEST_F(NtpBadInput, MissingTimeStoresNothingAndTheNextIsTaken) {
    gw.receiveEmpty(VCFG_MSG_NTP_SYNC_SUCCESS);
    synchronised("");
    EXPECT_EQ(firstUse(), kUnknown);
    EXPECT_EQ(gw.writes(), Writes{"set Time"});
    synchronised();
    EXPECT_EQ(firstUse(), kToday);
}

TEST_F(NtpBadInput, TextThatIsNoDateIsOneLineAndTheNextIsTaken) {
    const std::string long_date = std::string("2026-11-21T10:20:30.00000000000") + "Z";  // the model's 31, and a Z
    for (const std::string& text :
         {std::string("pool"), std::string("2026-13-01T00:00:00Z"), std::string("$(reboot)"), long_date,
          std::string("2026-11-21T10:20:30.0000000000Zjunk"), std::string(60000, '2')}) {
        gw.forget();
        synchronised(text);
        EXPECT_EQ(firstUse(), kUnknown) << text;
        EXPECT_TRUE(gw.loggedContaining("the first-use date is not stored")) << text;
        EXPECT_EQ(gw.requests().size(), 1u);
    }
    synchronised();
    EXPECT_EQ(firstUse(), kToday);
}

TEST_F(NtpBadInput, LineNamesTheModule) {
    synchronised("pool");
    const auto log = gw.log();
    EXPECT_TRUE(std::any_of(log.begin(), log.end(), [](const LogLine& line) { return line.source == "tarn_ntp"; }));
}

}  // namespace
