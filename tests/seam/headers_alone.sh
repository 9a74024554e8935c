#!/bin/sh
# The daemon must build against the framework's API headers alone: a device maker swaps libvcfg for the platform's own
# library and rebuilds the daemon unchanged. Compiles all of tarn/ with nothing but the installed headers in reach, and
# checks that what it then wants from the framework is what those headers declare.
#   headers_alone.sh SOURCE_DIR BUILD_DIR CXX
set -eu
source_dir=$1 build_dir=$2 cxx=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build_dir" --component headers --prefix "$work/device" >/dev/null

find "$source_dir/tarn" -name '*.cpp' >"$work/sources"
mkdir "$work/objects"
# What nearly all of them include is read once.
printf '#include <%s>\n' algorithm functional map memory mutex optional string string_view vector json.h vcfg/vcfg.h >"$work/common.h"
cxx="$cxx -std=c++20 -O0 -D_GNU_SOURCE -I $source_dir/tarn -I $work/device/include $(pkg-config --cflags json-c)"
$cxx -x c++-header "$work/common.h" -o "$work/common.h.gch"
compile='$0 -DTARN_VERSION=\"seam\" -include "$1/common.h" -c "$2" -o "$1/objects/$(echo "$2" | tr / _).o"'
xargs -P 2 -I{} sh -c "$compile" "$cxx" "$work" {} <"$work/sources"

nm -u "$work"/objects/*.o | grep -oE '\b(vcfg|vlog|vos|voUtil)[A-Za-z0-9_]*' | sort -u >"$work/wanted"
[ -s "$work/wanted" ] || { echo "the daemon uses nothing of the framework?" >&2; exit 1; }
missing=0
while read -r name; do
    grep -qrE "\b$name\(" "$work/device/include/vcfg" && continue
    echo "the daemon uses $name, which the API headers do not declare" >&2
    missing=1
done <"$work/wanted"
exit $missing
