// Every event against its row of docs/costs.md.
#include "unit/costs.h"

#include <fstream>
#include <map>
#include <numeric>
#include <optional>
#include <set>
#include <sstream>

#include "link/wan_link_table.h"

namespace {

// Reads, writes, messages, processes.
using Counts = std::vector<size_t>;

struct Row {
    Counts made;
    Counts demanded;
    std::string whyMore;
};

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(' ');
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::vector<std::string> cellsOf(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream stream(line.substr(1));
    for (std::string cell; std::getline(stream, cell, '|');) {
        cells.push_back(trimmed(cell));
    }
    return cells;
}

// "| event | reads made | demanded | writes made | demanded | messages ... | processes ... | why more |"
const std::map<std::string, Row>& table() {
    static const std::map<std::string, Row> rows = [] {
        std::map<std::string, Row> read;
        std::ifstream file(COSTS);
        for (std::string line; std::getline(file, line);) {
            const auto cells = line.starts_with("| ") ? cellsOf(line) : std::vector<std::string>();
            if (cells.size() != 10 || cells[1].find_first_not_of("0123456789") != std::string::npos) {
                continue;
            }
            Row row{{}, {}, cells[9]};
            for (size_t i = 1; i < 9; i += 2) {
                row.made.push_back(std::stoul(cells[i]));
                row.demanded.push_back(std::stoul(cells[i + 1]));
            }
            EXPECT_TRUE(read.emplace(cells[0], row).second) << cells[0] << " has two rows";
        }
        return read;
    }();
    return rows;
}

CostCases allCases() {
    CostCases all;
    for (const auto& room : {coreCosts, connectionCosts, linkCosts, diagnosticsCosts, managementCosts, wirelessCosts}) {
        const CostCases cases = room();
        all.insert(all.end(), cases.begin(), cases.end());
    }
    return all;
}

Commands behind(const Commands& lines, size_t count) {
    return {lines.begin() + static_cast<std::ptrdiff_t>(count), lines.end()};
}

// What the gateway did, with what was done as text.
struct Cost {
    Counts counts;
    std::string detail;
};

std::string listOf(const char* name, const Commands& lines) {
    return std::accumulate(lines.begin(), lines.end(), std::string(name) + ":\n",
                           [](const std::string& text, const std::string& line) { return text + "  " + line + "\n"; });
}

Cost costOf(const CostCase& each) {
    WanGateway gw;
    each.prepare(gw);
    gw.forget();
    const size_t readsBefore = inproc::reads().size();
    const unsigned callsBefore = inproc::calls();
    each.happens(gw);
    const Commands reads = behind(inproc::reads(), readsBefore);
    EXPECT_EQ(inproc::calls() - callsBefore, reads.size() + gw.writes().size()) << "a write was refused";
    const size_t messages = gw.replies().size() + gw.requests().size() + gw.timerRequests().size() + gw.mails().size();
    return {{reads.size(), gw.writes().size(), messages, gw.commands().size()},
            listOf("reads", reads) + listOf("writes", gw.writes()) + listOf("processes", gw.commands())};
}

class EventCosts : public testing::TestWithParam<CostCase> {};

TEST_P(EventCosts, AreThoseOfTheTable) {
    const Cost cost = costOf(GetParam());
    const auto row = table().find(GetParam().event);
    const Counts expected = row != table().end() ? row->second.made : Counts();
    EXPECT_EQ(cost.counts, expected) << GetParam().event << "\n" << cost.detail;
}

INSTANTIATE_TEST_SUITE_P(OfEach, EventCosts, testing::ValuesIn(allCases()));

TEST(CostTable, HoldsTheEventsThatAreCountedAndNoOther) {
    std::set<std::string> counted;
    for (const CostCase& each : allCases()) {
        EXPECT_TRUE(counted.insert(each.event).second) << each.event << " is counted twice";
    }
    for (const auto& [event, row] : table()) {
        EXPECT_EQ(counted.count(event), 1u) << "nothing counts: " << event;
    }
}

TEST(CostTable, SaysWhyMoreIsMadeThanDemanded) {
    for (const auto& [event, row] : table()) {
        bool more = false;
        for (size_t i = 0; i < row.made.size(); ++i) {
            more = more || row.made[i] > row.demanded[i];
        }
        EXPECT_EQ(more, !row.whyMore.empty()) << event;
    }
}

TEST(CostTable, HoldsEveryMessageThatTheDaemonKnows) {
    std::set<uint32_t> counted;
    for (const CostCase& each : allCases()) {
        counted.insert(each.type);
    }
    constexpr uint32_t kHighest = 0x1100;
    WanGateway gw;
    for (uint32_t number = 1; number < 2 * kHighest; ++number) {
        const uint32_t type = number < kHighest ? number : (number - kHighest) | VCFG_MSG_NO_REPLY;
        gw.forget();
        gw.receiveEmpty(type);
        if (!gw.loggedContaining("unknown msg type")) {
            EXPECT_EQ(counted.count(type), 1u) << "no row for message " << std::hex << type;
        }
    }
}

}  // namespace
