#!/bin/sh
# Flash footprint of libIntfVelmor on every target: builds the library
# alone, strips a copy, and prints its size by section group, the part that
# the export surface fixes, and every section.
#
#   bench/footprint.sh [BUILD_TYPE] [OUT_DIR] [TARGETS]
#       default: MinSizeRel /tmp/intfvelmor-footprint "x86_64 i386 armhf mips"
#
# Section groups: surface = .dynsym .dynstr .hash .gnu.hash .gnu.version*
# (the part that the export surface fixes: one entry, one name, one hash
# slot and one version word per exported symbol, and the version node); code = .text .plt*
# .init .fini .MIPS.stubs; rodata = .rodata .eh_frame* .ARM.ex*; relocs =
# .rel* .rela*; data = .data* .got* .sdata .init_array .fini_array .dynamic
# (.bss takes no file space and is left out); pad = the gaps between
# sections in the file (mostly where the linker starts the data segment on a
# fresh page to save a page of memory: up to 4 KiB that come and go as the
# sizes change); other = the rest of the file: ELF and program headers,
# notes, section headers and names.
set -eu
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
type=${1:-MinSizeRel}
out=${2:-/tmp/intfvelmor-footprint}
only=${3:-x86_64 i386 armhf mips}

# name, toolchain file, strip
targets="x86_64:-:strip
i386:i386.cmake:strip
armhf:arm-linux-gnueabihf.cmake:arm-linux-gnueabihf-strip
mips:mips-linux-gnu.cmake:mips-linux-gnu-strip"

launcher=
command -v ccache >/dev/null && launcher="-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache"

build() {
  name=$1 tc=$2
  dir="$out/$type/$name"
  # shellcheck disable=SC2086
  set -- -S "$root" -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" \
    -DINTFVELMOR_TESTS=OFF -DINTFVELMOR_TOOLS=OFF -DINTFVELMOR_BENCH=OFF $launcher
  [ "$tc" = - ] || set -- "$@" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/$tc"
  cmake "$@" >"$dir.log" 2>&1 || { cat "$dir.log" >&2; exit 1; }
  ninja -j2 -C "$dir" IntfVelmor >>"$dir.log" 2>&1 || { cat "$dir.log" >&2; exit 1; }
}

sections=$(mktemp)
trap 'rm -f "$sections"' EXIT
printf '%-7s %9s %8s %8s %8s %8s %8s %6s %6s %8s\n' \
  target stripped surface code rodata relocs data pad other exports
echo "$targets" | while IFS=: read -r name tc strip; do
  case " $only " in *" $name "*) ;; *) continue ;; esac
  command -v "$strip" >/dev/null || { printf '%-7s (no %s)\n' "$name" "$strip"; continue; }
  mkdir -p "$out/$type"
  build "$name" "$tc"
  lib=$(readlink -f "$out/$type/$name/libIntfVelmor.so")
  "$strip" -o "$out/$type/$name.so" "$lib"
  size=$(wc -c <"$out/$type/$name.so")
  exports=$(readelf --dyn-syms -W "$out/$type/$name.so" |
    awk '$1 ~ /^[0-9]+:$/ && $7 != "UND" && ($5 == "GLOBAL" || $5 == "WEAK") && $4 != "NOTYPE"' | wc -l)
  readelf -SW "$out/$type/$name.so" | sed 's/^ *\[ *[0-9]*\] //' |
    awk -v size="$size" -v name="$name" -v exports="$exports" -v list="$sections" '
      function hex(h,   i, v) {
        v = 0
        for (i = 1; i <= length(h); i++) v = v * 16 + index("0123456789abcdef", substr(h, i, 1)) - 1
        return v
      }
      $1 ~ /^\./ {
        s = hex($5); n = $1; g = ""
        if ($2 == "NOBITS") { printf "  %-7s %-22s %8d  (no file space)\n", name, n, s >> list; next }
        if (seen && hex($4) > end) pad += hex($4) - end
        seen = 1
        end = hex($4) + s
        if (n ~ /^\.(dynsym|dynstr|hash|gnu\.hash|gnu\.version)/) g = "surface"
        else if (n ~ /^\.(text|plt|init$|fini$|MIPS\.stubs)/) g = "code"
        else if (n ~ /^\.(rodata|eh_frame|ARM\.ex)/) g = "rodata"
        else if (n ~ /^\.rela?\./) g = "relocs"
        else if (n ~ /^\.(data|got|sdata|init_array|fini_array|dynamic$)/) g = "data"
        if (g != "") { sum[g] += s; all += s }
        printf "  %-7s %-22s %8d  %s\n", name, n, s, g == "" ? "other" : g >> list
      }
      END {
        printf "%-7s %9d %8d %8d %8d %8d %8d %6d %6d %8d\n", name, size, sum["surface"], sum["code"],
          sum["rodata"], sum["relocs"], sum["data"], pad, size - all - pad, exports
      }'
done
echo
echo "Every section (bytes in the stripped file, group):"
cat "$sections"
