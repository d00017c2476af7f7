#!/bin/sh
# The library's binary interface: its name, what it needs at run time and
# what it exports.
set -eu
lib="$1"
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

count=$(nm -D --defined-only "$lib" | grep -c ' intfVelmor_')
echo "ok: $soname, needs [$needed], $count exports in $node"
