// Mistakes that failing calls have shown, each in a test of its own.
#include <vcfg/msg_types.h>

#include <new>

#include "core/json.h"
#include "core/log.h"
#include "injector.h"
#include "store/json.h"
#include "store/store.h"
#include "support/kit.h"

namespace {

using faults::Kind;

// Runs `happens` with each of its allocations refused in turn, each time in a fresh gateway; `holds` is asked behind
// it.
template <class Happen, class Hold>
void refuseEachAllocation(const Happen& happens, const Hold& holds) {
    uint32_t calls = 1;
    for (uint32_t number = 0; number <= calls; ++number) {
        Gateway gateway;
        faults::arm(Kind::Memory, number);
        happens(gateway);
        const uint32_t seen = faults::disarm();
        calls = number == 0 ? seen : calls;
        holds(gateway, number);
    }
    EXPECT_GT(calls, 1u);
}

TEST(FaultsFound, LineThatFindsNoMemoryIsLostAndNothingElse) {
    const std::string text(300, 'x');
    refuseEachAllocation(
        [&](Gateway&) {
            const faults::Exposed now;
            EXPECT_NO_THROW(logs::system(LOG_INFO, "%s\n", text.c_str()));
            EXPECT_NO_THROW(logs::print("%s", text.c_str()));
        },
        [&](const Gateway& gateway, uint32_t number) {
            const int written = gateway.logged("syslog", text) + gateway.logged("stdout", text);
            EXPECT_EQ(written, gateway.logged("vlog", VLOG_ERROR, "memory insuffcient") ? 1 : 2) << number;
        });
}

TEST(FaultsFound, ReportThatIsNotReadWritesNothing) {
    refuseEachAllocation(
        [](Gateway& gateway) { gateway.receive(VCFG_MSG_ATM_OAM_F4_COMPLETE, R"({"DiagnosticsState":"Complete"})"); },
        [](const Gateway& gateway, uint32_t number) {
            const std::string state = gateway.get("ATM.Diagnostics.X_VORAN_F4Loopback.DiagnosticsState");
            EXPECT_TRUE(state == "Complete" || gateway.writes().empty()) << number << " " << state;
        });
}

TEST(FaultsFound, MessageOfAPingSeriesThatIsGivenUpCountsWhenItComesAgain) {
    const std::string start =
        R"({"PingsDiagnosticsState":"pings_start","MinimumResponseTime":20,"AverageResponseTime":30,"MaximumResponseTime":40})";
    const std::string faster =
        R"({"PingsDiagnosticsState":"pings_host","MinimumResponseTime":5,"AverageResponseTime":6,"MaximumResponseTime":7,"FastestHost":"b"})";
    const std::string end = R"({"PingsDiagnosticsState":"pings_complete","DiagnosticsState":"Complete"})";
    const auto send = [](Gateway& gateway, const std::string& payload) {
        gateway.receive(VCFG_MSG_PINGSVRS_RST, payload);
    };
    uint32_t number = 0;
    for (bool struck = true; struck;) {
        Gateway gateway;
        send(gateway, start);
        faults::arm(Kind::Memory, ++number);
        send(gateway, faster);
        faults::disarm();
        struck = faults::hasStruck();
        send(gateway, faster);
        send(gateway, end);
        EXPECT_EQ(gateway.get("IP.Diagnostics.ServerSelectionDiagnostics.FastestHost"), "b") << number;
        EXPECT_EQ(gateway.get("IP.Diagnostics.ServerSelectionDiagnostics.MaximumResponseTime"), "7") << number;
    }
    EXPECT_GT(number, 5u);
}

TEST(FaultsFound, PingSeriesDoesNotBeginWithAMessageThatIsGivenUp) {
    const std::string host =
        R"({"PingsDiagnosticsState":"pings_host","MinimumResponseTime":5,"AverageResponseTime":6})";
    uint32_t number = 0;
    for (bool struck = true; struck;) {
        Gateway gateway;
        faults::arm(Kind::Memory, ++number);
        gateway.receive(VCFG_MSG_PINGSVRS_RST, host);
        faults::disarm();
        struck = faults::hasStruck();
        gateway.receive(VCFG_MSG_PINGSVRS_RST, host);
        EXPECT_EQ(gateway.get("IP.Diagnostics.ServerSelectionDiagnostics.DiagnosticsState"), "Error_Internal")
            << number;
    }
}

// Each kind of value, more of them than the printer has room for at first.
Json gathered() {
    Json task = Json::object();
    task.set("Name", std::string(70, 'n') + "\x01\x1f\"/\\\b\n\r\t\f\x7f\xc3\xa4" + std::string("\0z", 2));
    task.set("a \"key\"/", -2147483647);
    task.set("most", 4294967295u);
    task.set("yes", true);
    task.set("no", false);
    const Json more = Json::parse(
        R"({"none":null,"empty":{},"list":[],"deep":[[1,-2.5,1e300],{"x":[null,"y",{}]}],"most":-9223372036854775808})");
    for (const char* const key : {"empty", "list", "deep", "most"}) {
        task.copy(key, more, key);
    }
    task.set("more", more);
    return task;
}

TEST(FaultsFound, TextOfAReportIsWholeOrNotMade) {
    const std::string whole = gathered().toText();
    const Json again = Json::parse(whole.c_str());
    ASSERT_TRUE(again.valid());
    EXPECT_EQ(again.toText(), whole);
    uint32_t number = 0;
    uint32_t refused = 0;
    for (bool struck = true; struck;) {
        const Json report = gathered();
        std::string text = whole;
        faults::arm(Kind::Memory, ++number);
        try {
            const faults::Exposed now;
            text = report.toText();
        } catch (const std::bad_alloc&) {
            ++refused;
        }
        faults::disarm();
        struck = faults::hasStruck();
        EXPECT_EQ(text, whole) << number;
    }
    EXPECT_GT(refused, 3u);
}

TEST(FaultsFound, ModelIsWrittenWholeOrNotAtAll) {
    using namespace vcfg::store;
    Store store;
    for (const char* const text : {"a", "b"}) {
        objIndex iid{};
        ASSERT_EQ(store.add(RDM_OID_PPP_IFACE, &iid, nullptr), VCFG_OK);
        const JsonPtr values = parseObject(std::string(R"({"Alias":")") + text + R"("})", nullptr);
        ASSERT_EQ(store.write(RDM_OID_PPP_IFACE, iid, values.get(), nullptr), VCFG_OK);
    }
    const std::string whole = store.toText(What::All);
    uint32_t number = 0;
    for (bool struck = true; struck;) {
        std::string text = whole;
        faults::arm(Kind::Memory, ++number);
        try {
            const faults::Exposed now;
            text = store.toText(What::All);
        } catch (const std::bad_alloc&) {
        }
        faults::disarm();
        struck = faults::hasStruck();
        EXPECT_EQ(text, whole) << number;
    }
    EXPECT_GT(number, 10u);
}

}  // namespace
