#include "connection/wan_conn_update.h"

#include <string>

#include "connection/link_walks.h"
#include "core/event.h"
#include "core/log.h"
#include "core/memory.h"
#include "core/os.h"
#include "core/record.h"
#include "core/wan_state.h"

namespace {

constexpr const char* kStatusUpdateName = "tarnWanConnStatusUpdate";
constexpr size_t kStackBytes = 128u << 10;  // many of these threads run while links flap, and each needs little

void writeLayer(const std::string& layer, const LinkChange& change) {
    LinkChange newest = walks::comeTo(layer, change);
    LinkChange written{};
    if (newest.number != change.number) {
        return;
    }
    do {
        written = newest;
        tarnWanConnStatusUpdate(layer.c_str(), written.status, written.type);
        newest = walks::comeTo(layer, written);
    } while (newest.number != written.number);
}

// Paced by the layers that are met, whether or not one had to be written: what starts on top of it takes its time.
class Pace {
  public:
    void pause() { os::sleepMs(++updated_ <= 2 ? 3000 : 5000); }

  private:
    int updated_ = 0;
};

template <class Wanted>
void updateHigherLayers(const LinkChange& change, std::string_view lowerLayer, const Wanted& wanted) {
    Pace pace;
    for (const auto& entry : instances<InterfaceStack>()) {
        if (entry->LowerLayer == lowerLayer && wanted(*entry)) {
            writeLayer(std::string(entry->HigherLayer.view()), change);
            pace.pause();
        }
    }
}

std::string channelPath(const LinkChange& change) {
    const std::string_view encapsulation = change.type == kLinkDslPtm ? "G.992.3_Annex_K_PTM" : "G.992.3_Annex_K_ATM";
    const auto channel = findInstance<DslChannel>([&](const DslChannel& candidate) {
        return candidate.LowerLayers == change.path.view() && candidate.LinkEncapsulationUsed == encapsulation;
    });
    return channel ? path::of(path::kDslChannel, channel.instance()) : "";
}

void execTarnDslWanConnUpdate(const LinkChange& change) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    const std::string channel = channelPath(change);
    if (channel.empty()) {
        return;  // without a channel in the trained mode nothing lies on the line, whatever else names it
    }
    updateHigherLayers(change, channel,
                       [](const InterfaceStack& entry) { return !entry.HigherLayer.contains("DSL.BondingGroup"); });
}

void execWanConnUpdateProc(const LinkChange& change) {
    logs::system(LOG_INFO, "%s : Enter\n", __func__);
    updateHigherLayers(change, change.path, [](const InterfaceStack&) { return true; });
}

void followLink(const LinkChange& change) {
    if (change.type == kLinkDslAtm || change.type == kLinkDslPtm) {
        execTarnDslWanConnUpdate(change);
    } else {
        execWanConnUpdateProc(change);
    }
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
    if (path == nullptr || std::string_view(path).size() > kLinkPathSize) {
        VLOG(VLOG_ERROR, "a link's path is missing or longer than %zu characters, refused", kLinkPathSize);
        return VCFG_ERR_FAIL;
    }
    auto change = allocate<LinkChange>();
    if (change == nullptr) {
        logs::system(LOG_ERR, "%s : allocate memory failed\n", __func__);
        return VCFG_ERR_FAIL;
    }
    change->type = type;
    change->status = status;
    change->path = path;
    if (!walks::begin(*change)) {
        VLOG(VLOG_DEBUG, "%d updates of %s are under way, its change waits for one of them", kWalksOfALink, path);
        return VCFG_OK;
    }
    if (os::startThread(execTarnWanConnUpdateTaskHandler, change.get(), kStackBytes) != VCFG_OK) {
        walks::abandon(*change);
        logs::system(LOG_ERR, "%s : create pthread failed\n", __func__);
        return VCFG_ERR_FAIL;
    }
    (void)change.release();  // the thread owns it now
    return VCFG_OK;
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
    const std::unique_ptr<LinkChange> first(static_cast<LinkChange*>(record));
    for (std::optional<LinkChange> change = *first; change; change = walks::end(*change)) {
        handleEvent("WAN connection update", [&change] { followLink(*change); });
    }
}
