// Address texts on their way into a record.
#pragma once

#include <vcfg/text.h>

#include <string_view>

// The part of a list, blanks or commas between its entries, that is at most `limit` characters long and ends behind a
// whole entry: half an address is another address.
inline std::string_view wholeEntries(std::string_view list, size_t limit) {
    constexpr std::string_view kBetween = " \t\r\n,";
    if (list.size() <= limit) {
        return list;
    }
    const size_t cut = list.find_last_of(kBetween, limit);
    const size_t last = cut == list.npos ? list.npos : list.find_last_not_of(kBetween, cut);
    return list.substr(0, last == list.npos ? 0 : last + 1);
}

template <size_t N>
void setAddressList(vcfg::Text<N>& field, std::string_view list) {
    field = wholeEntries(list, N);
}

// A text longer than any address of its kind would be cut to some other address. It is put down as what it is, so that
// the data model refuses the write.
template <size_t N>
void setAddress(vcfg::Text<N>& field, std::string_view text) {
    field = text.size() <= N ? text : std::string_view("(too long)");
}
