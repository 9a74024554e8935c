// Local stream sockets: voUtilTcpSvrInit and voUtilTcpConnInit.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "bus_world.h"

namespace {

class BusLocalSocket : public BusWorld {
  protected:
    ~BusLocalSocket() override {
        for (const int each : open_) {
            close(each);
        }
    }
    int listenAt(const std::string& where) { return keep(voUtilTcpSvrInit(where.c_str())); }
    int connectTo(const std::string& where) { return keep(voUtilTcpConnInit(where.c_str())); }
    int keep(int descriptor) {
        if (descriptor >= 0) {
            open_.push_back(descriptor);
        }
        return descriptor;
    }
    void leaveDeadSocket() { close(voUtilTcpSvrInit(path.c_str())); }
    struct stat there() const {
        struct stat status {};
        EXPECT_EQ(0, lstat(path.c_str(), &status));
        return status;
    }

    const std::string path = directory + "/internal";

  private:
    std::vector<int> open_;
};

TEST_F(BusLocalSocket, CarriesAStream) {
    const int listener = listenAt(path);
    const int client = connectTo(path);
    const int server = keep(accept(listener, nullptr, nullptr));
    ASSERT_EQ(3, send(client, "abc", 3, 0));
    char text[4] = "";
    EXPECT_EQ(3, recv(server, text, 3, MSG_WAITALL));
    EXPECT_STREQ("abc", text);
}

TEST_F(BusLocalSocket, IsItsUsersAloneWhateverTheMask) {
    const mode_t mask = umask(0);
    const int listener = listenAt(path);
    umask(mask);
    ASSERT_GE(listener, 0);
    EXPECT_EQ(0600u, there().st_mode & 07777);
}

TEST_F(BusLocalSocket, DescriptorsAreNotInherited) {
    const int listener = listenAt(path);
    EXPECT_EQ(FD_CLOEXEC, fcntl(listener, F_GETFD));
    EXPECT_EQ(FD_CLOEXEC, fcntl(connectTo(path), F_GETFD));
}

TEST_F(BusLocalSocket, WhatADeadProcessLeftIsReplaced) {
    leaveDeadSocket();
    ASSERT_GE(listenAt(path), 0);
    EXPECT_GE(connectTo(path), 0);
}

TEST_F(BusLocalSocket, ListenerThatLivesIsLeftAlone) {
    const int first = listenAt(path);
    EXPECT_LT(listenAt(path), 0);
    EXPECT_GE(connectTo(path), 0);
    EXPECT_GE(keep(accept(first, nullptr, nullptr)), 0);
}

TEST_F(BusLocalSocket, FileIsLeftAlone) {
    close(open(path.c_str(), O_CREAT | O_WRONLY, 0644));
    EXPECT_LT(listenAt(path), 0);
    EXPECT_LT(connectTo(path), 0);
    EXPECT_TRUE(S_ISREG(there().st_mode));
}

TEST_F(BusLocalSocket, SymbolicLinkIsLeftAlone) {
    const std::string target = directory + "/elsewhere";
    close(voUtilTcpSvrInit(target.c_str()));
    ASSERT_EQ(0, symlink(target.c_str(), path.c_str()));
    EXPECT_LT(listenAt(path), 0);
    EXPECT_TRUE(S_ISLNK(there().st_mode));
    EXPECT_EQ(0, access(target.c_str(), F_OK));
    unlink(target.c_str());
}

TEST_F(BusLocalSocket, DeadSocketOfSomeoneElseIsLeftAlone) {
    leaveDeadSocket();
    if (geteuid() != 0 || chown(path.c_str(), 12345, gid_t(-1)) != 0) {
        GTEST_SKIP() << "only root can give a socket away";
    }
    EXPECT_LT(listenAt(path), 0);
    EXPECT_EQ(12345u, there().st_uid);
}

TEST_F(BusLocalSocket, NobodyListeningIsAFailure) {
    EXPECT_EQ(VCFG_ERR_NO_PEER, connectTo(path));
    leaveDeadSocket();
    EXPECT_EQ(VCFG_ERR_NO_PEER, connectTo(path));
}

TEST_F(BusLocalSocket, WhatIsNoPathIsAFailure) {
    const std::string tooLong = directory + "/" + std::string(200, 'x');
    for (const char* none : {static_cast<const char*>(nullptr), "", tooLong.c_str(), "/nonexistent/directory/socket"}) {
        EXPECT_LT(voUtilTcpSvrInit(none), 0);
        EXPECT_LT(voUtilTcpConnInit(none), 0);
    }
}

}  // namespace
