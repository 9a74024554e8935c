#include "connection/wan_conn_update.h"

#include <vcfg/text.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "core/event.h"
#include "core/log.h"
#include "core/memory.h"
#include "core/os.h"
#include "core/record.h"
#include "core/wan_state.h"

namespace {

constexpr size_t kPathSize = 130;
constexpr const char* kStatusUpdateName = "tarnWanConnStatusUpdate";

struct Task {
    int32_t type = 0;
    uint8_t status = 0;
    vcfg::Text<kPathSize> path{};
    uint32_t number = 0;  // of the link changes since start, in their order
};

std::atomic<uint32_t> changes{0};

// Links flap faster than the walks pass, so that walks from one link run side by side. The last status that a layer
// gets from a link has to be that of the link's newest change: so a layer that a newer walk has come to is left alone,
// and whoever wrote while a newer walk came to the layer writes once more, what the newer one has to say.
std::mutex layersGuard;
std::map<std::string, Task> newestOnLayer;  // by link and layer

bool isNewer(const Task& task, const Task& other) {
    return static_cast<int32_t>(task.number - other.number) > 0;
}

// The newest task that has come to this layer, this one included.
Task comeToLayer(const std::string& layer, const Task& task) {
    const std::lock_guard lock(layersGuard);
    const auto [place, isFirst] = newestOnLayer.try_emplace(std::string(task.path.view()) + " " + layer, task);
    if (!isFirst && isNewer(task, place->second)) {
        place->second = task;
    }
    return place->second;
}

void writeLayer(const std::string& layer, const Task& task) {
    Task newest = comeToLayer(layer, task);
    Task written{};
    if (newest.number != task.number) {
        return;
    }
    do {
        written = newest;
        tarnWanConnStatusUpdate(layer.c_str(), written.status, written.type);
        newest = comeToLayer(layer, written);
    } while (newest.number != written.number);
}

class Pace {
  public:
    void pause() { os::sleepMs(++updated_ <= 2 ? 3000 : 5000); }

  private:
    int updated_ = 0;
};

template <class Wanted>
void updateHigherLayers(const Task& task, std::string_view lowerLayer, const Wanted& wanted) {
    Pace pace;
    for (const auto& entry : instances<InterfaceStack>()) {
        if (entry->LowerLayer == lowerLayer && wanted(*entry)) {
            writeLayer(std::string(entry->HigherLayer.view()), task);
            pace.pause();
        }
    }
}

std::string channelPath(const Task& task) {
    const std::string_view encapsulation = task.type == kLinkDslPtm ? "G.992.3_Annex_K_PTM" : "G.992.3_Annex_K_ATM";
    const auto channel = findInstance<DslChannel>([&](const DslChannel& candidate) {
        return candidate.LowerLayers == task.path.view() && candidate.LinkEncapsulationUsed == encapsulation;
    });
    return channel ? path::of(path::kDslChannel, channel.instance()) : "";
}

void execTarnDslWanConnUpdate(const Task& task) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    const std::string channel = channelPath(task);
    if (channel.empty()) {
        return;  // nothing lies on a line without a channel in this mode
    }
    updateHigherLayers(task, channel,
                       [](const InterfaceStack& entry) { return !entry.HigherLayer.contains("DSL.BondingGroup"); });
}

void execWanConnUpdateProc(const Task& task) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    updateHigherLayers(task, task.path, [](const InterfaceStack&) { return true; });
}

const char* linkStatus(uint8_t status) {
    return status != 0 ? "Up" : "LowerLayerDown";
}

// The chip's own links, a missing object of which is not worth a word.
template <class Link>
int32_t updateDslLink(uint8_t instance, uint8_t status, const char* name) {
    auto link = get<Link>(instanceId({instance}));
    if (!link) {
        return 0;
    }
    link->Status = linkStatus(status);
    if (link.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "Set %s fail. In %s\n", name, kStatusUpdateName);
        return VCFG_ERR_FAIL;
    }
    return 0;
}

