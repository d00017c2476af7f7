# The benchmark across processes (bus_bench.sh): the library on the bus
# host against a bare D-Bus echo of the same bytes. Included once the bus
# host's directory has defined it; linked against the shared library so that
# callgrind tells the library's instructions apart.
find_package(PkgConfig REQUIRED)
pkg_check_modules(IV_BENCH_DBUS REQUIRED IMPORTED_TARGET dbus-1)
add_executable(bench_bus ${PROJECT_SOURCE_DIR}/bench/bus_bench.cpp)
target_include_directories(bench_bus PRIVATE ${PROJECT_SOURCE_DIR}/bench ${PROJECT_SOURCE_DIR})
target_link_libraries(bench_bus PRIVATE IntfVelmor tolkBusHost PkgConfig::IV_BENCH_DBUS)
target_compile_options(bench_bus PRIVATE -Wall -Wextra -Werror -Wshadow)
set_target_properties(bench_bus PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bench)
