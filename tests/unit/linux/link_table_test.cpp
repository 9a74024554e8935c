#include "platform/linux/link_table.h"

#include <gtest/gtest.h>

namespace {

using Told = std::vector<std::string>;

class LinkTableTest : public testing::Test {
  protected:
    static Told told(const std::vector<PortChange>& changes) {
        Told texts;
        for (const PortChange& change : changes) {
            texts.push_back(change.name + (change.up ? " up" : " down"));
        }
        return texts;
    }
    Told is(int index, const std::string& name, bool up) { return told(table.take({index, name, up, false}, ports)); }
    Told goes(int index, const std::string& name = "") { return told(table.take({index, name, false, true}, ports)); }
    Told look(const std::vector<link_messages::Link>& links) { return told(table.takeAll(links, ports)); }
    std::vector<std::string> ports{"wan0", "lan.1"};
    LinkTable table;
};

class LinkTableEvents : public LinkTableTest {};
class LinkTableLook : public LinkTableTest {};

TEST_F(LinkTableEvents, FirstWordOfAPortIsNewsAndItsRepetitionIsNot) {
    EXPECT_EQ(is(3, "wan0", false), Told{"wan0 down"});
    EXPECT_EQ(is(3, "wan0", false), Told{});
    EXPECT_EQ(is(3, "wan0", true), Told{"wan0 up"});
    EXPECT_EQ(is(3, "wan0", true), Told{});
}

TEST_F(LinkTableEvents, OtherLinksAreNoNews) {
    EXPECT_EQ(is(9, "veth1", true), Told{});
    EXPECT_EQ(goes(9), Told{});
}

TEST_F(LinkTableEvents, RenamedPortIsDownByItsOldNameAndNewsByItsNew) {
    is(3, "wan0", true);
    EXPECT_EQ(is(3, "lan.1", true), (Told{"wan0 down", "lan.1 up"}));
    EXPECT_EQ(is(3, "elsewhere", true), Told{"lan.1 down"});
    EXPECT_EQ(is(3, "wan0", true), Told{"wan0 up"});
}

TEST_F(LinkTableEvents, NamesThatTwoCardsSwapFollowTheCards) {
    is(3, "wan0", true);
    is(4, "lan.1", false);
    EXPECT_EQ(is(3, "tmp", true), Told{"wan0 down"});
    EXPECT_EQ(is(4, "wan0", false), Told{});
    EXPECT_EQ(is(3, "lan.1", true), Told{"lan.1 up"});
}

TEST_F(LinkTableEvents, RemovedCardIsDownAndUpWithAnotherNumberWhenItComesBack) {
    is(3, "wan0", true);
    EXPECT_EQ(goes(3), Told{"wan0 down"});
    EXPECT_EQ(is(12, "wan0", true), Told{"wan0 up"});
    EXPECT_EQ(goes(3, "wan0"), Told{}) << "the other card of that name is there";
}

TEST_F(LinkTableEvents, MessageWithoutANameIsAboutTheKnownLink) {
    is(3, "wan0", true);
    EXPECT_EQ(is(3, "", false), Told{"wan0 down"});
    EXPECT_EQ(is(77, "", true), Told{});
}

TEST_F(LinkTableEvents, PortThatTheModelGetsLaterIsNewsAtItsNextWord) {
    EXPECT_EQ(is(5, "new0", true), Told{});
    ports.emplace_back("new0");
    EXPECT_EQ(is(5, "new0", true), Told{"new0 up"});
}

TEST_F(LinkTableLook, TellsWhatHasChangedSince) {
    is(3, "wan0", true);
    is(4, "lan.1", true);
    EXPECT_EQ(look({{3, "wan0", false, false}, {4, "lan.1", true, false}}), Told{"wan0 down"});
}

TEST_F(LinkTableLook, LinkThatItDoesNotMeetIsGone) {
    is(3, "wan0", true);
    is(4, "lan.1", true);
    EXPECT_EQ(look({{4, "lan.1", true, false}}), Told{"wan0 down"});
}

TEST_F(LinkTableLook, CardThatCameBackMeanwhileInAnothersPlaceHasNotChanged) {
    is(3, "wan0", true);
    is(4, "lan.1", true);
    EXPECT_EQ(look({{12, "wan0", true, false}, {4, "lan.1", true, false}}), Told{});
}

TEST_F(LinkTableLook, FirstTellsOfEveryPortAlsoOfThoseThatAreNotThere) {
    EXPECT_EQ(look({{4, "lan.1", true, false}}), (Told{"wan0 down", "lan.1 up"}));
    table.forgetTold();
    EXPECT_EQ(look({{4, "lan.1", true, false}}), (Told{"wan0 down", "lan.1 up"}));
}

}  // namespace
