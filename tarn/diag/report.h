// A diagnostic tool's report and the objects that take it: tables of keys, each the name of the parameter it is for.
//
//   constexpr Key<TraceRouteHop> kHopKeys[] = {DIAG_KEY(TraceRouteHop, Host), DIAG_KEY(TraceRouteHop, ErrorCode)};
#pragma once

#include <cstddef>
#include <span>

#include "core/json.h"
#include "core/log.h"
#include "core/record.h"

// Where a key's value goes: a number of 32 or 64 bits, or a text.
struct Field {
    size_t offset;
    size_t textSize;  // 0 for a number
    bool isWide;
};
// A missing key reads as 0 or empty; what is too large for the field is cut, or the greatest value.
void takeValue(const Json& report, const char* name, const Field& field, void* record);

template <class T>
struct Key {
    const char* name;
    Field field;
};

template <class Value>
inline constexpr Field kFieldOf = Value::noDiagnosticHasSuchAField;
template <>
inline constexpr Field kFieldOf<uint32_t>{0, 0, false};
template <>
inline constexpr Field kFieldOf<uint64_t>{0, 0, true};
template <size_t N>
inline constexpr Field kFieldOf<vcfg::Text<N>>{0, N, false};

template <class T, class Value>
constexpr Key<T> keyAt(const char* name, size_t offset) {
    return {name, {offset, kFieldOf<Value>.textSize, kFieldOf<Value>.isWide}};
}
#define DIAG_KEY(T, parameter) keyAt<T, decltype(T::parameter)>(#parameter, offsetof(T, parameter))

template <class T, class Value>
T ownerOf(Value T::*field);  // for its type only

template <class T>
void copyAll(const Json& report, std::span<const Key<T>> keys, T& record) {
    for (const Key<T>& key : keys) {
        takeValue(report, key.name, key.field, &record);
    }
}
template <class T>
void copyPresent(const Json& report, std::span<const Key<T>> keys, T& record) {
    for (const Key<T>& key : keys) {
        if (report.has(key.name)) {
            takeValue(report, key.name, key.field, &record);
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
