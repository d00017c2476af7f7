// Threads against the library. Workers run record operations and body
// callbacks on data of their own, all at once; senders send requests and
// notifications while the event loop's thread takes the interface down
// (event 0) and up again (intfVelmor_addBase). Built with ThreadSanitizer,
// which reports any data race; the results are checked here on every build.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "base/log.h"
#include "intfVelmor.h"
#include "tolkRefHost.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Lines = std::vector<std::string>;

constexpr unsigned kWorkers = 4, kSenders = 2;
constexpr unsigned kRounds = 400;       // per worker
constexpr unsigned kSends = 1000;       // per sender at least, and until the cycles end
constexpr unsigned kCycles = 150;       // down and up again

std::atomic<unsigned> gFailures{0}, gOps{0};

void failed(int line, const char *what)
{
    if (gFailures++ < 20)
        fprintf(stderr, "concurrency_test.cpp:%d: %s\n", line, what);
}
#define CHECK(cond) ((cond) ? (void)0 : failed(__LINE__, #cond))

// Lines are kept by the thread that logs them, which checks them itself;
// "[INTFVELMOR] -> fn(line): text" is kept as "fn: text".
thread_local Lines tLines;
void keep(int, const char *line)
{
    std::string l = line;
    size_t fn = l.find("-> ") + 3, open = l.find('(', fn), close = l.find("): ", open);
    tLines.push_back(l.substr(fn, open - fn) + l.substr(close + 1));
}

Lines taken()
{
    Lines l;
    l.swap(tLines);
    return l;
}

std::string at(const void *p)
{
    char b[32];
    snprintf(b, sizeof b, "%p", p);
    return b;
}

void put32(Bytes &b, uint32_t w)
{
    for (int s = 24; s >= 0; s -= 8)
        b.push_back((uint8_t)(w >> s));
}
Bytes operator+(Bytes a, const Bytes &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}
Bytes item(uint32_t tag, uint32_t value, uint32_t len = 4)
{
    Bytes b;
    put32(b, tag), put32(b, len), put32(b, value);
    return b;
}
Bytes text(uint32_t tag, const std::string &t)
{
    Bytes b;
    put32(b, tag), put32(b, (((uint32_t)t.size() + 1) & ~3u) + 4);
    b.insert(b.end(), t.begin(), t.end());
    b.resize(b.size() + (((t.size() + 1) & ~3u) + 4 - t.size()), 0);
    return b;
}

