#!/bin/sh
# The description checks stop a mistaken description with one error that
# names the struct member and the fix (tests/describe_mistakes.cpp).
#   describe_checks.sh CXX SOURCE_DIR
set -u
cxx=$1 src=$2
out=$(mktemp)
trap 'rm -f "$out"' EXIT
failed=0
# GCC names the member after the fix (Member = &T::m), clang in it (fix<&T::m>).
clang=0
"$cxx" --version | grep -qi clang && clang=1
compile() {
  "$cxx" -std=gnu++17 -fsyntax-only -Wall -Wextra -Werror -I"$src" -I"$src/include" \
    -DMISTAKE="$1" "$src/tests/describe_mistakes.cpp" >"$out" 2>&1
}
expect() {  # MISTAKE fix member
  if compile "$1"; then
    echo "mistake $1: compiled"; failed=1; return
  fi
  n=$(grep -c 'error:' "$out")
  pattern="$2.*Member = $3\]"
  [ $clang = 0 ] || pattern="$2<$3>"
  if [ "$n" != 1 ] || ! grep -E 'error:|note:' "$out" | grep -q "$pattern"; then
    echo "mistake $1: expected one error naming $2 and $3, got:"; grep 'error:' "$out"; failed=1
  fi
}
compile 0 || { echo "the correct descriptions do not compile:"; cat "$out"; exit 1; }
expect 1 numberTheMembersFrom3InDeclarationOrder '&Pair::a'
expect 2 describeTheMembersInDeclarationOrder '&Pair::a'
expect 3 describeTheMemberDeclaredRightBeforeThisOne '&Pair::b'
expect 4 describeTheMembersDeclaredAfterThisOne '&Pair::a'
expect 5 numberTheMembersFrom3InDeclarationOrder '&Counted::count'
expect 6 numberTheMembersFrom3InDeclarationOrder '&CountAfter::items'
expect 7 describeTheMemberHiddenInThePaddingBeforeThisOne '&Hidden::b'
expect 8 declareTheCountRightBeforeOrRightAfterItsArray '&Away::count'
exit $failed
