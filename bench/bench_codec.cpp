// Speed of the library's codec: records encoded and decoded by the engine,
// whole message bodies through their callbacks, the hand-written floor and
// the protocol-buffer peers on the same values, and one request/response
// round trip per command through the reference host.
//
//   bench_codec [Google Benchmark options]
//   bench_codec --icount [filter]   one batch per case, for callgrind (bench/icount.sh)
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <memory>
#include <vector>

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_TOGGLE_COLLECT
#define CALLGRIND_DUMP_STATS_AT(name) (void)(name)
#endif

#include "cases.h"
#include "handwritten.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "tolkRefHost.h"

namespace bench {

// ---- the case registry ------------------------------------------------------------

namespace {

struct Case {
    std::string name;
    std::function<void(uint64_t)> loop;
};

std::vector<Case> &registry()
{
    static std::vector<Case> r;
    return r;
}

Data *g_data;

}  // namespace

const Data &data() { return *g_data; }

void fail(const char *fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    fputs("bench_codec: ", stderr);
    vfprintf(stderr, fmt, ap);
    fputc('\n', stderr);
    va_end(ap);
    abort();
}

void addCase(const std::string &name, uint32_t, std::function<void(uint64_t)> loop)
{
    registry().push_back({name, std::move(loop)});
}

void registerTimed(const std::string &name, uint32_t wire,
                   std::function<void(benchmark::State &)> fn)
{
    benchmark::RegisterBenchmark(name.c_str(), [fn, wire](benchmark::State &st) {
        fn(st);
        st.counters["wire"] = wire;
    });
}

namespace {

// ---- the library's record operations, by type ---------------------------------------

template <class T>
struct Ops;
#define BENCH_OPS(T)                                                                           \
    template <>                                                                                \
    struct Ops<T> {                                                                            \
        static constexpr const char *name = #T;                                                \
        static uint32_t lg(const T *r) { return intfVelmor_##T##_serialize_lg(r); }            \
        static uint32_t put(const T *r, uint8_t **p) { return intfVelmor_##T##_serialize(r, p); } \
        static uint32_t get(T *r, const uint8_t **p, const uint8_t *end)                       \
        {                                                                                      \
            return intfVelmor_##T##_unserialize_bounded(r, p, end);                            \
        }                                                                                      \
    };
BENCH_OPS(ccaStats)
BENCH_OPS(assocDevListRet)
BENCH_OPS(APCfg)
BENCH_OPS(beaconReport)
BENCH_OPS(BandSteeringCfg)
#undef BENCH_OPS

// The library's encoding of a record: its length, a zero-filled buffer, one pass.
template <class T>
std::vector<uint8_t> encode(const T &rec)
{
    std::vector<uint8_t> out(Ops<T>::lg(&rec), 0);
    uint8_t *p = out.data();
    if (Ops<T>::put(&rec, &p) || p != out.data() + out.size())
        fail("%s: serialize does not fill its length", Ops<T>::name);
    return out;
}

// Record encode and bounded decode; `label` names the benchmark group.
template <class T>
void recordCases(const char *label, const T &rec)
{
    auto wire = std::make_shared<std::vector<uint8_t>>(encode(rec));
    auto buf = std::make_shared<std::vector<uint8_t>>(wire->size());
    uint32_t size = (uint32_t)wire->size();
    add(std::string("Encode/") + label + "/engine", size, [&rec, buf] {
        uint32_t n = Ops<T>::lg(&rec);
        memset(buf->data(), 0, n);
        uint8_t *p = buf->data();
        benchmark::DoNotOptimize(Ops<T>::put(&rec, &p));
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    });

    auto out = std::make_shared<T>();
    {
        const uint8_t *p = wire->data();
        if (Ops<T>::get(out.get(), &p, p + size) || p != wire->data() + size ||
            memcmp(out.get(), &rec, sizeof rec))
            fail("%s: the engine does not read back what it wrote", label);
    }
    add(std::string("Decode/") + label + "/engine", size, [wire, out] {
        const uint8_t *p = wire->data();
        benchmark::DoNotOptimize(Ops<T>::get(out.get(), &p, p + wire->size()));
        benchmark::DoNotOptimize(p);
        benchmark::ClobberMemory();
    });
}

// The bytes that the entry's serializeBody writes for body.
template <class Body>
std::shared_ptr<std::vector<uint8_t>> bodyBytes(const char *label, const intfVelmor_entry &e,
                                                int32_t type, const Body &body)
{
    uint8_t *bytes = nullptr;
    uint32_t len = 0;
    if (e.serializeBody(type, const_cast<Body *>(&body), &bytes, &len))
        fail("%s: serializeBody failed", label);
    auto wire = std::make_shared<std::vector<uint8_t>>(bytes, bytes + len);
    free(bytes);
    return wire;
}

// A whole message body through its entry's callbacks: serializeBody (length,
// allocation, frame, members) and bounded unserializeBody (allocation,
// frame, members), each freed as the core frees it.
template <class Body>
void bodyCases(const char *label, uint32_t index, int32_t type, const Body &body)
{
    const intfVelmor_entry &e = intfVelmor_base.cmd.entries[index];
    auto wire = bodyBytes(label, e, type, body);
    uint32_t len = (uint32_t)wire->size();

    void *back = nullptr;
    uint32_t size = 0;
    if (intfVelmor_unserializeBodyBounded(e.unserializeBody, type, wire->data(),
                                          wire->data() + len, &back, &size) ||
        size != sizeof(Body) || memcmp(back, &body, sizeof(Body)))
        fail("%s: unserializeBody does not give back the body", label);
    e.freeBody(type, back);

    add(std::string("Encode/") + label + "/serializeBody", len, [&e, type, &body] {
        uint8_t *out = nullptr;
        uint32_t n = 0;
        benchmark::DoNotOptimize(e.serializeBody(type, const_cast<Body *>(&body), &out, &n));
        benchmark::DoNotOptimize(out);
        free(out);
    });
    add(std::string("Decode/") + label + "/unserializeBody", len, [&e, type, wire] {
        void *b = nullptr;
        uint32_t n = 0;
        benchmark::DoNotOptimize(intfVelmor_unserializeBodyBounded(
            e.unserializeBody, type, wire->data(), wire->data() + wire->size(), &b, &n));
        e.freeBody(type, b);
    });
}

// ---- the hand-written floor, checked against the library first ----------------------

template <class T>
void handCases(const char *label, const T &rec)
{
    std::vector<uint8_t> lib = encode(rec);
    uint32_t size = (uint32_t)lib.size();
    if (hand::length(rec) != size)
        fail("%s: hand-written length %u, library %u", label, hand::length(rec), size);
    auto buf = std::make_shared<std::vector<uint8_t>>(size, 0);
    if (hand::write(rec, buf->data()) != buf->data() + size || *buf != lib)
        fail("%s: hand-written bytes differ from the library's", label);
    auto out = std::make_shared<T>();
    const uint8_t *p = lib.data();
    if (!hand::read(*out, p, p + size) || p != lib.data() + size || memcmp(out.get(), &rec, sizeof rec))
        fail("%s: hand-written reader does not give back the record", label);

    add(std::string("Encode/") + label + "/hand", size, [&rec, buf] {
        uint32_t n = hand::length(rec);
        memset(buf->data(), 0, n);
        benchmark::DoNotOptimize(hand::write(rec, buf->data()));
        benchmark::ClobberMemory();
    });
    auto wire = std::make_shared<std::vector<uint8_t>>(std::move(lib));
    add(std::string("Decode/") + label + "/hand", size, [wire, out] {
        const uint8_t *q = wire->data();
        benchmark::DoNotOptimize(hand::read(*out, q, q + wire->size()));
        benchmark::DoNotOptimize(q);
        benchmark::ClobberMemory();
    });
}

// ---- bodies of the benchmarked commands -----------------------------------------------

#define BENCH_MAGIC(idx, X, entry, magic, stamp, ...) constexpr uint32_t kMagic_##X = magic;
IV_COMMANDS(BENCH_MAGIC)
#undef BENCH_MAGIC
#define BENCH_INDEX(idx, X, ...) kIndex_##X = idx,
enum : uint32_t { IV_COMMANDS(BENCH_INDEX) };
#undef BENCH_INDEX
#define BENCH_STAMP(idx, X, entry, magic, stamp, ...) constexpr uint16_t kStamp_##X = stamp;
IV_COMMANDS(BENCH_STAMP)
#undef BENCH_STAMP

// The hand-written body against the library's: same bytes out, same body
// back, then the same sequences as bodyCases (allocation, frame, record,
// free).
template <class Body, class R, class Decode>
void handBodyCases(const char *label, uint32_t index, const Body &body, uint32_t magic,
                   uint16_t stamp, Decode decode)
{
    auto wire = bodyBytes(label, intfVelmor_base.cmd.entries[index], INTFVELMOR_BODY_RES, body);
    uint32_t len = (uint32_t)wire->size();

    auto h = std::make_shared<hand::Body<R>>();
    h->magic = body.magic;
    h->res = body.res;
    uint32_t hlen = 0;
    uint8_t *mine = hand::encode(*h, stamp, &hlen);
    if (!mine || hlen != len || memcmp(mine, wire->data(), len))
        fail("%s: hand-written body bytes differ from the library's", label);
    free(mine);
    hand::Body<R> *back = decode(wire->data(), wire->data() + len, magic, stamp);
    if (!back || memcmp(&back->res, &body.res, sizeof body.res) || back->magic != magic)
        fail("%s: hand-written body reader does not give back the body", label);
    free(back);

    add(std::string("Encode/") + label + "/handBody", len, [h, stamp] {
        uint32_t n = 0;
        uint8_t *out = hand::encode(*h, stamp, &n);
        benchmark::DoNotOptimize(out);
        free(out);
    });
    add(std::string("Decode/") + label + "/handBody", len, [wire, magic, stamp, decode] {
        auto *b = decode(wire->data(), wire->data() + wire->size(), magic, stamp);
        benchmark::DoNotOptimize(b);
        free(b);
    });
}

struct Bodies {
    ivRes_getCCAStatistic cca;
    ivRes_getAssocDevStats assoc;
    ivReq_configureAccessPoint ap;
    ivRes_beaconRequest beacon;
};

void codecCases(const Data &d, Bodies &b)
{
    recordCases("ccaStats", d.cca);
    handCases("ccaStats", d.cca);
    b.cca.magic = kMagic_getCCAStatistic;
    b.cca.res = d.cca;
    bodyCases("ccaStats", kIndex_getCCAStatistic, INTFVELMOR_BODY_RES, b.cca);
    handBodyCases<ivRes_getCCAStatistic, ccaStats>("ccaStats", kIndex_getCCAStatistic, b.cca,
                                                   kMagic_getCCAStatistic,
                                                   kStamp_getCCAStatistic, hand::decodeCca);

    recordCases("assocDevListRet100", d.assoc);
    handCases("assocDevListRet100", d.assoc);
    b.assoc.magic = kMagic_getAssocDevStats;
    b.assoc.res = d.assoc;
    bodyCases("assocDevListRet100", kIndex_getAssocDevStats, INTFVELMOR_BODY_RES, b.assoc);
    handBodyCases<ivRes_getAssocDevStats, assocDevListRet>(
        "assocDevListRet100", kIndex_getAssocDevStats, b.assoc, kMagic_getAssocDevStats,
        kStamp_getAssocDevStats, hand::decodeAssoc);

    recordCases("APCfg50", d.ap);
    b.ap.magic = kMagic_configureAccessPoint;
    b.ap.cfg = d.ap;
    b.ap.value = 1;
    bodyCases("APCfg50", kIndex_configureAccessPoint, INTFVELMOR_BODY_REQ, b.ap);

    recordCases("beaconReport100", d.beacon);
    b.beacon.magic = kMagic_beaconRequest;
    b.beacon.res = d.beacon;
    bodyCases("beaconReport100", kIndex_beaconRequest, INTFVELMOR_BODY_RES, b.beacon);

    recordCases("BandSteeringCfg", d.bsd);
}

// ---- round trips through the reference host ------------------------------------------

// What the service answers, built once.
struct Answers {
    assocDevListReq stations;  // the client's request: 100 stations
    assocDevListRet info;
    RadioDef radio;
    RadioCapacity capacity;
    APCapacity apCapacity;
    ProbeRequestList probes;
    MacFilterList blackList;
    APCfg ap;
    APCfgRet apRet;
    APBackHaulWPSCfg backhaul;
    bssTransitionRequest transition;
    bssTransitionResponse transitionRet;
    BeaconRequestCfg beaconReq;
    beaconReport beacon;
    BeaconIECfg ie;
    channelReport channels;
    ccaStats cca;
};
Answers *g_ans;
uint32_t g_handled, g_answered;

void buildAnswers(Answers &a, const Data &d)
{
    memset(&a, 0, sizeof a);
    stationList(a.stations, INTFVELMOR_ASSOCDEV_MAX);
    a.info = d.assoc;
    put(a.radio.s3, "5GHz");
    bssid(a.radio.mac, 0x10);
    a.radio.v5 = -1;
    RadioCapacity &c = a.capacity;
    put(c.s3, "wifi1");
    c.v4 = 5180, c.v5 = 4, c.v6 = 4;
    put(c.s7, "802.11a/n/ac/ax dual-band radio, 4x4 MU-MIMO");
    put(c.s9, "FR");
    c.v8 = 1, c.v10 = 1, c.v11 = 2402000, c.v18 = 23, c.v19 = 1, c.v20 = 160;
    c.radioChannelCapabilities.bandwidthsCount = 4;
    for (uint32_t w = 0; w < 4; ++w) {
        RadioChannelCapabilitiesPerBandwidth &bw = c.radioChannelCapabilities.bandwidths[w];
        bw.v3 = 20u << w;
        bw.valuesCount = 24u >> w;
        for (uint32_t k = 0; k < bw.valuesCount; ++k)
            bw.values[k] = 36 + 4 * (k << w);
    }
    bssid(a.apCapacity.mac, 0x11);
    a.apCapacity.v4 = 1, a.apCapacity.v5 = 8, a.apCapacity.v6 = 64, a.apCapacity.v8 = 128;
    a.probes.probesCount = 50;
    for (uint32_t i = 0; i < 50; ++i) {
        a.probes.probes[i] = {{}, 70 - i % 30, 1 + 5 * (i % 3), 12 + i};
        station(a.probes.probes[i].mac, 0x400 + i);
    }
    put(a.probes.s5, "wl0");
    a.blackList.v3 = 2;
    a.blackList.macsCount = 10;
    for (uint32_t i = 0; i < 10; ++i)
        station(a.blackList.macs[i].mac, 0x500 + i);
    a.ap = d.ap;
    a.apRet = {0, 1};
    a.backhaul.v3 = 1;
    put(a.backhaul.ssid, "HomeNet-Backhaul");
    a.backhaul.v5 = 4;
    put(a.backhaul.s6, "WPA2-PSK");
    put(a.backhaul.s7, "mesh-backhaul-key-0042");
    bssid(a.backhaul.mac, 0x20);
    bssTransitionActionFrame &f = a.transition.actionFrame;
    f.v3 = 7, f.v5 = 1, f.v6 = 1, f.v7 = 100;
    f.candidate = {0x8f, 1, "", 115, 115, 36, 255};
    bssid(f.candidate.mac, 0x11);
    f.candidatesCount = INTFVELMOR_BSS_CANDIDATES_MAX;
    for (uint32_t i = 0; i < INTFVELMOR_BSS_CANDIDATES_MAX; ++i) {
        f.candidates[i] = {0x8f, 1, "", 115, 115, (uint8_t)(36 + 4 * i), (uint8_t)(200 - 10 * i)};
        bssid(f.candidates[i].mac, 0x11 + i);
    }
    station(a.transition.mac, 2);
    a.transition.v5 = 1;
    station(a.transitionRet.mac, 2);
    beaconRequestCfg(a.beaconReq);
    a.beacon = d.beacon;
    put(a.ie.s3, "dd0700904c04180201");
    a.ie.v4 = 221, a.ie.v5 = 9;
    a.channels.load = {36, 80, 35, 12, 6, 41, 1, 0, 5180, -92};
    a.channels.channelsCount = 16;
    for (uint8_t i = 0; i < 16; ++i)
        a.channels.channels[i] = {(uint8_t)(36 + 4 * i), 80, 1, (uint16_t)(5180 + 20 * i), 23,
                                  17, 42, 1200, 300, 90, 15, (uint32_t)(2 + i)};
    a.cca = d.cca;
}

// The service: every handler answers at once.
#define HANDLER(X, ...) void hd_##X(void *ctx, uint32_t, ##__VA_ARGS__)
HANDLER(getAssocDevStats, assocDevListReq *) { ++g_handled, intfVelmor_sendRes_getAssocDevStats(ctx, &g_ans->info); }
HANDLER(selectAndCreateRadio, char *, RadioDef *) { ++g_handled, intfVelmor_sendRes_selectAndCreateRadio(ctx, &g_ans->capacity); }
HANDLER(createAccessPoint, char *, char *, char *) { ++g_handled, intfVelmor_sendRes_createAccessPoint(ctx, 0, &g_ans->apCapacity, "wl1.1"); }
HANDLER(getProbeRequestList) { ++g_handled, intfVelmor_sendRes_getProbeRequestList(ctx, &g_ans->probes); }
HANDLER(getTemporarilyBlackList) { ++g_handled, intfVelmor_sendRes_getTemporarilyBlackList(ctx, &g_ans->blackList); }
HANDLER(configureAccessPoint, APCfg *, uint8_t) { ++g_handled, intfVelmor_sendRes_configureAccessPoint(ctx, &g_ans->apRet); }
HANDLER(configureQTNBackHaulWPS, APBackHaulWPSCfg *) { ++g_handled, intfVelmor_sendRes_configureQTNBackHaulWPS(ctx, 0); }
HANDLER(temporarilyBlackList, char *, uint32_t) { ++g_handled, intfVelmor_sendRes_temporarilyBlackList(ctx, 0); }
HANDLER(11vActionFrame, bssTransitionRequest *) { ++g_handled, intfVelmor_sendRes_11vActionFrame(ctx, &g_ans->transitionRet); }
HANDLER(getStationsStatistics, assocDevListReq *) { ++g_handled, intfVelmor_sendRes_getStationsStatistics(ctx, &g_ans->info); }
HANDLER(beaconRequest, BeaconRequestCfg *) { ++g_handled, intfVelmor_sendRes_beaconRequest(ctx, &g_ans->beacon); }
HANDLER(setBeaconIETUK, BeaconIECfg *) { ++g_handled, intfVelmor_sendRes_setBeaconIETUK(ctx, 0); }
HANDLER(getChannelCreated) { ++g_handled, intfVelmor_sendRes_getChannelCreated(ctx, &g_ans->channels); }
HANDLER(getCCAStatistic) { ++g_handled, intfVelmor_sendRes_getCCAStatistic(ctx, &g_ans->cca); }
#undef HANDLER

// The client: every response callback counts.
template <class R>
void cbRecord(void *, uint32_t, R *) { ++g_answered; }
void cbStatus(void *, uint32_t, uint8_t) { ++g_answered; }
void cbCreated(void *, uint32_t, uint8_t, APCapacity *, char *) { ++g_answered; }

void *g_client;

void roundTripCases()
{
    refhost_reset();
    if (intfVelmor_initialize())
        fail("intfVelmor_initialize failed");
    g_client = refhost_newUser("client");
    void *wifi = refhost_newUser("wifi");
    for (void *u : {g_client, wifi})
        if (intfVelmor_regUser_msgMngt(u, 0, nullptr, INTFVELMOR_SEL_BOTH))
            fail("intfVelmor_regUser_msgMngt failed");
#define SERVE(idx, X, ...)                                                            \
    if (intfVelmor_modSrv_recvMsg_##X(wifi, refhost_token((refhost_fn)hd_##X), 0, 0))      \
        fail("modSrv_recvMsg_" #X " failed");
    IV_COMMANDS(SERVE)
#undef SERVE

    // One request, its answer, checked once here and counted in every iteration.
#define TRIP(X, cb, ...)                                                                    \
    do {                                                                                    \
        auto op = [] {                                                                      \
            benchmark::DoNotOptimize(                                                       \
                intfVelmor_sendReq_##X(g_client, cb, 0, 0, "wifi", ##__VA_ARGS__));         \
        };                                                                                  \
        uint32_t before = g_answered;                                                       \
        op();                                                                               \
        if (g_answered != before + 1 || refhost_stats().contextsOpen)                       \
            fail("round trip of " #X " did not complete");                                  \
        add("RoundTrip/" #X, 0, op);                                                        \
    } while (0)
    TRIP(getAssocDevStats, cbRecord<assocDevListRet>, &g_ans->stations);
    TRIP(selectAndCreateRadio, cbRecord<RadioCapacity>, "wifi1", &g_ans->radio);
    TRIP(createAccessPoint, cbCreated, "wifi1", "HomeNet-5G", "guest");
    TRIP(getProbeRequestList, cbRecord<ProbeRequestList>);
    TRIP(getTemporarilyBlackList, cbRecord<MacFilterList>);
    TRIP(configureAccessPoint, cbRecord<APCfgRet>, &g_ans->ap, 1);
    TRIP(configureQTNBackHaulWPS, cbStatus, &g_ans->backhaul);
    TRIP(temporarilyBlackList, cbStatus, "aa:bb:cc:dd:00:03", 300);
    TRIP(11vActionFrame, cbRecord<bssTransitionResponse>, &g_ans->transition);
    TRIP(getStationsStatistics, cbRecord<assocDevListRet>, &g_ans->stations);
    TRIP(beaconRequest, cbRecord<beaconReport>, &g_ans->beaconReq);
    TRIP(setBeaconIETUK, cbStatus, &g_ans->ie);
    TRIP(getChannelCreated, cbRecord<channelReport>);
    TRIP(getCCAStatistic, cbRecord<ccaStats>);
#undef TRIP
}

// Instruction counts: each case's batch collected alone and dumped under its name.
int icount(const char *filter, uint64_t n)
{
    for (const Case &c : registry()) {
        if (filter && !strstr(c.name.c_str(), filter))
            continue;
        c.loop(1);  // warm: first-touch and lazy binding stay out of the count
        std::string tag = c.name + " x" + std::to_string(n);
        CALLGRIND_TOGGLE_COLLECT;
        c.loop(n);
        CALLGRIND_TOGGLE_COLLECT;
        CALLGRIND_DUMP_STATS_AT(tag.c_str());
        printf("%s\n", tag.c_str());
    }
    return 0;
}

}  // namespace
}  // namespace bench

int main(int argc, char **argv)
{
    using namespace bench;
    auto d = std::make_unique<Data>();
    ccaStatistics(d->cca);
    stationInfo(d->assoc, INTFVELMOR_ASSOCDEV_MAX);
    accessPoint(d->ap);
    beaconReportOf(d->beacon, INTFVELMOR_BEACON_REPORT_MAX);
    bandSteering(d->bsd);
    g_data = d.get();
    auto bodies = std::make_unique<Bodies>();
    auto answers = std::make_unique<Answers>();
    buildAnswers(*answers, *d);
    g_ans = answers.get();

    codecCases(*d, *bodies);
    registerPeers();
    roundTripCases();

    if (argc > 1 && !strcmp(argv[1], "--icount"))
        return icount(argc > 2 ? argv[2] : nullptr, argc > 3 ? strtoull(argv[3], nullptr, 10) : 100);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
