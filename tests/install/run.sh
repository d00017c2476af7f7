#!/bin/sh
# Installs a build into a scratch prefix, checks what landed there, then
# builds the consumer beside this script against the installed tree, once
# through the CMake packages and once through pkg-config, and runs both.
#   run.sh BUILD_DIR WORK_DIR C_COMPILER GENERATOR
set -eu
build=$1 work=$2 cc=$3 generator=$4
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
prefix=$work/prefix
lib=$prefix/lib

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$prefix" > "$work/install.log"

fail() { echo "install: $*"; exit 1; }
for f in lib/libIntfVelmor.so.1.0.0 include/intfVelmor.h include/intfVelmor/records.h \
         include/intfVelmor/messages.h include/intfVelmor/radio.h include/intfVelmor/config.h \
         include/intfVelmor/station.h lib/pkgconfig/intfvelmor.pc \
         lib/cmake/IntfVelmor/IntfVelmorConfig.cmake \
         lib/cmake/IntfVelmor/IntfVelmorConfigVersion.cmake \
         lib/cmake/IntfVelmor/IntfVelmorTargets.cmake \
         lib/libtolkRefHost.so.1.0.0 include/tolkRefHost.h lib/pkgconfig/tolkrefhost.pc \
         lib/cmake/TolkRefHost/TolkRefHostConfig.cmake; do
    [ -f "$prefix/$f" ] || fail "$f missing"
done
[ "$(readlink "$lib/libIntfVelmor.so.1")" = libIntfVelmor.so.1.0.0 ] || fail "libIntfVelmor.so.1 link"
[ "$(readlink "$lib/libIntfVelmor.so")" = libIntfVelmor.so.1 ] || fail "libIntfVelmor.so link"
[ "$(readlink "$lib/libtolkRefHost.so")" = libtolkRefHost.so.1 ] || fail "libtolkRefHost.so link"
# Its name and imports are checked on the build tree (check_abi.sh); internal headers stay behind.
[ ! -e "$prefix/include/tolkHost.h" ] && [ ! -e "$prefix/include/engine.h" ] || fail "internal header installed"
# Nothing installed points back into the source or build trees.
if grep -rlE "$source_dir|$build" "$lib/cmake" "$lib/pkgconfig"; then
    fail "installed package files name the source or build tree"
fi

# CMake: find_package(IntfVelmor) and find_package(TolkRefHost).
cmake -S "$here" -B "$work/cmake" -G "$generator" -DCMAKE_C_COMPILER="$cc" \
      -DCMAKE_PREFIX_PATH="$prefix" > "$work/cmake.log" 2>&1 || { cat "$work/cmake.log"; exit 1; }
cmake --build "$work/cmake" > "$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
echo "find_package consumer:"
LD_LIBRARY_PATH=$lib "$work/cmake/consumer"

# pkg-config, as a Makefile would use it.
PKG_CONFIG_PATH=$lib/pkgconfig
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion intfvelmor)" = 1.0.0 ] || fail "pkg-config version"
cflags=$(pkg-config --cflags intfvelmor tolkrefhost)
libs=$(pkg-config --libs intfvelmor tolkrefhost)
# shellcheck disable=SC2086
"$cc" -std=c99 -Wall -Wextra -Werror $cflags "$here/consumer.c" -o "$work/consumer-pc" $libs
echo "pkg-config consumer:"
LD_LIBRARY_PATH=$lib "$work/consumer-pc"

# The installed tool finds its libraries by itself.
if [ -x "$prefix/bin/intfvelmor-wire" ]; then
    echo "00000000 00000004 29190165 00000001 00000004 00000000" |
        env -u LD_LIBRARY_PATH "$prefix/bin/intfvelmor-wire" decode | grep -q 'getCCAStatistic request' ||
        fail "installed intfvelmor-wire"
    [ -f "$prefix/share/man/man1/intfvelmor-wire.1" ] || fail "intfvelmor-wire(1) not installed"
    echo "installed intfvelmor-wire ok"
fi
echo "install: 1 passed, 0 failed"