int32_t updateEthernetLink(uint8_t instance, uint8_t status) {
    auto link = get<EthernetLink>(instanceId({instance}));
    if (!link) {
        logs::system(LOG_ERR, "%s : Get Ethernet Link Fail\n", kStatusUpdateName);
        return 0;
    }
    link->Status = linkStatus(status);
    if (link.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set Ethernet.Link fail\n", kStatusUpdateName);
        return VCFG_ERR_FAIL;
    }
    return 0;
}

// A cellular link leaves a PPP interface that is switched off alone.
int32_t updatePpp(uint8_t instance, uint8_t status, int32_t type) {
    auto ppp = get<PppInterface>(instanceId({instance}));
    if (!ppp) {
        logs::system(LOG_ERR, "%s : Get PPP Interface Fail\n", kStatusUpdateName);
        return 0;
    }
    if (type == kLinkUsb && !ppp->Enable) {
        return 0;
    }
    ppp->Status = linkStatus(status);
    ppp->ConnectionStatus = status != 0 ? "Connecting" : "Disconnected";
    if (ppp.apply() != VCFG_OK) {
        logs::system(LOG_ERR, "%s : Set PPP.Interface fail\n", kStatusUpdateName);
        return VCFG_ERR_FAIL;
    }
    return 0;
}

int32_t updateEthernetLinkOrPpp(std::string_view layer, uint8_t status, int32_t type) {
    if (const auto link = path::instance(path::kEthernetLink, layer)) {
        return updateEthernetLink(*link, status);
    }
    const auto ppp = path::instance(path::kPppInterface, layer);
    return ppp ? updatePpp(*ppp, status, type) : 0;
}

}  // namespace

int32_t tarnWanConnUpdate(const char* path, uint8_t status, int32_t type) {
    if (path == nullptr || std::string_view(path).size() > kPathSize) {
        VLOG(VLOG_ERROR, "a link's path is missing or longer than %zu characters, refused", kPathSize);
        return VCFG_ERR_FAIL;
    }
    auto task = allocate<Task>();
    if (task == nullptr) {
        logs::system(LOG_ERR, "%s : allocate memory failed\n", __func__);
        return VCFG_ERR_FAIL;
    }
    task->type = type;
    task->status = status;
    task->path = path;
    task->number = ++changes;
    if (!os::startThread(execTarnWanConnUpdateTaskHandler, task.get())) {
        logs::system(LOG_ERR, "%s : create pthread failed\n", __func__);
        return VCFG_ERR_FAIL;
    }
    (void)task.release();  // the thread owns it now
    return 0;
}

int32_t tarnWanConnStatusUpdate(const char* higherLayerPath, uint8_t status, int32_t type) {
    const std::string_view layer = higherLayerPath;
    switch (type) {
        case kLinkDslAtm: {
            const auto link = path::instance(path::kAtmLink, layer);
            return link ? updateDslLink<AtmLink>(*link, status, "ATM.Link") : 0;
        }
        case kLinkDslPtm: {
            const auto link = path::instance(path::kPtmLink, layer);
            return link ? updateDslLink<PtmLink>(*link, status, "PTM.Link") : 0;
        }
        case kLinkEthernet: {
            const auto link = path::instance(path::kEthernetLink, layer);
            return link ? updateEthernetLink(*link, status) : 0;
        }
        case kLinkOptical:
        case kLinkUsb:
            return updateEthernetLinkOrPpp(layer, status, type);
        default:
            return 0;
    }
}

void execTarnWanConnUpdateTaskHandler(void* record) {
    VLOG(VLOG_INFO, "thread starts");
    if (record == nullptr) {
        logs::system(LOG_ERR, "%s : args is NULL!\n", __func__);
        return;
    }
    const std::unique_ptr<Task> task(static_cast<Task*>(record));
    handleEvent("WAN connection update", [&task] {
        if (task->type == kLinkDslAtm || task->type == kLinkDslPtm) {
            execTarnDslWanConnUpdate(*task);
        } else {
            execWanConnUpdateProc(*task);
        }
    });
}
