// One benchmark case: a named operation, run by Google Benchmark for time
// and by `bench_codec --icount` for instruction counts under callgrind.
#pragma once

#include <benchmark/benchmark.h>
#include <stdint.h>

#include <functional>
#include <string>

#include "bench_data.h"

namespace bench {

// The records of every codec benchmark, filled once by main.
struct Data {
    ccaStats cca;
    assocDevListRet assoc;  // 100 stations
    APCfg ap;               // 50 filtered addresses
    beaconReport beacon;    // 100 report elements
    BandSteeringCfg bsd;    // every table entry in use
};
const Data &data();

[[noreturn]] void fail(const char *fmt, ...) __attribute__((format(printf, 1, 2)));

// `loop(n)` runs the operation n times; `wire` is the encoded size, shown
// as a counter so that formats can be compared.
void addCase(const std::string &name, uint32_t wire, std::function<void(uint64_t)> loop);
void registerTimed(const std::string &name, uint32_t wire,
                   std::function<void(benchmark::State &)> fn);

// Registers `op` both ways; it is inlined into the timed loop.
template <class F>
void add(const std::string &name, uint32_t wire, F op)
{
    addCase(name, wire, [op](uint64_t n) {
        for (uint64_t i = 0; i < n; ++i)
            op();
    });
    registerTimed(name, wire, [op](benchmark::State &st) {
        for (auto _ : st)
            op();
    });
}

// The protocol-buffer peers, registered after the library's cases.
void registerPeers();

}  // namespace bench
