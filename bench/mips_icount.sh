#!/bin/sh
# Instructions per operation of bench_ops in a cross build, counted under
# qemu-user from its own trace (qemu's instruction-counting plugin is not
# shipped by Debian): every translated block is logged with its
# instructions, every execution of a block with its address; the blocks run
# between the two calls of bench_ops_mark are summed. Slow: each run logs
# about 150 MB.
#
#   bench/mips_icount.sh BUILD_DIR [N] [QEMU]     (default: 10 operations, qemu-mips)
set -eu
build=${1:?usage: mips_icount.sh BUILD_DIR [N] [QEMU]}
n=${2:-10}
qemu=${3:-qemu-mips}
sysroot=/usr/mips-linux-gnu
bin="$build/bench/bench_ops"
[ -x "$bin" ] || { echo "no $bin: cross build with -DINTFVELMOR_BENCH=ON, target bench_ops" >&2; exit 1; }
log=$(mktemp)
trap 'rm -f "$log"' EXIT

count() {  # case side
  "$qemu" -L "$sysroot" -d in_asm,exec,nochain -D "$log" "$bin" "$1" "$2" "$n"
  # qemu names the symbol of each translated block: the marker's block is
  # the one translated under "IN: bench_ops_mark".
  awk -v n="$n" '
    function norm(a) { sub(/^0x/, "", a); sub(/:$/, "", a); sub(/^0+/, "", a); return a }
    /^IN:/ { inb = 1; first = ""; k = 0; inmark = ($2 == "bench_ops_mark"); next }
    inb && /^0x[0-9a-f]+:/ { if (first == "") { first = norm($1); if (inmark) mark = first } k++; next }
    inb { if (first != "") ins[first] = k; inb = 0 }
    /^Trace / {
      split($4, f, "/"); pc = norm(f[2])
      if (pc == mark) { marks++; next }
      if (marks == 1) { if (!(pc in ins)) missing++; else total += ins[pc] }
    }
    END {
      if (marks < 2 || missing) { printf "marks %d, blocks without instructions %d\n", marks, missing > "/dev/stderr"; exit 1 }
      printf "%.0f", total / n
    }' "$log"
}

printf '%-30s %14s %14s %8s\n' case engine hand ratio
for c in ccaStats/encode ccaStats/decode assocDevListRet100/encode assocDevListRet100/decode \
         getCCAStatistic-res/encode getCCAStatistic-res/decode \
         getAssocDevStats-res/encode getAssocDevStats-res/decode; do
  e=$(count "$c" engine) h=$(count "$c" hand)
  printf '%-30s %14s %14s %7.2fx\n' "$c" "$e" "$h" "$(echo "$e / $h" | bc -l)"
done
