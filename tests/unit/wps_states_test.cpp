// Every state with every message, requester, answer and status; and both bus threads at once.
#include <thread>

#include "core/path.h"
#include "dispatch.h"
#include "unit/wps_fixture.h"

namespace {

enum class State { Idle, Running };

struct Requester {
    uint32_t startApp;
    const char* pushButton;  // its start request; null for an application that may not start
    bool hearsOutcome;
    const char* otherBand;
};
const Requester kRequesters[] = {{kTr069, "4006", false, nullptr},
                                 {kWebServer, "4006", true, nullptr},
                                 {kBothBands, "4005", false, "5"},
                                 {kStranger, nullptr, false, nullptr}};

struct Reaction {
    const char* name;
    Answer answer;        // without data
    bool accepted;        // by a start or stop
    bool toldAtOnce;      // to the web server, of a start
    const char* trouble;  // written by a poll
};
const Reaction kReactions[] = {
    {"done", says(0), true, false, nullptr},
    {"done with 1", says(1), true, false, nullptr},
    {"refused", says(2), false, false, "DeviceBusy, wps reply error!"},
    {"refused, negative", says(static_cast<uint32_t>(-1)), false, true, "DeviceBusy, wps reply error!"},
    {"exception", says(static_cast<uint32_t>(-20)), false, true, "DeviceException, wps reply error!"},
    {"no answer", noAnswer(), true, false, "DeviceBusy, no reply msg!"},
    {"sending fails", sendingFails(), false, true, "DeviceBusy, msg send/response error!"}};

struct Status {
    int number;
    const char* text;
    bool ends;
};
const Status kStatuses[] = {{-2, nullptr, false},
                            {-1, "DeviceBusy, no wps status reply!", false},
                            {0, "DeviceException, wps not running!", true},
                            {1, nullptr, false},
                            {2, "NoError, WPS ok!", true},
                            {3, "DeviceBusy", false},
                            {4, "DeviceBusy", false},
                            {7, "DeviceBusy", false},
                            {8, "DeviceBusy", true},
                            {9, "DeviceBusy", false},
                            {2147483647, "DeviceBusy", false}};

// What a message brought about.
struct Outcome {
    Lines asked;
    Lines timer;  // "add" and "delete"
    Lines texts;  // "access point: text"
    size_t told = 0;
    bool running = false;

