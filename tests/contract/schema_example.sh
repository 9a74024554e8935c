#!/bin/sh
# Takes the example out of docs/datamodel.md, builds it against the headers and libvcfg, and holds what it prints against
# what vcfgctl lists.
set -eu
source_dir=$1 build_dir=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
sed -n '/^```c$/,/^```$/p' "$source_dir/docs/datamodel.md" | sed '/^```/d' >"$work/example.c"
"$compiler" -std=c11 -Wall -Wextra -Werror -I"$source_dir/vcfg/include" -I"$build_dir/vcfg/include" \
    "$work/example.c" -L"$build_dir/lib" -lvcfg -Wl,-rpath,"$build_dir/lib" -o "$work/example"
"$work/example" >"$work/printed"
cut -d' ' -f1 "$work/printed" >"$work/names"
"$build_dir/bin/vcfgctl" list | grep -v '\.$' >"$work/listed"
diff "$work/listed" "$work/names"
grep -qx 'IP.Interface.{i}.Status 16' "$work/printed"
