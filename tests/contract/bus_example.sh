#!/bin/sh
# Takes the example daemon out of docs/bus.md, builds it against the headers and libvcfg, and asks it something.
set -eu
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
daemon=
cleanup() {
    [ -z "$daemon" ] || kill "$daemon" 2>/dev/null || true
    rm -rf "$work"
}
trap cleanup EXIT
"$source_dir/tests/contract/example_of.sh" "$source_dir/docs/bus.md" 1 >"$work/daemon.c"
cat >"$work/ask.c" <<'C'
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>
#include <vcfg/vcfg.h>

int main(void)
{
    for (int attempt = 0; attempt < 500; ++attempt, usleep(10000)) {
        vcfg_msg_t *request = calloc(1, sizeof *request);
        vcfg_msg_t *reply = NULL;
        request->type = 1;
        request->dstEid = 120;
        if (vcfg_msg_sendAndGetReply(request, &reply, 5000) == VCFG_OK) {
            puts(vcfg_msg_text(reply));
            free(reply);
            return 0;
        }
    }
    return 1;
}
C
for program in daemon ask; do
    "$compiler" -std=c11 -D_GNU_SOURCE -Wall -Wextra -Werror -I"$source_dir/vcfg/include" -I"$build_dir/vcfg/include" \
        "$work/$program.c" -L"$build_dir/lib" -lvcfg -Wl,-rpath,"$build_dir/lib" -o "$work/$program"
done
export VCFG_RUN_DIR="$work/run"
"$work/daemon" 2>/dev/null &
daemon=$!
answer=$("$work/ask")
[ "$answer" = "no interface" ] || { echo "the example answered: $answer"; exit 1; }
