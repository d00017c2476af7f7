#!/usr/bin/env bash
# The layouts and signatures behind the exported names, kept as libabigail
# dumps of the library limited to its public headers (include/):
#
#   abi/abi.sh check    [BUILD_ROOT]  build both libraries and compare them with
#                                     the dumps in abi/: exit 1 on a harmful change
#   abi/abi.sh update   [BUILD_ROOT]  build both libraries and rewrite the dumps
#   abi/abi.sh selftest [BUILD_ROOT]  on the checked-in x86_64 dump alone (no
#                                     build): a removed export is refused, an
#                                     added one passes
#
# Two builds, because layouts differ between targets (a u64 is 4-aligned on
# i386 but 8-aligned on mips o32, a pointer is 4 bytes on both):
#   x86_64  the native compiler, RelWithDebInfo
#   mips    mips-linux-gnu, MinSizeRel (the size build a gateway ships) with
#           -g added: abidw reads the types from the debug information, and
#           -g changes no layout.
# They live in BUILD_ROOT/x86_64 and BUILD_ROOT/mips (default build-abi/).
#
# abidiff's exit status is a bit set: 1 tool error, 2 usage error, 4 a change
# that may be harmful (a member's type or offset, a struct's size, a
# parameter's type...), 8 an incompatible change (an export removed). Any of
# them fails the check. An added export would set bit 4 as well: the check
# passes --no-added-syms, which leaves additions out of the report and the
# status (see README, "Binary interface", for what an addition needs).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
mode=${1:-}
builds=${2:-$root/build-abi}
arches=(x86_64 mips)

launcher=()
if command -v ccache > /dev/null; then
    launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

build_lib() {  # arch -> prints the library's path
    local arch=$1 dir=$builds/$1 opts=()
    case "$arch" in
        x86_64) opts=(-DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=gcc -DCMAKE_CXX_COMPILER=g++) ;;
        mips) opts=(-DCMAKE_BUILD_TYPE=MinSizeRel -DCMAKE_C_FLAGS=-g -DCMAKE_CXX_FLAGS=-g
                    -DCMAKE_TOOLCHAIN_FILE="$root/cmake/mips-linux-gnu.cmake") ;;
    esac
    mkdir -p "$dir"
    cmake -S "$root" -B "$dir" -G Ninja "${launcher[@]}" "${opts[@]}" \
        -DBUILD_TESTING=OFF -DINTFVELMOR_TESTS=OFF -DINTFVELMOR_TOOLS=OFF \
        -DINTFVELMOR_DOCS=OFF -DINTFVELMOR_SANITIZE= -DINTFVELMOR_REQUIRE_ALL=OFF > "$dir/configure.log" 2>&1 ||
        { cat "$dir/configure.log" >&2; echo "abi: configure of $dir failed" >&2; return 1; }
    cmake --build "$dir" -j "$(nproc)" --target IntfVelmor > "$dir/build.log" 2>&1 ||
        { tail -n 40 "$dir/build.log" >&2; echo "abi: build in $dir failed" >&2; return 1; }
    # The development link: the build points it at the library it just
    # linked, whatever its soname, past any older one left in the folder.
    echo "$dir/libIntfVelmor.so"
}

# The dump: public-header types only, no file locations, and the source
# tree's path cut from the translation units' names, so that the same
# sources give the same bytes in any checkout.
dump() {  # library output
    abidw --headers-dir "$root/include" --drop-private-types \
          --no-corpus-path --no-comp-dir-path --no-show-locs "$1" |
        sed "s|path='$root/|path='|" > "$2"
}

# compare BASELINE CURRENT LABEL: 0 when abidiff reports nothing harmful.
compare() {
    local rc=0
    abidiff --no-added-syms "$1" "$2" > "$builds/$3.diff" 2>&1 || rc=$?
    if (( rc & 12 )) || (( rc & 3 )); then
        cat "$builds/$3.diff"
        local what=()
        (( rc & 8 )) && what+=("incompatible change")
        (( rc & 4 )) && what+=("possibly harmful change")
        (( rc & 3 )) && what+=("abidiff failed")
        echo "abi $3: abidiff exit $rc: ${what[*]}"
        return 1
    fi
    echo "abi $3: no harmful change (abidiff exit $rc)"
}

case "$mode" in
    update)
        for a in "${arches[@]}"; do
            lib=$(build_lib "$a")
            dump "$lib" "$root/abi/$a.abi"
            echo "wrote abi/$a.abi ($(grep -c '<elf-symbol ' "$root/abi/$a.abi") symbols)"
        done ;;
    check)
        failed=0
        for a in "${arches[@]}"; do
            lib=$(build_lib "$a") || { failed=1; continue; }
            dump "$lib" "$builds/$a.abi"
            compare "$root/abi/$a.abi" "$builds/$a.abi" "$a" || failed=1
        done
        exit $failed ;;
    selftest)
        # One export taken out of a copy of the baseline: compared one way it
        # is a removal, the other way an addition.
        mkdir -p "$builds"
        base=$root/abi/x86_64.abi less=$builds/selftest-less.abi
        python3 - "$base" "$less" intfVelmor_ccaStats_copy <<'EOF'
import re, sys
src, dst, name = sys.argv[1:]
text = open(src).read()
text, n1 = re.subn(r"\n *<elf-symbol name='%s' [^\n]*/>" % name, "", text)
text, n2 = re.subn(r"\n *<function-decl name='%s' .*?</function-decl>" % name, "", text, flags=re.S)
if (n1, n2) != (1, 1):
    sys.exit("selftest: %s found %d/%d times in %s" % (name, n1, n2, src))
open(dst, "w").write(text)
EOF
        rc=0
        abidiff --no-added-syms "$base" "$less" > "$builds/selftest-removed.diff" 2>&1 || rc=$?
        echo "removed export: abidiff exit $rc"
        (( rc & 8 )) || { cat "$builds/selftest-removed.diff"; echo "selftest: a removal was not refused"; exit 1; }
        rc=0
        abidiff --no-added-syms "$less" "$base" > "$builds/selftest-added.diff" 2>&1 || rc=$?
        echo "added export: abidiff exit $rc"
        (( rc & 15 )) && { cat "$builds/selftest-added.diff"; echo "selftest: an addition was refused"; exit 1; }
        echo "selftest: ok" ;;
    *)
        echo "usage: abi/abi.sh check|update|selftest [BUILD_ROOT]" >&2
        exit 2 ;;
esac
