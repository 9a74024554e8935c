#include "layers.h"

#include "inproc_fe.h"

namespace sim {
namespace {

template <class Does>
void forLayersOf(const WanLinkInfo& link, const Does& does) {
    for (const Layer& layer : kLayers) {
        if (layer.linkType == link.linkType && layer.instance == link.iid.idx[0]) {
            does(layer);
        }
    }
}

void lose(const WanLinkInfo& link) {
    forLayersOf(link, [](const Layer& layer) {
        world().lostEnds.insert(layer.path);
        world().everLost = true;
    });
}

bool isOrMayComeUp(const Layer& layer) {
    return inproc::get(layer.path + std::string(".Status")) == "Up" || fibers::count() > kOwnThreads;
}

void noteEndOf(const WanLinkInfo& link) {
    const bool unseen = link.linkStatus == 0 || world().settingUp > 0;
    forLayersOf(link, [&](const Layer& layer) {
        if (!unseen && (layer.linkType != kLinkDslLine || layer.linkIsUp(world()))) {
            world().lostEnds.erase(layer.path);
        } else if (!unseen) {
            return;  // of the line's other mode
        } else if (isOrMayComeUp(layer)) {
            lose(link);
        }
    });
}

template <class Does>
void forLinks(const Does& does) {
    for (const WanLinkInfo* link = firstWanLink(); link != nullptr; link = link->next.get()) {
        does(*link);
    }
}

}  // namespace

bool isUp(const WanLinkInfo& link) {
    bool up = false;
    forLayersOf(link, [&](const Layer& layer) { up = up || layer.linkIsUp(world()); });
    return up;
}

void noteEnd(int32_t linkType, uint8_t instance) {
    forLinks([&](const WanLinkInfo& link) {
        if (link.linkType == linkType && link.iid.idx[0] == instance) {
            noteEndOf(link);
        }
    });
}

void noteLineUp() {
    forLinks([](const WanLinkInfo& link) {
        if (link.linkType == kLinkDslLine && link.linkStatus == 1) {
            lose(link);
        }
    });
}

void noteSetUp() {
    forLinks([](const WanLinkInfo& link) {
        if (link.linkStatus == 1 && !isUp(link)) {
            lose(link);
        }
    });
}

}  // namespace sim
