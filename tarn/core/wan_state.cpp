#include "core/wan_state.h"

#include <memory>

WanState wan;

void resetWanState() {
    std::destroy_at(&wan);
    std::construct_at(&wan);
}
