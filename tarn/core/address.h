// Address texts on their way into a record.
#pragma once

#include <vcfg/text.h>

#include <string_view>

// A text longer than any address of its kind would be cut to some other address. It is put down as what it is, so that
// the data model refuses the write.
template <size_t N>
void setAddress(vcfg::Text<N>& field, std::string_view text) {
    field = text.size() <= N ? text : std::string_view("(too long)");
}
