// Clock, commands, debug configuration and local sockets of <vcfg/os.h>.
#include <json-c/json.h>
#include <sys/wait.h>
#include <vcfg/os.h>

#include <cstdlib>
#include <memory>

#include "client_log.h"
#include "deadline.h"
#include "fe_wire.h"
#include "guarded.h"
#include "local_socket.h"
#include "log_level.h"

namespace {

struct PutJson {
    void operator()(json_object* object) const { json_object_put(object); }
};

bool configureLog(const char* text) {
    const std::unique_ptr<json_object, PutJson> json(json_tokener_parse(text));
    json_object* level = nullptr;
    return json_object_object_get_ex(json.get(), "level", &level) && json_object_is_type(level, json_type_int) &&
           vcfg::setLogLevel(json_object_get_int(level));
}

}  // namespace

uint32_t vos_mtime_get(void) {
    return static_cast<uint32_t>(vcfg::monotonicUs() / 1000);
}

int vos_system(int /*flag*/, const char* command) {
    if (command == nullptr) {
        return 0;
    }
    const int status = system(command);
    return status != -1 && WIFEXITED(status) && WEXITSTATUS(status) == 0 ? 1 : 0;
}

int voUtilHandleRecvdMsgDebugCfg(const vcfg_msg_t* msg) {
    if (msg == nullptr || msg->type != vcfg::wire::kDebugConfig) {
        return VCFG_ERR_INVALID;
    }
    if (msg->length == 0 || !configureLog(vcfg_msg_text(msg))) {
        CLIENT_LOG(VLOG_ERROR, "a debug configuration is refused: it wants {\"level\": 3..7}");
    }
    return VCFG_OK;
}

int voUtilTcpSvrInit(const char* path) {
    return vcfg::guarded([=] { return vcfg::listenAt(path); });
}

int voUtilTcpConnInit(const char* path) {
    return vcfg::guarded([=] { return vcfg::connectTo(path); });
}
