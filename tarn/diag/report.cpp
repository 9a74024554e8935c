#include "diag/report.h"

#include <cstring>

namespace {

template <class Number>
void putNumber(char* place, Number value) {
    memcpy(place, &value, sizeof value);
}

}  // namespace

void takeValue(const Json& report, const char* name, const Field& field, void* record) {
    char* const place = static_cast<char*>(record) + field.offset;
    if (field.textSize != 0) {
        vcfg::putText(place, field.textSize, report.textOr(name, ""));
    } else if (field.isWide) {
        putNumber(place, report.unsigned64(name));
    } else {
        putNumber(place, report.unsigned32(name));
    }
}
