// What a planted change asks: whether it is the one that this run has. Included ahead of each file that has one.
#pragma once

#include <type_traits>

namespace planted {

bool isOn(int number) noexcept;

constexpr bool on(int number) noexcept {
    return !std::is_constant_evaluated() && isOn(number);
}

template <class Value>
constexpr Value up(int number, Value value) noexcept {
    return on(number) ? static_cast<Value>(value + 1) : value;
}

template <class Value>
constexpr Value down(int number, Value value) noexcept {
    return on(number) ? static_cast<Value>(value - 1) : value;
}

}  // namespace planted
