// Log, clock, commands, debug configuration and mail.
#include <fcntl.h>
#include <json-c/json.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "bus_world.h"
#include "client/fe_wire.h"

namespace {

class BusPlatform : public BusWorld {
  protected:
    ~BusPlatform() override { configureLevel(R"({"level": 6})"); }

    int configureLevel(const std::string& json) {
        const Message message = newMessage(vcfg::wire::kDebugConfig, json + '\0');
        return voUtilHandleRecvdMsgDebugCfg(message.get());
    }

    void mailHelper(const std::string& script) {
        const std::string path = directory + "/mail";
        FILE* file = fopen(path.c_str(), "w");
        fputs(("#!/bin/sh\n" + script).c_str(), file);
        fclose(file);
        chmod(path.c_str(), 0755);
        setenv("VCFG_MAIL_HELPER", path.c_str(), 1);
    }

    std::string content(const std::string& name) {
        FILE* file = fopen((directory + name).c_str(), "r");
        char text[4096] = "";
        const size_t size = file != nullptr ? fread(text, 1, sizeof text, file) : 0;
        if (file != nullptr) {
            fclose(file);
        }
        return {text, size};
    }
};

std::string field(const std::string& json, const char* name) {
    json_object* line = json_tokener_parse(json.c_str());
    json_object* value = nullptr;
    std::string text = json_object_object_get_ex(line, name, &value) ? json_object_get_string(value) : "(missing)";
    json_object_put(line);
    return text;
}

TEST_F(BusPlatform, LogLineIsOneJsonObject) {
    vcfg_msg_eidInit(kServer, "tarn");
    vlog_log_f(VLOG_WARNING, "tarn_link_wan", 12, "update", "say \"%s\"\n", "a\tb\\c");
    const std::string line = logged();
    EXPECT_EQ("4", field(line, "level"));
    EXPECT_EQ("tarn_link_wan", field(line, "source"));
    EXPECT_EQ("12", field(line, "line"));
    EXPECT_EQ("update", field(line, "function"));
    EXPECT_EQ("say \"a\tb\\c\"", field(line, "text"));
    EXPECT_EQ("tarn", field(line, "daemon"));
    EXPECT_NE("(missing)", field(line, "t_mono_us"));
}

TEST_F(BusPlatform, LogTextIsCutAt2000Bytes) {
    vlog_log_f(VLOG_ERROR, "x", 1, "x", "%s", std::string(5000, 'y').c_str());
    EXPECT_EQ(2000u, field(logged(), "text").size());
}

TEST_F(BusPlatform, LogTextThatIsNoUtf8IsStillJson) {
    vlog_log_f(VLOG_ERROR, "x", 1, "x", "%s",
               "gr\xC3\xBC\xC3\x9F"
               "e \xFF\xC3");
    EXPECT_EQ(
        "gr\xC3\xBC\xC3\x9F"
        "e \xEF\xBF\xBD\xEF\xBF\xBD",
        field(logged(), "text"));
}

TEST_F(BusPlatform, LogGoesToStandardErrorWhenNobodyCollectsIt) {
    unlink((directory + "/vlog").c_str());
    setenv("VCFG_RUN_DIR", (directory + "/none").c_str(), 1);
    const std::string errors = directory + "/stderr";
    Process process([&](const Process::Ready&) {
        static_cast<void>(!freopen(errors.c_str(), "w", stderr));
        vlog_log_f(VLOG_ERROR, "tarn", 5, "main", "hello");
    });
    ASSERT_EQ(0, process.exitStatus());
    EXPECT_NE(std::string::npos, content("/stderr").find("error tarn:5 main: hello\n"));
}

TEST_F(BusPlatform, LogThatNobodyCollectsKeepsNoDescriptor) {
    unlink((directory + "/vlog").c_str());
    Process process([](const Process::Ready&) {
        static_cast<void>(!freopen("/dev/null", "w", stderr));
        vlog_log_f(VLOG_ERROR, "tarn", 5, "main", "hello");
        const int before = open("/dev/null", O_RDONLY);
        close(before);
        for (int each = 0; each < 10; ++each) {
            vlog_log_f(VLOG_ERROR, "tarn", 5, "main", "hello");
        }
        _exit(open("/dev/null", O_RDONLY) == before ? 0 : 1);
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusPlatform, LogToABrokenPipeEndsNobodyAndLeavesNoSignal) {
    unlink((directory + "/vlog").c_str());
    Process process([&](const Process::Ready&) {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDERR_FILENO) < 0) {
            _exit(98);
        }
        close(ends[0]);
        signal(SIGPIPE, SIG_DFL);
        vlog_log_f(VLOG_ERROR, "tarn", 5, "main", "hello");
        sigset_t pending;
        sigpending(&pending);
        _exit(sigismember(&pending, SIGPIPE));
    });
    EXPECT_EQ(0, process.exitStatus());
}

TEST_F(BusPlatform, LogNeverWaitsLongForACollectorThatIsBehind) {
    const int64_t start = nowMs();
    Process process([&](const Process::Ready&) {
        static_cast<void>(!freopen("/dev/null", "w", stderr));
        for (int each = 0; each < 500; ++each) {
            vlog_log_f(VLOG_INFO, "x", 1, "x", "line %d", each);
        }
    });
    EXPECT_EQ(0, process.exitStatus());
    EXPECT_LT(nowMs() - start, 500);
}

// More lines than the collector's queue takes. A collector may lose its processor for longer than it is waited for.
TEST_F(BusPlatform, LogWaitsForACollectorThatCatchesUp) {
    constexpr long kLines = 40;
    EXPECT_TRUE(within(20000, [&] {
        Process process([&](const Process::Ready& ready) {
            static_cast<void>(!freopen("/dev/null", "w", stderr));
            ready();
            for (long each = 0; each < kLines; ++each) {
                vlog_log_f(VLOG_INFO, "x", 1, "x", "line %ld", each);
            }
        });
        std::string lines;
        within(500, [&] {
            lines += logged();
            return std::count(lines.begin(), lines.end(), '\n') == kLines;
        });
        return std::count(lines.begin(), lines.end(), '\n') == kLines;
    }));
}

TEST_F(BusPlatform, LogLevelIsInfoUntilConfigured) {
    EXPECT_TRUE(vlog_levelAllow(VLOG_INFO));
    EXPECT_FALSE(vlog_levelAllow(VLOG_DEBUG));
}

TEST_F(BusPlatform, DebugConfigurationSetsTheLevel) {
    EXPECT_EQ(0, configureLevel(R"({"level": 7})"));
    EXPECT_TRUE(vlog_levelAllow(VLOG_DEBUG));
    EXPECT_EQ(0, configureLevel(R"({"level": 3})"));
    EXPECT_FALSE(vlog_levelAllow(VLOG_WARNING));
}

TEST_F(BusPlatform, DebugConfigurationThatMakesNoSenseIsConsumedAndLogged) {
    for (const char* text : {"", "rubbish", "[1]", "{}", R"({"level": "7"})", R"({"level": 9})", R"({"level": -1})"}) {
        EXPECT_EQ(0, configureLevel(text));
        EXPECT_NE(std::string::npos, logged().find("debug configuration is refused")) << text;
        EXPECT_FALSE(vlog_levelAllow(VLOG_DEBUG)) << text;
    }
}

TEST_F(BusPlatform, OtherMessagesAreNoDebugConfiguration) {
    const Message message = newMessage(kAsk, R"({"level": 7})");
    EXPECT_NE(0, voUtilHandleRecvdMsgDebugCfg(message.get()));
    EXPECT_NE(0, voUtilHandleRecvdMsgDebugCfg(nullptr));
}

TEST_F(BusPlatform, CommandThatSucceedsIsOneAndAnyOtherIsNot) {
    EXPECT_EQ(1, vos_system(1, "true"));
    EXPECT_NE(1, vos_system(1, "false"));
    EXPECT_NE(1, vos_system(1, "/nonexistent/command 2>/dev/null"));
    EXPECT_NE(1, vos_system(1, "kill -9 $$"));
    EXPECT_NE(1, vos_system(1, nullptr));
}

TEST_F(BusPlatform, ClockCountsMilliseconds) {
    const uint32_t before = vos_mtime_get();
    usleep(5000);
    EXPECT_GE(vos_mtime_get() - before, 5u);
}

TEST_F(BusPlatform, MailIsHandedToTheHelper) {
    mailHelper("cat > \"$VCFG_RUN_DIR/request\"\n");
    EXPECT_EQ(0, voUtilMailSend(R"({"to":"x"})"));
    EXPECT_EQ(R"({"to":"x"})", content("/request"));
}

TEST_F(BusPlatform, FailureOfTheMailHelperIsReportedWithItsReason) {
    mailHelper("cat >/dev/null; echo 'server said no' >&2; exit 1\n");
    EXPECT_NE(0, voUtilMailSend("{}"));
    const std::string line = logged();
    EXPECT_EQ("3", field(line, "level"));
    EXPECT_NE(std::string::npos, field(line, "text").find("server said no"));
}

TEST_F(BusPlatform, MailHelperThatDoesNotReadIsAFailureAndNoMore) {
    mailHelper("exit 1\n");
    EXPECT_NE(0, voUtilMailSend(std::string(1000000, 'x').c_str()));
}

TEST_F(BusPlatform, MissingMailHelperIsReported) {
    setenv("VCFG_MAIL_HELPER", "/nonexistent/mail", 1);
    EXPECT_NE(0, voUtilMailSend("{}"));
    EXPECT_NE(std::string::npos, logged().find("/nonexistent/mail"));
}

}  // namespace
