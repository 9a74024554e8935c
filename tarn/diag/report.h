// A diagnostic tool's report and the objects that take it: tables of keys, each the name of the parameter it is for.
//
//   constexpr Key<TraceRouteHop> kHopKeys[] = {DIAG_KEY(TraceRouteHop, Host), DIAG_KEY(TraceRouteHop, ErrorCode)};
#pragma once

#include <span>

#include "core/json.h"
#include "core/log.h"
#include "core/record.h"

template <class T>
struct Key {
    const char* name;
    void (*copy)(const Json& report, const char* name, T& record);
};

// A missing key reads as 0 or empty; what is too large for the field is cut, or the greatest value.
inline void takeValue(const Json& report, const char* name, uint32_t& field) {
    field = report.unsigned32(name);
}
inline void takeValue(const Json& report, const char* name, uint64_t& field) {
    field = report.unsigned64(name);
}
template <size_t N>
void takeValue(const Json& report, const char* name, vcfg::Text<N>& field) {
    field = report.textOr(name, "");
}

template <class T, class Field>
T ownerOf(Field T::*field);  // for its type only

template <auto field>
constexpr auto keyOf(const char* name) {
    using T = decltype(ownerOf(field));
    return Key<T>{name, [](const Json& report, const char* key, T& record) { takeValue(report, key, record.*field); }};
}
#define DIAG_KEY(T, parameter) keyOf<&T::parameter>(#parameter)

template <class T>
void copyAll(const Json& report, std::span<const Key<T>> keys, T& record) {
    for (const Key<T>& key : keys) {
        key.copy(report, key.name, record);
    }
}
template <class T>
void copyPresent(const Json& report, std::span<const Key<T>> keys, T& record) {
    for (const Key<T>& key : keys) {
        if (report.has(key.name)) {
            key.copy(report, key.name, record);
        }
    }
}

// A text that is shown while it is copied: `label` is its name in the log.
template <class T>
struct ShownKey {
    const char* name;
    const char* label;
    const char* (*store)(T& record, const std::string& text);  // returns what the record holds now
};
template <auto field>
constexpr auto shownKeyOf(const char* name, const char* label) {
    using T = decltype(ownerOf(field));
    return ShownKey<T>{name, label, [](T& record, const std::string& text) -> const char* {
                           record.*field = text;
                           return (record.*field).c_str();
                       }};
}
#define DIAG_SHOWN_KEY(T, parameter, label) shownKeyOf<&T::parameter>(#parameter, label)

// `show` gets the label, the text as it came and the text as it is stored.
template <class T, class Show>
void copyShown(const Json& report, std::span<const ShownKey<T>> keys, T& record, const Show& show) {
    for (const ShownKey<T>& key : keys) {
        if (const auto text = report.text(key.name)) {
            show(key.label, text->c_str(), key.store(record, *text));
        }
    }
}

// Reads a diagnostic's object, has it filled and writes it; false when there was nothing to fill. `name` is the
// object's in the lines that tell of a failure.
template <class T, class Fill>
bool updateObject(const char* name, const Fill& fill) {
    auto object = get<T>();
    if (!object) {
        logs::print("Get %s Object fail\n", name);
        return false;
    }
    fill(*object);
    if (object.apply() != VCFG_OK) {
        logs::print("Set %s Object fail\n", name);
    }
    return true;
}

// A new entry of a result table, as it was added; empty when it cannot be added or read back.
template <class T>
Record<T> addEntry() {
    objIndex entry = noInstance();
    return add<T>(entry) == VCFG_OK ? get<T>(entry) : Record<T>();
}
