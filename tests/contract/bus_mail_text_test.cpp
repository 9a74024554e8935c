// What the flight recorder has of a mail.
#include <gtest/gtest.h>

#include "client/mail_text.h"

namespace {

TEST(MailText, SaysWhereItGoesAndNothingOfWhatStandsInIt) {
    EXPECT_EQ(
        vcfg::mailText(R"({"mailto":"owner@example.net","SMTP":"203.0.113.1","port":25,"password":"x","body":"y"})"),
        "vcfg-mail to owner@example.net through 203.0.113.1:25");
}

TEST(MailText, LeavesOutWhatIsMissing) {
    const std::string nothing = "vcfg-mail to  through :";
    for (const char* const request : {R"({"mailto":null})", "{}", "[\"mailto\"]", "no JSON", ""}) {
        EXPECT_EQ(vcfg::mailText(request), nothing) << request;
    }
}

}  // namespace
