#!/bin/sh
# Installs a build into a scratch prefix, checks what landed there, then
# builds the consumer beside this script against the installed tree, once
# through the CMake packages and once through pkg-config, and runs both.
#   run.sh BUILD_DIR WORK_DIR C_COMPILER GENERATOR VERSION \
#          LIB_FILE LIB_SONAME HOST_FILE HOST_SONAME
# VERSION is the library's; the file names are the ones the build gave the
# library and the reference host (libIntfVelmor.so.1.0.0 and
# libIntfVelmor.so.1, say), each of which versions on its own.
set -eu
build=$1 work=$2 cc=$3 generator=$4 version=$5
lib_file=$6 lib_soname=$7 host_file=$8 host_soname=$9
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)
prefix=$work/prefix
lib=$prefix/lib

rm -rf "$work"
mkdir -p "$work"
cmake --install "$build" --prefix "$prefix" > "$work/install.log"

fail() { echo "install: $*"; exit 1; }
for f in "lib/$lib_file" include/intfVelmor.h include/intfVelmor/records.h \
         include/intfVelmor/messages.h include/intfVelmor/radio.h include/intfVelmor/config.h \
         include/intfVelmor/station.h lib/pkgconfig/intfvelmor.pc \
         lib/cmake/IntfVelmor/IntfVelmorConfig.cmake \
         lib/cmake/IntfVelmor/IntfVelmorConfigVersion.cmake \
         lib/cmake/IntfVelmor/IntfVelmorTargets.cmake \
         "lib/$host_file" include/tolkRefHost.h lib/pkgconfig/tolkrefhost.pc \
         lib/cmake/TolkRefHost/TolkRefHostConfig.cmake; do
    [ -f "$prefix/$f" ] || fail "$f missing"
done
[ "$(readlink "$lib/$lib_soname")" = "$lib_file" ] || fail "$lib_soname link"
[ "$(readlink "$lib/libIntfVelmor.so")" = "$lib_soname" ] || fail "libIntfVelmor.so link"
[ "$(readlink "$lib/$host_soname")" = "$host_file" ] || fail "$host_soname link"
[ "$(readlink "$lib/libtolkRefHost.so")" = "$host_soname" ] || fail "libtolkRefHost.so link"
# Its name and imports are checked on the build tree (check_abi.sh); internal headers stay behind.
[ ! -e "$prefix/include/tolkHost.h" ] && [ ! -e "$prefix/include/engine.h" ] || fail "internal header installed"
# Nothing installed points back into the source or build trees.
if grep -rlE "$source_dir|$build" "$lib/cmake" "$lib/pkgconfig"; then
    fail "installed package files name the source or build tree"
fi

# run_consumer NAME PROGRAM [ENV...]: runs a consumer with nothing but the
# given environment settings; it must pass and show the library's log line on
# standard error, where its openlog(LOG_PERROR) sends it.
run_consumer() {
    name=$1 program=$2
    shift 2
    echo "$name:"
    env -u LD_LIBRARY_PATH "$@" "$program" 2> "$work/$name.err" || { cat "$work/$name.err"; fail "$name"; }
    grep -q 'consumer: \[INTFVELMOR\] -> intfVelmor_sendReq_getCCAStatistic([0-9]*): user(.*): UserName Null' \
        "$work/$name.err" || { cat "$work/$name.err"; fail "$name: no log line on stderr"; }
}

# CMake: find_package(IntfVelmor) and find_package(TolkRefHost). The program
# runs from its build tree as is: CMake gives it a run path to the prefix.
cmake -S "$here" -B "$work/cmake" -G "$generator" -DCMAKE_C_COMPILER="$cc" \
      -DCMAKE_PREFIX_PATH="$prefix" -DINTFVELMOR_VERSION="$version" > "$work/cmake.log" 2>&1 ||
    { cat "$work/cmake.log"; exit 1; }
cmake --build "$work/cmake" > "$work/build.log" 2>&1 || { cat "$work/build.log"; exit 1; }
run_consumer find_package "$work/cmake/consumer"

# pkg-config, as a Makefile would use it: found through PKG_CONFIG_PATH, run
# once through LD_LIBRARY_PATH and once built with a run path to libdir.
PKG_CONFIG_PATH=$lib/pkgconfig
export PKG_CONFIG_PATH
[ "$(pkg-config --modversion intfvelmor)" = "$version" ] || fail "pkg-config version"
cflags=$(pkg-config --cflags intfvelmor tolkrefhost)
libs=$(pkg-config --libs intfvelmor tolkrefhost)
libdir=$(pkg-config --variable=libdir intfvelmor)
# shellcheck disable=SC2086
"$cc" -std=c99 -pedantic -Wall -Wextra -Werror $cflags "$here/consumer.c" -o "$work/consumer-pc" $libs
run_consumer pkg-config "$work/consumer-pc" LD_LIBRARY_PATH="$lib"
# shellcheck disable=SC2086
"$cc" -std=c99 -pedantic -Wall -Wextra -Werror $cflags "$here/consumer.c" -o "$work/consumer-rpath" \
    $libs -Wl,-rpath,"$libdir"
run_consumer pkg-config-rpath "$work/consumer-rpath"

# The installed tool finds its libraries by itself.
if [ -x "$prefix/bin/intfvelmor-wire" ]; then
    echo "00000000 00000004 29190165 00000001 00000004 00000000" |
        env -u LD_LIBRARY_PATH "$prefix/bin/intfvelmor-wire" decode | grep -q 'getCCAStatistic request' ||
        fail "installed intfvelmor-wire"
    [ -f "$prefix/share/man/man1/intfvelmor-wire.1" ] || fail "intfvelmor-wire(1) not installed"
    echo "installed intfvelmor-wire ok"
fi
echo "install: 1 passed, 0 failed"
