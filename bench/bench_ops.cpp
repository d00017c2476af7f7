// The library against the hand-written floor on the workloads that have a
// hand-written codec, with nothing but libc: for targets that run under
// emulation (qemu-mips), where the Google Benchmark suite and the peers are
// not built.
//
//   bench_ops                       time per operation, engine and hand-written
//   bench_ops CASE SIDE N           CASE (see kCases) on SIDE (engine or hand)
//                                   once, then N times more: for counting
//                                   instructions from outside (bench/mips_icount.sh)
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#include <initializer_list>

#include "bench_data.h"
#include "handwritten.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"

namespace {

#define OPS_MAGIC(idx, X, entry, magic, stamp, ...) \
    constexpr uint32_t kMagic_##X = magic;                \
    constexpr uint16_t kStamp_##X = stamp;                \
    constexpr uint32_t kIndex_##X = idx;
IV_COMMANDS(OPS_MAGIC)
#undef OPS_MAGIC

struct World {
    ccaStats cca;
    assocDevListRet assoc;
    ivRes_getCCAStatistic ccaBody;
    ivRes_getAssocDevStats assocBody;
    hand::Body<ccaStats> ccaHand;
    hand::Body<assocDevListRet> assocHand;
    uint8_t ccaWire[64], ccaBodyWire[128];
    uint8_t *assocWire, *assocBodyWire;
    uint32_t assocLen, ccaBodyLen, assocBodyLen;
    uint8_t *buf;  // room for the largest encoding
    ccaStats ccaOut;
    assocDevListRet assocOut;
};
World *w;

[[noreturn]] void fail(const char *what)
{
    fprintf(stderr, "bench_ops: %s\n", what);
    exit(1);
}

volatile uintptr_t sink;

// Called right before and right after the counted operations: the counting
// script finds its address in the trace and counts what runs in between.
extern "C" __attribute__((noinline)) void bench_ops_mark() { __asm__ volatile(""); }

const intfVelmor_entry &entry(uint32_t index) { return intfVelmor_base.cmd.entries[index]; }

// ---- the operations: one call each, as the benchmark suite measures them --------------

void ccaEncEngine()
{
    uint32_t n = intfVelmor_ccaStats_serialize_lg(&w->cca);
    memset(w->buf, 0, n);
    uint8_t *p = w->buf;
    sink = intfVelmor_ccaStats_serialize(&w->cca, &p);
    sink = (uintptr_t)p;
}
void ccaEncHand()
{
    uint32_t n = hand::length(w->cca);
    memset(w->buf, 0, n);
    sink = (uintptr_t)hand::write(w->cca, w->buf);
}
void ccaDecEngine()
{
    const uint8_t *p = w->ccaWire;
    sink = intfVelmor_ccaStats_unserialize_bounded(&w->ccaOut, &p, p + 60);
    sink = (uintptr_t)p;
}
void ccaDecHand()
{
    const uint8_t *p = w->ccaWire;
    sink = hand::read(w->ccaOut, p, p + 60);
    sink = (uintptr_t)p;
}
void assocEncEngine()
{
    uint32_t n = intfVelmor_assocDevListRet_serialize_lg(&w->assoc);
    memset(w->buf, 0, n);
    uint8_t *p = w->buf;
    sink = intfVelmor_assocDevListRet_serialize(&w->assoc, &p);
    sink = (uintptr_t)p;
}
void assocEncHand()
{
    uint32_t n = hand::length(w->assoc);
    memset(w->buf, 0, n);
    sink = (uintptr_t)hand::write(w->assoc, w->buf);
}
void assocDecEngine()
{
    const uint8_t *p = w->assocWire;
    sink = intfVelmor_assocDevListRet_unserialize_bounded(&w->assocOut, &p, p + w->assocLen);
    sink = (uintptr_t)p;
}
void assocDecHand()
{
    const uint8_t *p = w->assocWire;
    sink = hand::read(w->assocOut, p, p + w->assocLen);
    sink = (uintptr_t)p;
}

template <class Body>
void bodyEnc(uint32_t index, Body &b)
{
    uint8_t *out = nullptr;
    uint32_t n = 0;
    sink = entry(index).serializeBody(INTFVELMOR_BODY_RES, &b, &out, &n);
    free(out);
}
void bodyDec(uint32_t index, const uint8_t *bytes, uint32_t len)
{
    void *b = nullptr;
    uint32_t n = 0;
    sink = intfVelmor_unserializeBodyBounded(entry(index).unserializeBody, INTFVELMOR_BODY_RES,
                                             bytes, bytes + len, &b, &n);
    entry(index).freeBody(INTFVELMOR_BODY_RES, b);
}
void ccaBodyEncEngine() { bodyEnc(kIndex_getCCAStatistic, w->ccaBody); }
void ccaBodyDecEngine() { bodyDec(kIndex_getCCAStatistic, w->ccaBodyWire, w->ccaBodyLen); }
void assocBodyEncEngine() { bodyEnc(kIndex_getAssocDevStats, w->assocBody); }
void assocBodyDecEngine() { bodyDec(kIndex_getAssocDevStats, w->assocBodyWire, w->assocBodyLen); }
void ccaBodyEncHand()
{
    uint32_t n = 0;
    uint8_t *out = hand::encode(w->ccaHand, kStamp_getCCAStatistic, &n);
    sink = (uintptr_t)out;
    free(out);
}
void ccaBodyDecHand()
{
    auto *b = hand::decodeCca(w->ccaBodyWire, w->ccaBodyWire + w->ccaBodyLen,
                              kMagic_getCCAStatistic, kStamp_getCCAStatistic);
    sink = (uintptr_t)b;
    free(b);
}
void assocBodyEncHand()
{
    uint32_t n = 0;
    uint8_t *out = hand::encode(w->assocHand, kStamp_getAssocDevStats, &n);
    sink = (uintptr_t)out;
    free(out);
}
void assocBodyDecHand()
{
    auto *b = hand::decodeAssoc(w->assocBodyWire, w->assocBodyWire + w->assocBodyLen,
                                kMagic_getAssocDevStats, kStamp_getAssocDevStats);
    sink = (uintptr_t)b;
    free(b);
}

struct Case {
    const char *name;
    void (*engine)();
    void (*hand)();
    unsigned reps;  // operations per timing
};
const Case kCases[] = {
    {"ccaStats/encode", ccaEncEngine, ccaEncHand, 20000},
    {"ccaStats/decode", ccaDecEngine, ccaDecHand, 20000},
    {"assocDevListRet100/encode", assocEncEngine, assocEncHand, 40},
    {"assocDevListRet100/decode", assocDecEngine, assocDecHand, 40},
    {"getCCAStatistic-res/encode", ccaBodyEncEngine, ccaBodyEncHand, 5000},
    {"getCCAStatistic-res/decode", ccaBodyDecEngine, ccaBodyDecHand, 5000},
    {"getAssocDevStats-res/encode", assocBodyEncEngine, assocBodyEncHand, 40},
    {"getAssocDevStats-res/decode", assocBodyDecEngine, assocBodyDecHand, 40},
};

// Both sides produce the same bytes and read back the same records first.
void setUp()
{
    w = (World *)calloc(1, sizeof(World));
    if (!w)
        fail("no memory");
    bench::ccaStatistics(w->cca);
    bench::stationInfo(w->assoc, INTFVELMOR_ASSOCDEV_MAX);
    w->ccaBody.magic = kMagic_getCCAStatistic;
    w->ccaBody.res = w->cca;
    w->assocBody.magic = kMagic_getAssocDevStats;
    w->assocBody.res = w->assoc;
    w->ccaHand = {kMagic_getCCAStatistic, w->cca};
    w->assocHand.magic = kMagic_getAssocDevStats;
    w->assocHand.res = w->assoc;

    w->assocLen = intfVelmor_assocDevListRet_serialize_lg(&w->assoc);
    w->buf = (uint8_t *)calloc(1, w->assocLen + 64);
    w->assocWire = (uint8_t *)calloc(1, w->assocLen);
    uint8_t *p = w->assocWire;
    if (!w->buf || !w->assocWire || intfVelmor_assocDevListRet_serialize(&w->assoc, &p) ||
        hand::length(w->assoc) != w->assocLen)
        fail("assocDevListRet does not encode");
    memset(w->buf, 0, w->assocLen);
    if (memcmp(hand::write(w->assoc, w->buf) - w->assocLen, w->assocWire, w->assocLen))
        fail("assocDevListRet: hand-written bytes differ");
    p = w->ccaWire;
    if (intfVelmor_ccaStats_serialize(&w->cca, &p) || p != w->ccaWire + 60)
        fail("ccaStats does not encode");

    uint8_t *out = nullptr;
    if (entry(kIndex_getCCAStatistic).serializeBody(INTFVELMOR_BODY_RES, &w->ccaBody, &out,
                                                    &w->ccaBodyLen) ||
        w->ccaBodyLen > sizeof w->ccaBodyWire)
        fail("getCCAStatistic body does not encode");
    memcpy(w->ccaBodyWire, out, w->ccaBodyLen);
    free(out);
    if (entry(kIndex_getAssocDevStats).serializeBody(INTFVELMOR_BODY_RES, &w->assocBody,
                                                     &w->assocBodyWire, &w->assocBodyLen))
        fail("getAssocDevStats body does not encode");

    for (auto decode : {ccaDecEngine, ccaDecHand, assocDecEngine, assocDecHand}) {
        memset(&w->ccaOut, 0, sizeof w->ccaOut);
        memset(&w->assocOut, 0, sizeof w->assocOut);
        decode();
        bool cca = decode == ccaDecEngine || decode == ccaDecHand;
        if (cca ? memcmp(&w->ccaOut, &w->cca, sizeof w->cca)
                : memcmp(&w->assocOut, &w->assoc, sizeof w->assoc))
            fail("a reader does not give back the record");
    }
}

double nsPerOp(void (*op)(), unsigned reps)
{
    double best = 1e30;
    for (int round = 0; round < 3; ++round) {
        timespec a, b;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &a);
        for (unsigned i = 0; i < reps; ++i)
            op();
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &b);
        double ns = ((double)(b.tv_sec - a.tv_sec) * 1e9 + (double)(b.tv_nsec - a.tv_nsec)) / reps;
        if (ns < best)
            best = ns;
    }
    return best;
}

}  // namespace

int main(int argc, char **argv)
{
    setUp();
    if (argc == 4) {
        for (const Case &c : kCases) {
            if (strcmp(c.name, argv[1]))
                continue;
            void (*op)() = strcmp(argv[2], "hand") ? c.engine : c.hand;
            op();
            unsigned long n = strtoul(argv[3], nullptr, 10);
            bench_ops_mark();
            for (unsigned long i = 0; i < n; ++i)
                op();
            bench_ops_mark();
            return 0;
        }
        fail("no such case");
    }
    printf("%-30s %14s %14s %8s\n", "case", "engine ns/op", "hand ns/op", "ratio");
    for (const Case &c : kCases) {
        double e = nsPerOp(c.engine, c.reps), h = nsPerOp(c.hand, c.reps);
        printf("%-30s %14.0f %14.0f %7.2fx\n", c.name, e, h, e / h);
    }
    return 0;
}
