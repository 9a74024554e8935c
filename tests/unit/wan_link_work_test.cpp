// Link events that come while another one is being handled.

#include "link/link_work.h"

#include <stdexcept>

#include "unit/wan_fixture.h"

namespace {

Commands handled;

void note(const char* payload, bool checkVlanHunt) {
    handled.push_back(std::string(payload != nullptr ? payload : "look") + (checkVlanHunt ? "+" : ""));
}

class WanLinkWork : public testing::Test {
  protected:
    WanLinkWork() { handled.clear(); }
    // Handles an event during which `meanwhile` happens.
    static void during(void (*meanwhile)()) {
        body = meanwhile;
        doLinkWork({[](const char*, bool) {
                        body();
                        handled.push_back("done");
                    },
                    std::nullopt});
    }
    static void (*body)();
    WanGateway gw;
};
void (*WanLinkWork::body)() = nullptr;

TEST_F(WanLinkWork, IsDoneAtOnceWhenNobodyIsAtIt) {
    doLinkWork({note, "a"});
    EXPECT_EQ(handled, Commands{"a"});
}

TEST_F(WanLinkWork, WaitsItsTurnInOrder) {
    during([] {
        doLinkWork({note, "a"});
        doLinkWork({note, std::nullopt});
        doLinkWork({note, "b"});
    });
    EXPECT_EQ(handled, (Commands{"done", "a", "look", "b"}));
}

TEST_F(WanLinkWork, WaitingLooksAreOne) {
    during([] {
        doLinkWork({note, std::nullopt});
        doLinkWork({note, std::nullopt});
        doLinkWork({note, std::nullopt, true});
        doLinkWork({note, std::nullopt, true});
    });
    EXPECT_EQ(handled, (Commands{"done", "look", "look+"}));
}

TEST_F(WanLinkWork, RepeatedEventsAreKept) {
    during([] {
        doLinkWork({note, "a"});
        doLinkWork({note, "a"});
    });
    EXPECT_EQ(handled, (Commands{"done", "a", "a"}));
}

TEST_F(WanLinkWork, WaitingEventsAreBoundedAndTheNewestKept) {
    during([] {
        for (int i = 0; i < 300; ++i) {
            doLinkWork({note, std::to_string(i)});
        }
    });
    EXPECT_EQ(handled.size(), 257u);
    EXPECT_EQ(handled.at(1), "44");
    EXPECT_EQ(handled.back(), "299");
    EXPECT_TRUE(gw.logged("vlog", 4, "more than 256 link events wait, the oldest is left out"));
}

TEST_F(WanLinkWork, FailureOfOneEventLeavesTheRestToTheNext) {
    EXPECT_THROW(during([] {
                     doLinkWork({note, "a"});
                     throw std::runtime_error("failed");
                 }),
                 std::runtime_error);
    doLinkWork({note, "b"});
    EXPECT_EQ(handled, (Commands{"a", "b"}));
}

}  // namespace
