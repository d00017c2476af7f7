#!/bin/sh
# Instructions per operation of every benchmark case, counted by callgrind:
# repeatable on a shared machine, where times are not.
#
#   bench/icount.sh BUILD_DIR [FILTER] [BATCH]
#
# FILTER keeps the cases whose name contains it; BATCH operations are counted
# per case (default 100) after one warm-up operation.
set -eu
build=${1:?usage: icount.sh BUILD_DIR [FILTER] [BATCH]}
filter=${2:-}
batch=${3:-100}
bin="$build/bench/bench_codec"
[ -x "$bin" ] || { echo "no $bin: configure with -DINTFVELMOR_BENCH=ON and build" >&2; exit 1; }
command -v valgrind >/dev/null || { echo "valgrind is needed" >&2; exit 1; }

out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
valgrind --tool=callgrind --collect-atstart=no --callgrind-out-file="$out/cg.%p" \
  "$bin" --icount "$filter" "$batch" >/dev/null 2>"$out/log" || { cat "$out/log" >&2; exit 1; }

# One dump per case: its name in the trigger line, its instructions in the summary.
printf '%-48s %14s\n' case instructions/op
for f in "$out"/cg.*.*; do
  awk -v batch="$batch" '
    /^desc: Trigger: Client Request: / { sub(/^desc: Trigger: Client Request: /, ""); sub(/ x[0-9]+$/, ""); name = $0 }
    /^summary: / { ir = $2 }
    END { if (name != "") printf "%-48s %14.0f\n", name, ir / batch }' "$f"
done | sort -t/ -k1,1 -k2,2 -k3,3
