#include "model_world.h"

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>

#include "client/model_lease.h"
#include "store/takeover.h"

namespace store = vcfg::store;

store::Store makeModel(const std::string& directory, size_t size) {
    store::Store made(store::openUnpublished(directory, size));
    for (const uint8_t number : {uint8_t{1}, uint8_t{2}}) {
        EXPECT_EQ(made.create(RDM_OID_IP_IFACE, instance(number), nullptr), VCFG_OK);
    }
    EXPECT_EQ(made.standOn(store::markOf(directory + "/file")), VCFG_OK);
    EXPECT_TRUE(store::publish(directory, static_cast<gid_t>(-1)));
    return made;
}

store::Store reopenModel(const std::string& directory, size_t size) {
    return store::Store(store::openForWriting(store::dataFile(directory), size));
}

objIndex instance(uint8_t number) {
    return {1, {number, 0, 0, 0, 0, 0}};
}

int writePair(store::Store& made, uint32_t number, std::string* why) {
    const auto json = store::parseObject("{\"LastChange\":" + std::to_string(number) + "}", nullptr);
    return made.change(why, [&] {
        const int first = made.write(RDM_OID_IP_IFACE, instance(1), json.get(), why);
        return first == VCFG_OK ? made.write(RDM_OID_IP_IFACE, instance(2), json.get(), why) : first;
    });
}

int64_t readPair() {
    vcfg::ModelLease lease;
    if (lease.take() != VCFG_OK) {
        return -2;
    }
    uint32_t numbers[2];
    for (uint8_t each = 0; each < 2; ++each) {
        const store::Found found = lease.view().get(RDM_OID_IP_IFACE, instance(static_cast<uint8_t>(each + 1)));
        if (found.code != VCFG_OK) {
            return -2;
        }
        memcpy(&numbers[each], store::recordOf(found.value) + offsetof(IpInterface, LastChange), sizeof numbers[each]);
    }
    return numbers[0] == numbers[1] ? int64_t{numbers[0]} : -1;
}

pid_t launch(const std::function<int()>& body) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(body());
    }
    return child;
}

int statusOf(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

Shared::Shared()
    : number_(static_cast<std::atomic<uint32_t>*>(
          mmap(nullptr, sizeof(std::atomic<uint32_t>), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}

Shared::~Shared() {
    munmap(number_, sizeof *number_);
}
