#!/bin/sh
# A program that was built from another model than libvcfg is refused at its first call, with one line for all calls; one
# that was built from the same is not.
set -eu
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -p "$work/other/vcfg" "$work/none" "$work/run"
chmod 700 "$work/run"
echo '#define VCFG_MODEL_ID UINT64_C(0x0123456789abcdef)' >"$work/other/vcfg/model_id.h"
cat >"$work/program.c" <<'C'
#include <stdio.h>
#include <stdlib.h>
#include <vcfg/vcfg.h>

int main(void)
{
    vcfg_msg_t *request = calloc(1, sizeof *request);
    vcfg_msg_t *reply = NULL;
    int registered = vcfg_msg_eidInit(120, "program");
    request->dstEid = 121;
    printf("%d %d\n", registered, vcfg_msg_sendAndGetReply(request, &reply, 100));
    return 0;
}
C
export VCFG_RUN_DIR="$work/run"
says() {
    "$compiler" -std=c11 -Wall -Wextra -Werror -I"$work/$1" -I"$source_dir/vcfg/include" -I"$build_dir/vcfg/include" \
        "$work/program.c" -L"$build_dir/lib" -lvcfg -Wl,-rpath,"$build_dir/lib" -o "$work/program"
    "$work/program" 2>"$work/log"
}
fail() { echo "$1"; cat "$work/log"; exit 1; }
[ "$(says none)" = "0 -111" ] || fail "a program of the same model is refused"
[ "$(says other)" = "-22 -22" ] || fail "a program of another model is not refused"
[ "$(wc -l <"$work/log")" = 1 ] || fail "more or less than one line"
grep -q "built from another data model (0123456789abcdef) than libvcfg" "$work/log" || fail "the line does not say why"
