#!/bin/sh
# Takes the loop daemon out of docs/bus.md, builds it by pkg-config and by CMake against what is installed, and lets it
# hear a change, a message and its timer, with a vcmd that is started anew under it.
#   loop_example.sh SOURCE_DIR BUILD_DIR C_COMPILER
set -eu
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
vcmd= daemon=
cleanup() {
    for process in $vcmd $daemon; do kill "$process" 2>/dev/null || true; done
    rm -rf "$work"
}
trap cleanup EXIT
for component in headers library; do
    cmake --install "$build_dir" --component "$component" --prefix "$work/device" >/dev/null
done
"$source_dir/tests/contract/example_of.sh" "$source_dir/docs/bus.md" 2 >"$work/daemon.c"

export PKG_CONFIG_PATH="$work/device/lib/pkgconfig"
"$compiler" -std=c11 -D_GNU_SOURCE -Wall -Wextra -Werror "$work/daemon.c" $(pkg-config --cflags --libs vcfg) -o "$work/daemon"

mkdir "$work/cmake" "$work/run" "$work/data"
cat >"$work/cmake/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.25)
project(daemon LANGUAGES C)
find_package(vcfg REQUIRED)
add_executable(daemon ../daemon.c)
target_compile_definitions(daemon PRIVATE _GNU_SOURCE)
target_link_libraries(daemon PRIVATE vcfg::vcfg)
CMAKE
cmake -S "$work/cmake" -B "$work/cmake/build" -DCMAKE_PREFIX_PATH="$work/device" >/dev/null
cmake --build "$work/cmake/build" >/dev/null

chmod 700 "$work/run" "$work/data"
export VCFG_RUN_DIR="$work/run" VCFG_DATA_DIR="$work/data" VCFG_HOOK_DIR="$work/hooks" LD_LIBRARY_PATH="$work/device/lib"
ask() { "$build_dir/bin/vcfgctl" send --to 121 --type 7 --reply --timeout 5000 2>/dev/null || true; }
await() { # TEXT: the daemon says it
    for attempt in $(seq 500); do
        case $(ask) in *"$1"*) return 0 ;; esac
        sleep 0.02
    done
    echo "the example never answered with \"$1\" but: $(ask)"
    exit 1
}
start_vcmd() {
    "$build_dir/bin/vcmd" --foreground 2>/dev/null &
    vcmd=$!
    until "$build_dir/bin/vcfgctl" get IP.IPv4Enable >/dev/null 2>&1; do sleep 0.02; done
}
for program in "$work/daemon" "$work/cmake/build/daemon"; do
    start_vcmd
    "$program" 2>/dev/null &
    daemon=$!
    await "0 changes, last none"
    await " 3 ticks"
    "$build_dir/bin/vcfgctl" add IP.Interface >/dev/null
    await "last IP.Interface.1= by"
    kill "$vcmd"
    wait "$vcmd" || true
    start_vcmd
    await " ticks"
    for attempt in $(seq 500); do
        "$build_dir/bin/vcfgctl" set "IP.Interface.1.Alias=try$attempt" >/dev/null
        case $(ask) in *"IP.Interface.1.Alias=try"*) break ;; esac
        sleep 0.02
    done
    await "IP.Interface.1.Alias=try"
    kill "$vcmd" "$daemon"
    wait "$vcmd" "$daemon" 2>/dev/null || true
    vcmd= daemon=
    rm -rf "$work/data"/*
done
