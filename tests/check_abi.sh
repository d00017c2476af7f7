#!/bin/sh
# The library's binary interface: its name, what it needs at run time and
# what it exports, held to the released baseline (abi_baseline.txt beside
# this script), and that the public header declares each export by name.
#
#   check_abi.sh LIB [INCLUDE_DIR CC]
set -eu
lib="$1"
include="${2:-}"
cc="${3:-cc}"
baseline="$(dirname "$0")/abi_baseline.txt"
fail() { echo "FAIL: $*"; exit 1; }
see='see README.md, "Adding a command or a record type"'

want_soname=$(awk '$1 == "soname" {print $2}' "$baseline")
soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = "$want_soname" ] || fail "SONAME is '$soname', the baseline's $want_soname"

# The descriptor's size: a command or notification added or removed changes it.
width=$(readelf -h "$lib" | awk '/Class:/ {print ($2 == "ELF64") ? 8 : 4}')
want_size=$(awk -v w="$width" '$1 == "size" && $2 == "intfVelmor_base" && $3 == w {print $4}' "$baseline")
size=$(nm -D -S --defined-only "$lib" | awk '$4 ~ /^intfVelmor_base@/ {print $2}')
[ -n "$size" ] && [ $((0x$size)) = "$want_size" ] ||
  fail "intfVelmor_base is $((0x${size:-0})) bytes, the baseline's $want_size: the descriptor changed; $see"

# Every export in its version node, as in the baseline: nothing added or lost.
exports=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep '^intfVelmor_' |
          sed 's/^\(.*\)@@\(.*\)$/export \2 \1/' | sort -u)
released=$(grep '^export ' "$baseline" | sort -u)
added=$(printf '%s\n' "$exports" | grep -vxF "$released" || true)
lost=$(printf '%s\n' "$released" | grep -vxF "$exports" || true)
[ -z "$lost" ] || fail "exports of the baseline missing or in another node: $lost"
[ -z "$added" ] || fail "exports not in the baseline (an addition goes into a new version node): $added; $see"

# Only libc and the loader: no libstdc++, no libgcc_s.
needed=$(readelf -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for n in $needed; do
  case "$n" in
    libc.so.*|ld-linux*|ld.so*) ;;
    *) fail "unexpected dependency $n" ;;
  esac
done

# The version nodes are the baseline's, and every defined dynamic symbol is
# ours and in one of them.
want_nodes=$(grep '^export ' "$baseline" | awk '{print $2}' | sort -u | tr '\n' ' ')
nodes=$(readelf -V "$lib" | sed -n 's/.*Flags: none.*Name: \([^ ]*\).*/\1/p' | sort -u | tr '\n' ' ')
[ "$nodes" = "$want_nodes" ] || fail "version nodes are '$nodes', not the baseline's '$want_nodes'"
# A new soname starts the nodes over at its own major: libIntfVelmor.so.2
# exports in INTFVELMOR_2.0 and the nodes that inherit it.
major=${soname##*.}
for n in $nodes; do
  case "$n" in
    INTFVELMOR_"$major".*) ;;
    *) fail "version node $n is not of the soname's major (INTFVELMOR_$major.N); $see" ;;
  esac
done
defined=$(nm -D --defined-only "$lib" | awk '{print $3}' | grep -v -E '^INTFVELMOR_[0-9.]+$' || true)
foreign=$(echo "$defined" | grep -v '^intfVelmor_' || true)
[ -z "$foreign" ] || fail "exports outside intfVelmor_: $foreign"
unversioned=$(echo "$defined" | grep -v "@@INTFVELMOR_" || true)
[ -z "$unversioned" ] || fail "exports outside a version node: $unversioned"

# What it needs from outside: libc and the host's core and event loop.
undef=$(nm -D --undefined-only "$lib" | awk '{print $2}' | sed 's/@.*//' |
        grep -v -E '^(tolkCore_|tolkIntf_|tick_)' |
        grep -v -E '^(_ITM_|__gmon_start__|__cxa_finalize)' || true)
for s in $undef; do
  case "$s" in
    malloc|calloc|free|strlen|strnlen|strncpy|memcpy|memchr|memset|syslog|__syslog_chk|abort|snprintf|__snprintf_chk|vsnprintf|__vsnprintf_chk|__stack_chk_fail|__stack_chk_guard|__memcpy_chk|__strncpy_chk) ;;
    *) fail "unexpected import $s" ;;
  esac
done

# The header names every export in plain text (comments stripped, macros not
# expanded), and exports nothing it does not name. The compiler checks the
# signatures: the library's sources include the header.
if [ -n "$include" ]; then
  text=$(find "$include" -name '*.h' | sort | while read -r h; do
      "$cc" -fpreprocessed -dD -E -P "$h"
    done | tr '\n' ' ')
  # Functions: a name and its parameter list; data: extern ... name;
  declared=$( (printf '%s' "$text" | grep -oE 'intfVelmor_[A-Za-z0-9_]+ *\(' | tr -d ' ('
               printf '%s' "$text" | grep -oE 'extern [^;(]*;' |
                 sed -n 's/.*[ *]\(intfVelmor_[A-Za-z0-9_]*\) *;$/\1/p') | sort -u)
  exported=$(nm -D --defined-only "$lib" | awk '{print $3}' | sed 's/@.*//' | grep '^intfVelmor_' | sort -u)
  missing=$(printf '%s\n' "$exported" | grep -vxF "$declared" || true)
  [ -z "$missing" ] || fail "exported but not declared by name in $include: $missing"
  extra=$(printf '%s\n' "$declared" | grep -vxF "$exported" || true)
  [ -z "$extra" ] || fail "declared in $include but not exported: $extra"
fi

count=$(nm -D --defined-only "$lib" | grep -c ' intfVelmor_')
echo "ok: $soname, needs [$needed], $count exports in ${nodes% }, intfVelmor_base $want_size bytes"