// Serialize, unserialize into a blank record, serialize again: same bytes.
template <class T>
void roundTrip(const T &rec, uint32_t (*lg)(const T *), uint32_t (*ser)(const T *, uint8_t **),
               uint32_t (*unser)(T *, const uint8_t **))
{
    Bytes a(lg(&rec));
    uint8_t *p = a.data();
    CHECK(ser(&rec, &p) == 0 && p == a.data() + a.size());
    T back;
    memset(&back, 0, sizeof back);
    const uint8_t *q = a.data();
    CHECK(unser(&back, &q) == 0 && q == a.data() + a.size());
    Bytes b(lg(&back));
    p = b.data();
    CHECK(ser(&back, &p) == 0 && a == b);
    gOps++;
}
#define ROUND_TRIP(T, rec)                                                                  \
    roundTrip<T>(rec, intfVelmor_##T##_serialize_lg, intfVelmor_##T##_serialize,            \
                 intfVelmor_##T##_unserialize)

template <class T>
void refused(const Bytes &b, uint32_t (*unser)(T *, const uint8_t **), const Lines &want)
{
    T rec;
    memset(&rec, 0, sizeof rec);
    const uint8_t *p = b.data();
    CHECK(unser(&rec, &p) == 4);
    CHECK(taken() == want);
    gOps++;
}

// A body through its entry's callbacks: read, written back the same, freed.
void bodyTrip(const intfVelmor_entry &e, int32_t type, const Bytes &b)
{
    void *body = nullptr;
    uint32_t size = 0;
    CHECK(e.unserializeBody(type, b.data(), &body, &size) == 0 && body);
    uint8_t *out = nullptr;
    uint32_t len = 0;
    CHECK(e.serializeBody(type, body, &out, &len) == 0 && Bytes(out, out + len) == b);
    free(out);
    e.freeBody(type, body);
    gOps++;
}

void worker(unsigned id)
{
    const std::string mac(17, (char)('a' + id));  // fills a char[18]
    const intfVelmor_entry *cmd = intfVelmor_base.cmd.entries;
    const intfVelmor_entry *ntfy = intfVelmor_base.ntfy.entries;
    for (unsigned r = 0; r < kRounds; ++r) {
        ccaStats cca{id, r, 3, 4, 5};
        AftSta sta{id, r, 0xFFFFFFFF, {}};
        memcpy(sta.mac, mac.c_str(), 18);
        Timestamp ts{(uint64_t)r << 33 | id, r};
        AftConfig cfg{};
        cfg.v3 = r;
        cfg.stationsCount = 3;
        for (int i = 0; i < 3; ++i)
            cfg.stations[i] = sta;
        RadioDef def{"radio0", {}, -5};
        memcpy(def.mac, mac.c_str(), 18);
        ROUND_TRIP(ccaStats, cca);
        ROUND_TRIP(AftSta, sta);
        ROUND_TRIP(Timestamp, ts);
        ROUND_TRIP(AftConfig, cfg);
        ROUND_TRIP(RadioDef, def);

        // A text one too long for its field, and a length that would step back.
        Bytes tooLong = item(3, 1) + item(4, 2) + item(5, 3) + text(6, mac + "x");
        refused(tooLong, intfVelmor_AftSta_unserialize,
                {"intfVelmor_AftSta_unserialize: lgChainIn(19) lgMaxChainOut(18)\n"});
        Bytes back = item(3, 1) + item(4, 2) + item(5, 3, 0xFFFFFFF8) + item(6, 4) + item(7, 5);
        std::string base = "intfVelmor_ccaStats_unserialize: pBody(" + at(back.data()) + "): ";
        refused(back, intfVelmor_ccaStats_unserialize,
                {base + "Tl(5-4294967288) -> Beyond end\n", base + "Type(6) -> Error Before\n",
                 base + "Type(7) -> Error Before\n"});

        // getCCAStatistic's response, temporarilyBlackList's request,
        // beaconReport's notification; then a request refused.
        bodyTrip(cmd[13], 1, item(0, 0x29190165) + item(1, 0) + item(3, id) + item(4, r) +
                                 item(5, 3) + item(6, 4) + item(7, 5));
        bodyTrip(cmd[7], 0, item(0, 0x20171010) + item(1, 1) + text(3, mac) + item(4, r));
        bodyTrip(ntfy[2], 0, item(0, 0x24582563) + item(1, 0) + text(3, mac) +
                                 item(4, 0xFFFFFFFB) + item(5, 7));
        Bytes req = item(0, 0x20171010) + item(1, 1) + text(3, mac + "x") + item(4, r);
        void *body = nullptr;
        uint32_t size = 0;
        CHECK(cmd[7].unserializeBody(0, req.data(), &body, &size) == 4 && !body);
        std::string fn = "intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmdReq_temporarilyBlackList";
        Lines want{fn + ": lgChainIn(19) lgMaxChainOut(18)\n",
                   fn + ": pBody(" + at(req.data()) + "): Type(4) -> Error Before\n"};
        CHECK(taken() == want);
        gOps++;
    }
}

std::atomic<unsigned> gAnswered{0}, gNotified{0}, gSends{0}, gSent{0}, gDown{0}, gOther{0};
std::atomic<bool> gCycling{true};

void onRequest(void *ctx, uint32_t)
{
    ccaStats s{1, 2, 3, 4, 5};
    intfVelmor_sendRes_getCCAStatistic(ctx, &s);
}
void onResponse(void *, uint32_t, ccaStats *res)
{
    CHECK(res && res->v7 == 5);
    gAnswered++;
}
void onNotification(void *, uint32_t, char *mac, int8_t v1, int8_t v2)
{
    CHECK(strcmp(mac, "00:11:22:33:44:55") == 0 && v1 == -1 && v2 == 2);
    gNotified++;
}

template <class F>
uint32_t token(F *fn)
{
    return refhost_token(reinterpret_cast<refhost_fn>(fn));
}

void sender(void *client, void *srv)
{
    for (unsigned i = 0; i < kSends || gCycling; ++i) {
        gSends++;
        uint32_t rc = intfVelmor_sendReq_getCCAStatistic(client, onResponse, i, 0, "wifi");
        // While the interface is down the request carries no known management;
        // the event loop's thread is let through to bring it up again.
        (rc == 0 ? gSent : rc == REFHOST_ERR_MNGT ? gDown : gOther)++;
        if (rc == REFHOST_ERR_MNGT)
            std::this_thread::yield();
        intfVelmor_sendReq_ntfyBeaconReport(srv, i, 0, "00:11:22:33:44:55", -1, 2);
    }
}

}  // namespace

int main()
{
    iv::setLogSink(keep);
    refhost_reset();
    CHECK(intfVelmor_initialize() == 0);
    void *client = refhost_newUser("client"), *srv = refhost_newUser("wifi");
    CHECK(intfVelmor_regUser_msgMngt(client, 0, nullptr, INTFVELMOR_SEL_BOTH) == 0);
    CHECK(intfVelmor_regUser_msgMngt(srv, 0, nullptr, INTFVELMOR_SEL_BOTH) == 0);
    CHECK(intfVelmor_modSrv_recvMsg_getCCAStatistic(srv, token(onRequest), 0, 0) == 0);
    CHECK(intfVelmor_modCliNtfyUser_recvMsg_beaconReport(client, token(onNotification), 0, 0,
                                                         "bus", nullptr) == 0);

    std::vector<std::thread> threads;
    for (unsigned i = 0; i < kWorkers; ++i)
        threads.emplace_back(worker, i);
    for (unsigned i = 0; i < kSenders; ++i)
        threads.emplace_back(sender, client, srv);
    threads.emplace_back([] {
        for (unsigned i = 0; i < kCycles; ++i) {
            refhost_deliverEvent(0);
            std::this_thread::yield();
            CHECK(intfVelmor_addBase() == 0);
        }
        gCycling = false;
    });
    for (std::thread &t : threads)
        t.join();

    refhost_statsInfo st = refhost_stats();
    CHECK(gOther == 0 && gSent + gDown == gSends);
    CHECK(gAnswered == gSent);
    CHECK(st.bodiesHeld == 0 && st.contextsOpen == 0);
    CHECK(intfVelmor_getCmdIntfNum() != INTFVELMOR_MNGT_NONE);
    refhost_reset();
    printf("%zu threads: %u record and body operations, %u sends (%u answered, %u while down), "
           "%u notifications delivered, %u down-up cycles; %u failed checks\n",
           threads.size(), gOps.load(), gSends.load(), gAnswered.load(), gDown.load(),
           gNotified.load(), kCycles, gFailures.load());
    return gFailures ? 1 : 0;
}
