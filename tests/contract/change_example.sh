#!/bin/sh
# Takes the example of several changes at once out of docs/bus.md, builds it, and lets it change a model.
set -eu
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
vcmd=
cleanup() {
    [ -z "$vcmd" ] || kill "$vcmd" 2>/dev/null || true
    [ -z "$vcmd" ] || wait "$vcmd" || true
    rm -rf "$work"
}
trap cleanup EXIT
"$source_dir/tests/contract/example_of.sh" "$source_dir/docs/bus.md" 3 >"$work/example.c"
"$compiler" -std=c11 -Wall -Wextra -Werror -I"$source_dir/vcfg/include" -I"$build_dir/vcfg/include" \
    "$work/example.c" -L"$build_dir/lib" -lvcfg -Wl,-rpath,"$build_dir/lib" -o "$work/example"
mkdir "$work/data"
export VCFG_RUN_DIR="$work/run" VCFG_DATA_DIR="$work/data"
"$build_dir/bin/vcmd" --foreground --hook-dir "$work/none" &
vcmd=$!
for _ in $(seq 500); do
    "$build_dir/bin/vcfgctl" get IP.IPv4Enable >/dev/null 2>&1 && break
    sleep 0.01
done
printed=$("$work/example" | tr '\n' ' ')
[ "$printed" = "IP.Interface.1 IP.Interface.1.IPv4Address.1 IP.Interface.1 " ] || { echo "the example printed: $printed"; exit 1; }
[ "$("$build_dir/bin/vcfgctl" get IP.Interface.1.Enable)" = IP.Interface.1.Enable=true ]
