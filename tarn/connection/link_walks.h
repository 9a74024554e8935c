// Link changes on their way up through the layers. Each change walks on a thread of its own, with pauses; links flap
// faster than the walks pass, so that walks from one link run side by side.
#pragma once

#include <vcfg/text.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

inline constexpr size_t kLinkPathSize = 130;

// Walks of one link that run at once, at most. A change beyond them waits for the first of them that ends; of several
// that wait, the newest is enough, because each says the whole state of the link.
inline constexpr int kWalksOfALink = 32;

struct LinkChange {
    int32_t type = 0;
    uint8_t status = 0;
    vcfg::Text<kLinkPathSize> path{};
    uint32_t number = 0;  // of the link changes since start, in their order
};

namespace walks {

// Numbers a change. True when it gets a walk of its own; else a walk that ends takes it.
bool begin(LinkChange& change);

// A walk is over: the change that waited for it, which the same thread walks on with.
std::optional<LinkChange> end(const LinkChange& change);

// A walk could not be started.
void abandon(const LinkChange& change);

// The newest change of this link that has come to this layer, this one included. The last status that a layer gets from
// a link has to be that of the link's newest change: so a layer that a newer walk has come to is left alone, and
// whoever wrote while a newer walk came to the layer writes once more, what the newer one has to say.
LinkChange comeTo(const std::string& layer, const LinkChange& change);

}  // namespace walks
