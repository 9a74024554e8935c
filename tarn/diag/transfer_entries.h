// The result tables that the download and the upload test have in common.
#pragma once

#include <algorithm>

#include "diag/report.h"

// One entry for each of the first `maximum` elements of the report's array. An entry that cannot be added or read is
// left out, one that is refused stays empty; a null element has no entry.
template <class T>
void addEntries(const Json& report, const char* array, uint32_t maximum, std::span<const Key<T>> keys) {
    const size_t count = std::min<size_t>(report.length(array), maximum);
    for (size_t i = 0; i < count; ++i) {
        const auto reported = report.element(array, i);
        auto entry = reported ? addEntry<T>() : Record<T>();
        if (entry) {
            copyPresent(*reported, keys, *entry);
            entry.apply();
        }
    }
}