    bool operator==(const Outcome&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
    for (const Lines& lines : {outcome.asked, outcome.timer, outcome.texts}) {
        out << testing::PrintToString(lines) << " ";
    }
    return out << outcome.told << (outcome.running ? " running" : " idle");
}

Lines textsOf(const Gateway& gw) {
    Lines texts;
    for (const std::string& write : gw.writes()) {
        const size_t begin = write.find(":\"") + 2;
        std::string text = write.substr(begin, write.find('"', begin) - begin);
        if (const size_t slash = text.find("\\/"); slash != text.npos) {
            text.erase(slash, 1);
        }
        texts.push_back(write.substr(strlen("write WiFi.AccessPoint."), 1) + ": " + text);
    }
    return texts;
}

class WpsStates : public testing::Test {
  protected:
    void reach(WpsGateway& gw, State state, const Requester& requester) {
        if (state == State::Running) {
            gw.running(requester.startApp);
        }
    }
    Outcome outcome(WpsGateway& gw) {
        Outcome seen;
        for (const std::string& request : gw.asked()) {
            seen.asked.push_back(request.substr(0, 4));
        }
        for (const std::string& request : gw.timerRequests()) {
            seen.timer.push_back(request == gw.kAdded ? "add" : request == gw.kDeleted ? "delete" : request);
        }
        seen.texts = textsOf(gw);
        seen.told = gw.told().size();
        seen.running = gw.isRunning();
        return seen;
    }
    static void append(Lines& lines, const char* accessPoint, const char* text) {
        if (accessPoint != nullptr && text != nullptr) {
            lines.push_back(std::string(accessPoint) + ": " + text);
        }
    }
};

Outcome expectedStart(State state, const Requester& requester, const Reaction& reaction) {
    const bool running = state == State::Running;
    Outcome expected{{}, running ? Lines{"delete"} : Lines{}, {}, 0, running};
    if (requester.pushButton == nullptr) {
        if (running) {
            expected.timer.push_back("add");
        }
        return expected;
    }
    expected.asked = {"4015", requester.pushButton};
    if (reaction.accepted) {
        expected.timer.push_back("add");
        expected.running = true;
    } else {
        expected.texts = {"1: DeviceBusy"};
    }
    expected.told = requester.hearsOutcome && reaction.toldAtOnce ? 1 : 0;
    return expected;
}

TEST_F(WpsStates, Start) {
    for (const State state : {State::Idle, State::Running}) {
        for (const Requester& requester : kRequesters) {
            for (const Reaction& reaction : kReactions) {
                WpsGateway gw;
                reach(gw, state, requester);
                gw.wireless(4005, reaction.answer);
                gw.wireless(4006, reaction.answer);
                gw.start(gw.request(requester.startApp));
                EXPECT_EQ(outcome(gw), expectedStart(state, requester, reaction))
                    << (state == State::Running ? "running, " : "idle, ") << requester.startApp << ", "
                    << reaction.name;
            }
        }
    }
}

TEST_F(WpsStates, Stop) {
    for (const State state : {State::Idle, State::Running}) {
        for (const Requester& requester : kRequesters) {
            for (const Reaction& reaction : kReactions) {
                WpsGateway gw;
                reach(gw, state, requester);
                gw.wireless(4015, reaction.answer);
                gw.stop(gw.request(requester.startApp));
                Outcome expected{{"4015"}, {"delete"}, {}, 0, true};
                if (state == State::Idle) {
                    expected = {
                        {"4015"}, {}, {reaction.accepted ? "1: NoError, WPS stop!" : "1: DeviceBusy"}, 0, false};
                }
                EXPECT_EQ(outcome(gw), expected) << (state == State::Running ? "running, " : "idle, ")
                                                 << requester.startApp << ", " << reaction.name;
            }
        }
    }
}

TEST_F(WpsStates, PollWhenIdle) {
    for (const Requester& requester : kRequesters) {
        WpsGateway gw;
        gw.wireless(4005, sendingFails());
        gw.wireless(4006, sendingFails());
        gw.start(gw.request(requester.startApp));  // leaves its requester in the record
        gw.forget();
        gw.poll();
        EXPECT_EQ(outcome(gw), Outcome{}) << requester.startApp;
    }
}

TEST_F(WpsStates, PollWhileRunning) {
    for (const Requester& requester : kRequesters) {
        for (const Reaction& reaction : kReactions) {
            for (const Status& status : kStatuses) {
                WpsGateway gw;
                reach(gw, State::Running, requester);
                Answer answer = reaction.answer;
                const bool comes = answer.code == VCFG_OK && answer.comes;
                answer.text = status.number == -1 ? "{}" : "{\"WPSStatus\":" + std::to_string(status.number) + "}";
                gw.wireless(4012, answer);
                gw.poll();
                const Status seen = comes ? status : kStatuses[1];
                Outcome expected{{}, {"add"}, {}, 0, true};
                if (requester.pushButton != nullptr) {
                    expected.asked = {"4012"};
                    expected.timer.clear();
                    for (const char* const accessPoint : {"1", requester.otherBand}) {
                        append(expected.texts, accessPoint, reaction.trouble);
                        append(expected.texts, accessPoint, seen.text);
                    }
                    if (seen.number == 1) {
                        expected.timer.push_back("add");
                    }
                    if (seen.ends) {
                        expected.timer.push_back("delete");
                    }
                    expected.timer.push_back("add");
                    expected.told = requester.hearsOutcome ? 1 : 0;
                }
                EXPECT_EQ(outcome(gw), expected)
                    << requester.startApp << ", " << reaction.name << ", status " << status.number;
            }
        }
    }
}

// Each start is a stop and a push button for its own access point, with nothing of the other thread's between.
TEST(WpsThreads, MessagesOnBothEndpointsAreHandledOneAtATime) {
    WpsGateway gw;
    const auto startRepeatedly = [&gw](int index) {
        for (int each = 0; each < 50; ++each) {
            gw.start(R"({"StartApp":15,"WPSActivationMethod":"PushButton","WPSIndex":)" + std::to_string(index) + "}");
            gw.poll();
        }
    };
    std::thread first(startRepeatedly, 1);
    std::thread second(startRepeatedly, 2);
    first.join();
    second.join();
    const Lines asked = gw.asked();
    size_t starts = 0;
    for (size_t each = 0; each + 1 < asked.size(); ++each) {
        if (asked[each].substr(0, 4) == "4015") {
            EXPECT_EQ(asked[each + 1], "4006" + asked[each].substr(4));
            ++starts;
        }
    }
    EXPECT_EQ(starts, 100u);
}

}  // namespace
