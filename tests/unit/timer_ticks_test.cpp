// When a timer ticks: its intervals, and clocks that jump.
#include "unit/timer_fixture.h"

namespace {

class TimerTicks : public TimerTest {};

TEST_F(TimerTicks, AddingDoesNotPutATickOff) {
    add("a", "1");
    pass(900);
    add("b", "1");
    EXPECT_EQ(pass(100), (Names{"a@1000", "b@1000"}));
}

TEST_F(TimerTicks, AddingToATimerThatStandsBeginsAWholeInterval) {
    add("a", "1");
    pass(1600);
    add("b", "1");
    EXPECT_EQ(pass(999), Names{});
    EXPECT_EQ(pass(1), Names{"b@2600"});
}

TEST_F(TimerTicks, EveryRequestDisarmsATimerThatIsNotEnabled) {
    add("a", "1");
    pass(500);
    remove("nobody");
    EXPECT_EQ(left(), std::nullopt);
    EXPECT_EQ(pass(60'000), Names{});
    add("b", "2");
    EXPECT_EQ(pass(1000), Names{"a@61500"});
}

TEST_F(TimerTicks, DisableDisarmsUntilTheNextTaskIsAdded) {
    request(R"({"tmenable":"enable"})");
    add("a", "2");
    request(R"({"tmenable":"disable"})");
    EXPECT_EQ(pass(10'000), Names{});
    add("b", "1");
    EXPECT_EQ(pass(2000), (Names{"b@11000", "a@12000"}));
}

TEST_F(TimerTicks, RemovingItsLastTaskDisarmsAnEnabledTimer) {
    request(R"({"tmenable":"enable"})");
    add("a", "2");
    add("b", "2");
    remove("a");
    EXPECT_NE(left(), std::nullopt);
    remove("b");
    EXPECT_EQ(left(), std::nullopt);
}

TEST_F(TimerTicks, IntervalOfZeroLeavesTheTimeToTheNextTickAsItIs) {
    request(R"({"tmenable":"enable","tminterval":10})");
    add("a", "30");
    pass(4000);
    request(R"({"tminterval":0})");
    EXPECT_EQ(left(), 6000u);
}

TEST_F(TimerTicks, EveryRequestBeginsAWholeIntervalOfAnEnabledTimer) {
    request(R"({"tmenable":"enable"})");
    add("a", "1");
    pass(900);
    remove("nobody");
    EXPECT_EQ(pass(999), Names{});
    EXPECT_EQ(pass(1), Names{"a@1900"});
}

TEST_F(TimerTicks, EnabledTimerWithoutTasksStands) {
    request(R"({"tmenable":"enable"})");
    EXPECT_EQ(left(), std::nullopt);
}

TEST_F(TimerTicks, OtherWordsNeitherEnableNorDisable) {
    request(R"({"tmenable":"enable"})");
    for (const char* word : {"\"Enable\"", "\"\"", "1", "true", "null", "[]", "\"disabled\""}) {
        request(std::string(R"({"tmenable":)") + word + "}");
        EXPECT_TRUE(timer.enabled) << word;
    }
}

TEST_F(TimerTicks, IntervalStaysWhenItIsNotGiven) {
    request(R"({"tminterval":3})");
    request(R"({"tminterval":null})");
    request("{}");
    EXPECT_EQ(timer.interval, 3);
}

TEST_F(TimerTicks, NegativeIntervalCountsAsZero) {
    for (const char* interval : {"-1", "-99999999999", "0"}) {
        request(std::string(R"({"tminterval":)") + interval + "}");
        EXPECT_EQ(timer.interval, 0) << interval;
    }
}

TEST_F(TimerTicks, WithIntervalZeroNoTimePassesAndNothingSpins) {
    request(R"({"tmenable":"enable","tminterval":0})");
    add("a", "1");
    EXPECT_EQ(pass(0), Names{});
    EXPECT_EQ(left(), std::nullopt);
    EXPECT_EQ(timer.tasks.at(0).exprTime, 1);
}

TEST_F(TimerTicks, TaskKeptOverIntervalZeroGoesOnWithTheNext) {
    request(R"({"tminterval":0})");
    add("a", "2");
    pass(60'000);
    request(R"({"tminterval":1})");
    add("b", "2");
    EXPECT_EQ(pass(2000), (Names{"a@62000", "b@62000"}));
}

TEST_F(TimerTicks, HugeIntervalIsWaitedFor) {
    request(R"({"tminterval":99999999999})");
    add("a", "1");
    EXPECT_EQ(left(), uint64_t{INT32_MAX} * 1000);
    EXPECT_EQ(pass(86'400'000), Names{});
}

TEST_F(TimerTicks, LostTicksAreNotMadeUp) {
    add("a", "2");
    now += 10'000;  // nobody looked for ten seconds
    EXPECT_EQ(left(), 0u);
    EXPECT_TRUE(tick(timer, now).empty());
    EXPECT_EQ(left(), 1000u);
    EXPECT_EQ(timer.tasks.at(0).exprTime, 1);
}

TEST_F(TimerTicks, ClockThatJumpsForwardMakesOneTick) {
    add("a", "3");
    now += 1'000'000'000;
    EXPECT_EQ(left(), 0u);
    tick(timer, now);
    EXPECT_EQ(timer.tasks.at(0).exprTime, 2);
    EXPECT_EQ(left(), 1000u);
}

TEST_F(TimerTicks, ClockThatGoesBackHasNotMoved) {
    add("a", "1");
    now += 400;
    EXPECT_EQ(left(), 600u);
    now -= 300;
    EXPECT_EQ(left(), 600u);
    now += 600;
    EXPECT_EQ(left(), 0u);
}

TEST_F(TimerTicks, ClockMayWrap) {
    now = UINT32_MAX - 300;
    add("a", "1");
    now += 600;
    EXPECT_EQ(left(), 400u);
}

}  // namespace
