#!/bin/sh
# The library's binary interface: its name, what it needs at run time and
# what it exports, and that the public header declares each export by name.
#
#   check_abi.sh LIB [INCLUDE_DIR CC]
set -eu
lib="$1"
include="${2:-}"
cc="${3:-cc}"
fail() { echo "FAIL: $*"; exit 1; }

soname=$(readelf -d "$lib" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
[ "$soname" = "libIntfVelmor.so.1" ] || fail "SONAME is '$soname'"

# Only libc and the loader: no libstdc++, no libgcc_s.
needed=$(readelf -d "$lib" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p')
for n in $needed; do
  case "$n" in
    libc.so.*|ld-linux*|ld.so*) ;;
    *) fail "unexpected dependency $n" ;;
  esac
done

# One version node, and every defined dynamic symbol is ours and in it.
node=INTFVELMOR_1.0
nodes=$(readelf -V "$lib" | sed -n 's/.*Flags: none.*Name: \([^ ]*\).*/\1/p')
[ "$nodes" = "$node" ] || fail "version nodes are '$nodes', not $node"
defined=$(nm -D --defined-only "$lib" | awk '$3 != "'$node'" {print $3}')
foreign=$(echo "$defined" | grep -v '^intfVelmor_' || true)
[ -z "$foreign" ] || fail "exports outside intfVelmor_: $foreign"
unversioned=$(echo "$defined" | grep -v "@@$node\$" || true)
[ -z "$unversioned" ] || fail "exports outside $node: $unversioned"

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
echo "ok: $soname, needs [$needed], $count exports in $node"
