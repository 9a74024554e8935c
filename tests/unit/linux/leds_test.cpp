#include "platform/wrapper.h"
#include "unit/wan_fixture.h"

namespace {

constexpr const char* kGreen = "/sys/class/leds/green:internet/brightness";
constexpr const char* kRed = "/sys/class/leds/red:internet/brightness";

class LinuxLeds : public testing::Test {
  protected:
    std::string shown(uint32_t state, uint32_t control = 1) {
        gw.file(kGreen, "g");
        gw.file(kRed, "r");
        tarnWanCtlInternetLED(control, state);
        return *gw.fileContent(kGreen) + " " + *gw.fileContent(kRed);
    }
    WanGateway gw;
};

TEST_F(LinuxLeds, ShowTheStateByTheirNames) {
    EXPECT_EQ(shown(0), "0 0");
    EXPECT_EQ(shown(1), "255 0");
    EXPECT_EQ(shown(2), "0 255");
}

TEST_F(LinuxLeds, MayHaveOtherNames) {
    setenv("TARN_GREEN_LED", "power:green", 1);
    gw.file("/sys/class/leds/power:green/brightness", "p");
    EXPECT_EQ(shown(1), "g 0");
    EXPECT_EQ(gw.fileContent("/sys/class/leds/power:green/brightness"), "255");
    unsetenv("TARN_GREEN_LED");
}

TEST_F(LinuxLeds, NameThatLeadsElsewhereIsNone) {
    for (const char* name : {"", "..", "../../etc", "a/b"}) {
        setenv("TARN_RED_LED", name, 1);
        EXPECT_EQ(shown(2), "0 255") << name;
    }
    unsetenv("TARN_RED_LED");
}

TEST_F(LinuxLeds, StayAsTheyAreWithoutControlOrForAnUnknownState) {
    EXPECT_EQ(shown(1, 0), "g r");
    EXPECT_EQ(shown(3), "g r");
}

TEST_F(LinuxLeds, ThatTheMachineLacksAreNotMadeAndNotSpokenOf) {
    tarnWanCtlInternetLED(1, 1);
    EXPECT_FALSE(gw.fileContent(kGreen));
    EXPECT_TRUE(gw.log().empty());
    EXPECT_TRUE(gw.commands().empty());
}

}  // namespace
