#include "daemon_question.h"

#include <vcfg/msg_types.h>
#include <vcfg/vcfg.h>

#include <cstdlib>
#include <cstring>

#include "client/fe_client.h"
#include "client/fe_wire.h"
#include "client/holder.h"

namespace {

using vcfg::Deadline;

bool vcmdAnswers(pid_t, uint32_t patienceMs) {
    return vcfg::request(vcfg::wire::kPing, RDM_OID_NONE, {}, {}, Deadline::in(patienceMs)).code == VCFG_OK;
}

// It serves from the end of its start-up on.
bool vcmdHasStarted(uint32_t) {
    return true;
}

// The one request that each of its threads answers, and that changes nothing: a command that does nothing.
bool runsCommand(uint8_t endpoint, uint32_t patienceMs) {
    constexpr char kNothing[] = ":";
    auto* const message = static_cast<vcfg_msg_t*>(calloc(1, VCFG_MSG_HEADER_SIZE + sizeof kNothing));
    if (message == nullptr) {
        return true;  // a shortage here is no fault of the daemon's
    }
    message->type = VCFG_MSG_FAKEROOT_SHELL_COMMAND;
    message->dstEid = endpoint;
    message->length = sizeof kNothing;
    memcpy(vcfg_msg_payload(message), kNothing, sizeof kNothing);
    vcfg_msg_t* answer = nullptr;
    const int code = vcfg_msg_sendAndGetReply(message, &answer, patienceMs);
    free(answer);
    return code == VCFG_OK;
}

bool tarnAnswers(pid_t process, uint32_t patienceMs) {
    return vcfg::bus::holderOf(VCFG_EID_TARN).process == process && runsCommand(VCFG_EID_TARN, patienceMs) &&
           runsCommand(VCFG_EID_TARN_GROUND, patienceMs);
}

bool tarnHasStarted(uint32_t patienceMs) {
    const vcfg::Answer answer = vcfg::request(vcfg::wire::kStartUp, RDM_OID_NONE, {}, {}, Deadline::in(patienceMs));
    vcfg::wire::StartUpHeader header{};
    if (answer.code != VCFG_OK || answer.body.size() != sizeof header) {
        return false;
    }
    memcpy(&header, answer.body.data(), sizeof header);
    return header.completed != 0;
}

constexpr Daemon kDaemons[] = {{"vcmd", vcmdAnswers, vcmdHasStarted}, {"tarn", tarnAnswers, tarnHasStarted}};

}  // namespace

const Daemon* daemonNamed(const char* name) {
    for (const Daemon& daemon : kDaemons) {
        if (strcmp(daemon.name, name) == 0) {
            return &daemon;
        }
    }
    return nullptr;
}
