// Refresh hook of Time: the clock as it stands.
#include <vcfg/vcfg.h>

#include <cstdio>

#include "client/standard_streams.h"
#include "payload.h"
#include "stored.h"
#include "time_text.h"

int main() {
    vcfg::holdStandardStreams();
    const auto time = stored<Time>({});
    if (!time) {
        return 1;
    }
    Payload values;
    values.text("CurrentLocalTime", localNow(time->LocalTimeZone.c_str()));
    puts(values.str().c_str());
    return 0;
}
