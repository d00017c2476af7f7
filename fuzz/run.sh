#!/usr/bin/env bash
# Builds the fuzz targets in DIR (configuring DIR when it has no build yet)
# and runs each target for SECONDS from the committed seeds, one after the
# other. Exits non-zero on the first finding; its input is kept under
# DIR/fuzz-findings/.
#
#   fuzz/run.sh DIR SECONDS
set -euo pipefail

if [ $# -ne 2 ] || ! [[ $2 =~ ^[0-9]+$ ]]; then
    echo "usage: $0 BUILD_DIR SECONDS" >&2
    exit 2
fi
dir=$1
secs=$2
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")

if [ ! -f "$dir/build.ninja" ]; then
    cmake -S "$root" -B "$dir" -G Ninja \
        -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
        -DINTFVELMOR_SANITIZE=address,undefined -DINTFVELMOR_FUZZ=ON \
        -DINTFVELMOR_TOOLS=OFF -DINTFVELMOR_TESTS=OFF
fi
ninja -C "$dir" fuzz_bodies fuzz_records

corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT

for target in bodies records; do
    rm -rf "${corpus:?}"/*
    cp "$here/seeds/$target"/* "$corpus"/
    findings="$(cd "$dir" && pwd)/fuzz-findings/$target"
    mkdir -p "$findings"
    echo "== fuzz_$target: $secs s"
    status=0
    "$dir/fuzz/fuzz_$target" -max_total_time="$secs" -rss_limit_mb=2048 \
        -print_final_stats=1 -artifact_prefix="$findings/" "$corpus" || status=$?
    if [ "$status" -ne 0 ]; then
        echo "fuzz_$target: finding (exit $status), input in $findings/" >&2
        exit 1
    fi
done
echo "fuzz: no findings"
