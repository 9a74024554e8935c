// The tasks of a timer: added, replaced, deleted, due.
#include "unit/timer_fixture.h"

namespace {

class TimerTasks : public TimerTest {};

TEST_F(TimerTasks, NothingIsWaitedForWithoutTasks) {
    EXPECT_EQ(left(), std::nullopt);
    request("{}");
    EXPECT_EQ(left(), std::nullopt);
}

TEST_F(TimerTasks, FiveSecondsFireOnTheFifthTick) {
    add("a", "5");
    EXPECT_EQ(pass(4999), Names{});
    EXPECT_EQ(pass(1), Names{"a@5000"});
    EXPECT_EQ(left(), std::nullopt);
}

TEST_F(TimerTasks, FiveSecondsAtIntervalTwoFireOnTheThirdTick) {
    request(R"({"tminterval":2,"tmApplyObj":{"Name":"a","exprTime":5,"msg_type":1}})");
    EXPECT_EQ(pass(2000), Names{});
    EXPECT_EQ(timer.tasks.at(0).exprTime, 3);
    EXPECT_EQ(pass(2000), Names{});
    EXPECT_EQ(timer.tasks.at(0).exprTime, 1);
    EXPECT_EQ(pass(2000), Names{"a@6000"});
}

TEST_F(TimerTasks, ZeroAndLessFireAtTheNextTick) {
    add("zero", "0");
    add("less", "-5");
    add("least", "-99999999999");
    EXPECT_EQ(pass(999), Names{});
    EXPECT_EQ(pass(1), (Names{"zero@1000", "less@1000", "least@1000"}));
}

TEST_F(TimerTasks, TaskKeepsItsTypeAndText) {
    add("a", "1", R"("msg_type":4027,"msgParmData":"text")");
    now += 1000;
    const auto due = tick(timer, now);
    ASSERT_EQ(due.size(), 1u);
    EXPECT_EQ(due[0].msgType, 4027u);
    EXPECT_EQ(due[0].msgParmData, "text");
}

TEST_F(TimerTasks, TextIsOptional) {
    add("a", "1");
    EXPECT_EQ(timer.tasks.at(0).msgParmData, std::nullopt);
}

TEST_F(TimerTasks, TypeWithItsHighestBitComesAsEitherNumber) {
    add("a", "1", R"("msg_type":-2147479621)");
    add("b", "1", R"("msg_type":2147487675)");
    EXPECT_EQ(timer.tasks.at(0).msgType, 0x80000FBBu);
    EXPECT_EQ(timer.tasks.at(1).msgType, 0x80000FBBu);
}

TEST_F(TimerTasks, TaskWithoutTypeIsKeptUntilItFires) {
    add("a", "1", R"("msgParmData":"x")");
    EXPECT_EQ(timer.tasks.at(0).msgType, 0u);
    EXPECT_EQ(pass(1000), Names{"a@1000"});
}

TEST_F(TimerTasks, SameNameReplaces) {
    add("a", "1");
    add("a", "3", R"("msg_type":7)");
    EXPECT_EQ(timer.tasks.size(), 1u);
    EXPECT_EQ(pass(2999), Names{});
    EXPECT_EQ(pass(1), Names{"a@3000"});
}

TEST_F(TimerTasks, ReplacementCountsAgainUntilTheNextTick) {
    add("a", "3");
    add("a", "3");
    EXPECT_EQ(timer.pending, 2u);
    pass(1000);
    EXPECT_EQ(timer.pending, 1u);
}

TEST_F(TimerTasks, WithoutNameOrTimeNothingIsAdded) {
    for (const char* task :
         {R"({"exprTime":1,"msg_type":1})", R"({"Name":"a","msg_type":1})", R"({"Name":5,"exprTime":1,"msg_type":1})",
          R"({"Name":null,"exprTime":1})", R"({"Name":{"x":1},"exprTime":1})", R"({"Name":"a","exprTime":null})", "[]",
          "null", "\"a\"", "7"}) {
        request(std::string(R"({"tmApplyObj":)") + task + "}");
        EXPECT_TRUE(timer.tasks.empty()) << task;
        EXPECT_EQ(left(), std::nullopt) << task;
    }
}

TEST_F(TimerTasks, TimesAreConvertedAsJsonDoes) {
    add("text", "\"12\"");
    add("fraction", "2.9");
    add("true", "true");
    add("word", "\"soon\"");
    add("array", "[4]");
    add("object", "{\"a\":1}");
    std::vector<int32_t> times;
    for (const TimerTask& task : timer.tasks) {
        times.push_back(task.exprTime);
    }
    EXPECT_EQ(times, (std::vector<int32_t>{12, 2, 1, 0, 0, 0}));
}

TEST_F(TimerTasks, HugeTimesEndAtThirtyTwoBits) {
    add("a", "99999999999");
    add("b", "1e300");
    add("c", "\"18446744073709551616\"");
    for (const TimerTask& task : timer.tasks) {
        EXPECT_EQ(task.exprTime, INT32_MAX) << task.name;
    }
    EXPECT_EQ(pass(3000), Names{});
    EXPECT_EQ(timer.tasks.at(0).exprTime, INT32_MAX - 3);
}

TEST_F(TimerTasks, NamesAreCutTo99Bytes) {
    const std::string name(99, 'n');
    add(name + "first", "5");
    add(name + "second", "7");
    ASSERT_EQ(timer.tasks.size(), 1u);
    EXPECT_EQ(timer.tasks[0].name, name);
    EXPECT_EQ(timer.tasks[0].exprTime, 7);
    remove(name + "third");
    EXPECT_TRUE(timer.tasks.empty());
}

TEST_F(TimerTasks, DeletedTaskDoesNotFire) {
    add("a", "1");
    remove("a");
    EXPECT_EQ(left(), std::nullopt);
    EXPECT_EQ(pass(5000), Names{});
}

TEST_F(TimerTasks, DeletingWhatIsNotThereChangesNoCount) {
    remove("a");
    EXPECT_EQ(timer.pending, 0u);
    add("a", "1");
    remove("b");
    EXPECT_EQ(timer.pending, 1u);
}

TEST_F(TimerTasks, CountNeverFallsBelowZero) {
    request(R"({"tminterval":0,"tmApplyObj":{"Name":"a","exprTime":1,"msg_type":1}})");
    pass(0);  // a tick that counts nothing
    remove("a");
    EXPECT_EQ(timer.pending, 0u);
}

TEST_F(TimerTasks, OneRequestMayAddAndDelete) {
    add("a", "2");
    request(R"({"tmApplyObj":{"Name":"b","exprTime":2,"msg_type":1},"tmApplyObjDelete":"a"})");
    EXPECT_EQ(pass(2000), Names{"b@2000"});
}

TEST_F(TimerTasks, TextThatIsNoJsonObjectChangesNothing) {
    request(R"({"tmenable":"enable"})");
    add("a", "5");
    pass(500);
    const std::string deep = std::string(10'000, '[') + std::string(10'000, ']');
    for (const std::string& text :
         {std::string(), std::string("{"), std::string("[1]"), std::string("7"), std::string("null"),
          std::string("\xFF\xFE"), deep, "{\"tmApplyObj\":" + deep + "}"}) {
        request(text);
        EXPECT_EQ(left(), 500u) << text.substr(0, 20);
    }
    EXPECT_EQ(timer.tasks.size(), 1u);
}

TEST_F(TimerTasks, ThousandTasksFireInTheOrderInWhichTheyCame) {
    for (int i = 0; i < 1000; ++i) {
        add("task" + std::to_string(i), "1");
    }
    now += 1000;
    const auto due = tick(timer, now);
    ASSERT_EQ(due.size(), 1000u);
    EXPECT_EQ(due.front().name, "task0");
    EXPECT_EQ(due.back().name, "task999");
    EXPECT_TRUE(timer.tasks.empty());
}

}  // namespace
