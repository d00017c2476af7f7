# The library against musl (Debian's musl-tools and musl-dev), on the build
# machine's architecture. Debian has no libstdc++ for musl, and the library
# needs none at run time: g++ compiles with musl-gcc's specs and libstdc++'s
# two header folders (templates only), and the library links as C with
# musl-gcc. Only the library builds here: the reference host and the tests
# need libstdc++.
execute_process(COMMAND gcc -dumpmachine OUTPUT_VARIABLE IV_GNU_TRIPLE
                OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND gcc -dumpversion OUTPUT_VARIABLE IV_GCC_MAJOR
                OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE "-gnu" "-musl" IV_MUSL_TRIPLE "${IV_GNU_TRIPLE}")
set(IV_MUSL_SPECS /usr/lib/${IV_MUSL_TRIPLE}/musl-gcc.specs)

set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
# libstdc++'s headers ask __GLIBC_PREREQ, which musl does not define.
set(CMAKE_CXX_FLAGS_INIT "-specs ${IV_MUSL_SPECS} -isystem /usr/include/c++/${IV_GCC_MAJOR} \
-isystem /usr/include/${IV_GNU_TRIPLE}/c++/${IV_GCC_MAJOR} '-D__GLIBC_PREREQ(a,b)=0'")
# No libstdc++ to link a test program with: compiler checks stop at objects.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
