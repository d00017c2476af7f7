// The demo's exchanges: what each body holds, and the handlers, callbacks,
// sends and checks, all made from the catalogue's rows. A command of the
// catalogue needs an answer() here (and a request() when its request has
// members); a notification needs a publication().
#include "tools/demo_kit.h"

#include <stdlib.h>
#include <string.h>

#include <type_traits>

#include "intfVelmor.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "tools/body_args.h"
#include "tools/describe_print.h"
#include "types/names.h"
#include "wire/bytes.h"

namespace demo {

const char *const kNames[kParties] = {"client", "wifi", "monitor"};

namespace {

// Message descriptions by name: CMD(getCCAStatistic), NTFY(beaconReport).
#define DEMO_CMD_INDEX(idx, X, ...) kCmd_##X = idx,
#define DEMO_NTFY_INDEX(idx, x, ...) kNtfy_##x = idx,
enum CmdIndex { IV_COMMANDS(DEMO_CMD_INDEX) kCmdCount };
enum NtfyIndex { IV_NOTIFICATIONS(DEMO_NTFY_INDEX) kNtfyCount };
static_assert(kCmdCount == INTFVELMOR_CMD_COUNT && kNtfyCount == INTFVELMOR_NTFY_COUNT,
              "one row per entry");
#define CMD(X) (*iv::kCommands[kCmd_##X])
#define NTFY(x) (*iv::kNotifications[kNtfy_##x])

constexpr uint32_t kFrameSize = 2 * iv::kScalar32Size;  // magic and stamp items

struct State {
    Options o;
    std::vector<Exchange> exchanges;
    int faults = 0;  // failed calls, unexpected crossings or deliveries
} g;

void check(uint32_t rc, const char *what)
{
    if (rc)
        fault(std::string(what) + " failed (" + std::to_string(rc) + ")");
}

const char *kindOf(const Exchange &e)
{
    return e.m->ntfy ? "notification" : e.type == iv::kReq ? "request" : "response";
}

template <class Body>
Body blank(const iv::MsgDesc &m)
{
    return ivb::blank<Body>(m.magic);
}

// The library's own serialization of a body, frame included.
std::vector<uint8_t> encode(const iv::MsgDesc &m, int32_t type, const void *body)
{
    const intfVelmor_entry &e =
        m.ntfy ? intfVelmor_base.ntfy.entries[m.index] : intfVelmor_base.cmd.entries[m.index];
    uint8_t *buf = nullptr;
    uint32_t len = 0;
    std::vector<uint8_t> out;
    if (e.serializeBody(type, const_cast<void *>(body), &buf, &len) == 0)
        out.assign(buf, buf + len);
    else
        fault(std::string("serializeBody of ") + m.name + " failed");
    free(buf);
    return out;
}

// One exchange of the plan: `body` is what the sender will hand to the library.
void expect(const iv::MsgDesc &m, int32_t type, Who from, Who to, const void *body)
{
    Exchange e;
    e.m = &m;
    e.type = type;
    e.from = from;
    e.to = to;
    e.sent = encode(m, type, body);
    g.exchanges.push_back(std::move(e));
}

std::string hex(const std::vector<uint8_t> &bytes)
{
    std::string out;
    for (uint8_t b : bytes) {
        out += "0123456789abcdef"[b >> 4];
        out += "0123456789abcdef"[b & 15];
    }
    return out;
}

void show(const Exchange &e, size_t seq, const void *body)
{
    const iv::TypeDesc *d = e.m->members[e.type];
    std::string out;
    if (g.o.json) {
        out = "{\"seq\":" + std::to_string(seq) + ",\"message\":\"" + e.m->name +
              "\",\"kind\":\"" + kindOf(e) + "\",\"from\":\"" + kNames[e.from] + "\",\"to\":\"" +
              kNames[e.to] + "\",\"bodyType\":" + std::to_string(e.type) +
              ",\"size\":" + std::to_string(e.wire.size()) + ",\"bytes\":\"" + hex(e.wire) +
              "\",\"values\":";
        if (d)
            ivtool::printJson(out, *d, body);
        else
            out += "{}";
        out += std::string(",\"exact\":") + (e.exact ? "true" : "false") + "}\n";
    } else {
        char head[256];
        snprintf(head, sizeof head, "#%zu %s %s  %s -> %s  %zu bytes\n", seq, e.m->name, kindOf(e),
                 kNames[e.from], kNames[e.to], e.wire.size());
        out = head;
        ivtool::hexDump(out, e.wire.data(), (uint32_t)e.wire.size(), 4);
        if (d && ivtool::printTree(out, *d, body, kFrameSize, 4) != e.wire.size())
            fault(std::string("printed offsets of ") + e.m->name + " do not end at " +
                  std::to_string(e.wire.size()));
        else if (!d)
            out += "    (no members)\n";
        out += e.exact ? "    delivered exactly\n\n" : "    NOT AS SENT\n\n";
    }
    fputs(out.c_str(), stdout);
}

// A handler or callback got `body` (its arguments put back in body layout).
void received(const iv::MsgDesc &m, int32_t type, uint32_t ref, const void *body)
{
    for (size_t i = 0; i < g.exchanges.size(); ++i) {
        Exchange &e = g.exchanges[i];
        if (e.m != &m || e.type != type || e.to != ref || !e.traced || e.deliveries)
            continue;
        e.deliveries++;
        e.exact = !e.sent.empty() && e.wire == e.sent && encode(m, type, body) == e.sent;
        if (g.o.bytes)
            fprintf(g.o.bytes, "%s %s %s %s %s\n", m.name, kindOf(e), kNames[e.from], kNames[e.to],
                    hex(e.wire).c_str());
        if (!g.o.quiet)
            show(e, i + 1, body);
        return;
    }
    fault(std::string("unexpected delivery of ") + m.name + " to " +
          (ref < kParties ? kNames[ref] : "?"));
}

// ---- made-up content ------------------------------------------------------------------

template <size_t N>
void put(char (&dst)[N], const std::string &s)
{
    snprintf(dst, N, "%s", s.c_str());
}

// Station addresses aa:bb:cc:dd:ee:NN, access-point addresses 00:11:22:33:44:NN.
std::string address(const char *prefix, unsigned n)
{
    char b[24];
    snprintf(b, sizeof b, "%s:%02x", prefix, n & 0xffu);
    return b;
}
std::string station(unsigned n) { return address("aa:bb:cc:dd:ee", n); }
std::string bssid(unsigned n) { return address("00:11:22:33:44", n); }

void stationList(assocDevListReq &r, uint32_t n)
{
    r.devicesCount = n;
    for (uint32_t i = 0; i < n; ++i) {
        put(r.devices[i].mac, station(i + 1));
        r.devices[i].v4 = (uint8_t)(i % 2);  // band: 0 2.4 GHz, 1 5 GHz
    }
}

void stationInfo(assocDevListRet &r, const assocDevListReq &q)
{
    static const char *const hosts[] = {"pixel-7", "laptop-anna", "tv-livingroom"};
    r.devicesCount = q.devicesCount;
    for (uint32_t i = 0; i < q.devicesCount && i < INTFVELMOR_ASSOCDEV_MAX; ++i) {
        assocDevInfo &d = r.devices[i];
        put(d.mac, q.devices[i].mac);
        d.v4 = q.devices[i].v4, d.v5 = 2;
        d.v6 = 866700 - 144000 * i, d.v7 = 520000;  // rates, kbit/s
        d.v8 = (int16_t)(-48 - 9 * (int)i), d.v9 = -95;  // signal and noise, dBm
        d.v10 = 3600 + 420 * i;  // seconds associated
        d.v11 = 20, d.v12 = -3;
        put(d.s13, i % 2 ? "ac" : "ax");
        d.v14 = 2, d.v15 = 1, d.v16 = 80, d.v17 = -61;
        put(d.s18, hosts[i % 3]);
        put(d.s19, "HomeNet");
        d.v20 = 1;
        put(d.s21, "192.168.1." + std::to_string(20 + i));
        put(d.s22, "wl" + std::to_string(d.v4));
        d.v23 = 4812345678ull + 1000000ull * i, d.v24 = 912345678ull;  // bytes
        d.v25 = 3456789, d.v26 = 1234567;                               // packets
        d.v27 = 12, d.v28 = 3, d.v29 = 0, d.v30 = 7, d.v31 = 1;
        d.stats = {5123456789ull, 1023456789ull, 4012345, 1534567, 17, 4, 0, 2, 99};
        d.v33 = 1, d.v34 = 0, d.v35 = 1;
        put(d.s36, "WPA2-PSK");
        d.v37 = 1, d.v38 = 1, d.v39 = 0, d.v40 = 3;
    }
}

// ---- the client's requests: one request() per command whose request has members -------

// A request without members has nothing to fill; one with members has its
// own request() below, and the compiler asks for it when it is missing.
template <class Req>
constexpr unsigned kRequestMembers = 0;
#define IV_ONE_MORE(i, T, name) +1
#define IV_REQUEST_MEMBERS(idx, X, entryName, magic, stamp, magicName, req, res) \
    template <>                                                                  \
    constexpr unsigned kRequestMembers<ivReq_##X> = 0 IV_EACH(IV_ONE_MORE, req);
IV_COMMANDS(IV_REQUEST_MEMBERS)
#undef IV_REQUEST_MEMBERS
#undef IV_ONE_MORE

template <class Req, std::enable_if_t<kRequestMembers<Req> == 0, int> = 0>
void request(Req &)
{
}

void request(ivReq_getAssocDevStats &q) { stationList(q.req, 2); }

void request(ivReq_selectAndCreateRadio &q)
{
    put(q.text, "wifi1");
    put(q.radio.s3, "5GHz");
    put(q.radio.mac, bssid(0x10));
    q.radio.v5 = -1;  // any free slot
}

void request(ivReq_createAccessPoint &q)
{
    put(q.text1, "wifi1"), put(q.text2, "HomeNet-5G"), put(q.text3, "guest");
}

void request(ivReq_configureAccessPoint &q)
{
    APCfg &c = q.cfg;
    put(c.ssid, "HomeNet-5G");
    c.v4 = 1, c.v5 = 0, c.v6 = 1, c.v7 = 32;
    c.apSecCfg.v3 = 4;
    put(c.apSecCfg.s4, "WPA2-Personal");
    put(c.apSecCfg.key, "correct horse battery staple");
    put(c.apSecCfg.s6, "AES");
    c.apSecCfg.v7 = 3600;
    put(c.apSecCfg.ip1, "192.168.1.2");
    c.apSecCfg.v9 = 1812;
    put(c.apSecCfg.s10, "radius-secret");
    c.apSecCfg.v26 = 1;
    c.apWpsCfg.v3 = 1, c.apWpsCfg.v4 = 0, c.apWpsCfg.v5 = 0x0680, c.apWpsCfg.v6 = 2;
    put(c.apWpsCfg.pin, "12345670");
    c.apWpsCfg.v8 = 120;
    put(c.apWpsCfg.s9, "Home Gateway");
    c.v10 = 1;
    c.apAccCfg.v3 = 1;
    put(c.apAccCfg.s4, "192.168.1.1");
    put(c.apAccCfg.s5, "255.255.255.0");
    put(c.s12, "wl1"), put(c.s13, "br-lan"), put(c.s14, "wl1.1"), put(c.s15, "br-guest");
    c.v16 = 1, c.v22 = 2346, c.v23 = 100;
    c.macFilterList.v3 = 1;  // allow list
    c.macFilterList.macsCount = 2;
    put(c.macFilterList.macs[0].mac, station(0x01));
    put(c.macFilterList.macs[1].mac, station(0x02));
    c.radioMeasurements.beaconRequestsCap = {1, 1, 0};
    q.value = 1;  // apply now
}

void request(ivReq_configureQTNBackHaulWPS &q)
{
    q.cfg.v3 = 1;
    put(q.cfg.ssid, "HomeNet-Backhaul");
    q.cfg.v5 = 4;
    put(q.cfg.s6, "WPA2-PSK"), put(q.cfg.s7, "mesh-backhaul-key-0042");
    put(q.cfg.mac, bssid(0x20));
}

void request(ivReq_temporarilyBlackList &q)
{
    put(q.mac, station(0x03));
    q.value = 300;  // seconds
}

void request(ivReq_11vActionFrame &q)
{
    bssTransitionActionFrame &f = q.req.actionFrame;
    f.v3 = 7, f.v4 = 0, f.v5 = 1, f.v6 = 1, f.v7 = 100, f.v8 = 0;
    f.candidate = {0x8f, 1, "", 115, 115, 36, 255};
    put(f.candidate.mac, bssid(0x11));
    f.candidatesCount = 2;
    for (uint32_t i = 0; i < 2; ++i) {
        f.candidates[i] = {0x8f, 1, "", 115, 115, (uint8_t)(36 + 4 * i), (uint8_t)(200 - 50 * i)};
        put(f.candidates[i].mac, bssid(0x11 + i));
    }
    put(q.req.mac, station(0x02));
    q.req.v5 = 1, q.req.v6 = 0;
}

void request(ivReq_getStationsStatistics &q) { stationList(q.req, 3); }

void request(ivReq_beaconRequest &q)
{
    BeaconRequestCfg &b = q.req;
    put(b.actionFrameCfg.mac, station(0x01));
    b.actionFrameCfg.v4 = 1, b.actionFrameCfg.v5 = 0;
    b.radioMeasurementRequestCfg = {0, 0};
    b.measurementRequestCfg = {1, 0};
    b.v6 = 115, b.v7 = 255, b.v8 = 50;
    b.apsCount = 2;
    for (uint8_t i = 0; i < 2; ++i) {
        b.aps[i].v3 = 115, b.aps[i].v4 = 36u + 4u * i;
        put(b.aps[i].mac, bssid(0x11 + i));
        put(b.aps[i].s6, i ? "Neighbour-5G" : "HomeNet-5G");
    }
}

void request(ivReq_setBeaconIETUK &q)
{
    put(q.req.s3, "dd0700904c04180201");
    q.req.v4 = 221, q.req.v5 = 9;
}

// ---- the service's answers: one answer() per command ----------------------------------
// `out` is zero-filled: a status of 0 means done.

void answer(const ivReq_getAssocDevStats &in, ivRes_getAssocDevStats &out)
{
    stationInfo(out.res, in.req);
}

void answer(const ivReq_selectAndCreateRadio &, ivRes_selectAndCreateRadio &out)
{
    RadioCapacity &c = out.res;
    put(c.s3, "wifi1");
    c.v4 = 5180, c.v5 = 4, c.v6 = 4;  // MHz, spatial streams
    put(c.s7, "802.11a/n/ac/ax dual-band radio, 4x4 MU-MIMO");
    put(c.s9, "FR");
    c.v8 = 1, c.v10 = 1, c.v11 = 2402000;
    c.v12 = 1, c.v13 = 1, c.v14 = 0, c.v15 = 1, c.v16 = 1, c.v17 = 0;
    c.v18 = 23, c.v19 = 1, c.v20 = 160;  // dBm, MHz
    const uint32_t widths[] = {20, 40, 80};
    const uint32_t channels[] = {36, 40, 44, 48, 52, 56, 60, 64};
    c.radioChannelCapabilities.bandwidthsCount = 3;
    for (uint32_t b = 0; b < 3; ++b) {
        RadioChannelCapabilitiesPerBandwidth &w = c.radioChannelCapabilities.bandwidths[b];
        w.v3 = widths[b];
        w.valuesCount = 8u >> b;
        for (uint32_t k = 0; k < w.valuesCount; ++k)
            w.values[k] = channels[k << b];
    }
}

void answer(const ivReq_createAccessPoint &, ivRes_createAccessPoint &out)
{
    put(out.capacity.mac, bssid(0x11));
    out.capacity.v4 = 1, out.capacity.v5 = 8, out.capacity.v6 = 64, out.capacity.v7 = 1,
    out.capacity.v8 = 128;
    put(out.text, "wl1.1");
}

void answer(const ivReq_getProbeRequestList &, ivRes_getProbeRequestList &out)
{
    out.res.probesCount = 3;
    for (uint32_t i = 0; i < 3; ++i) {
        put(out.res.probes[i].mac, station(0x40 + i));
        out.res.probes[i].v4 = 70 - 8 * i;  // RSSI magnitude
        out.res.probes[i].v5 = 1 + 5 * i;   // channel
        out.res.probes[i].v6 = 12 + i;      // seconds ago
    }
    put(out.res.s5, "wl0");
}

void answer(const ivReq_getTemporarilyBlackList &, ivRes_getTemporarilyBlackList &out)
{
    out.res.v3 = 2;  // deny list
    out.res.macsCount = 2;
    put(out.res.macs[0].mac, station(0x03));
    put(out.res.macs[1].mac, station(0x0b));
}

void answer(const ivReq_configureAccessPoint &, ivRes_configureAccessPoint &out)
{
    out.res.v3 = 0, out.res.v4 = 1;  // applied, restart needed
}

void answer(const ivReq_configureQTNBackHaulWPS &, ivRes_configureQTNBackHaulWPS &) {}

void answer(const ivReq_temporarilyBlackList &, ivRes_temporarilyBlackList &) {}

void answer(const ivReq_11vActionFrame &in, ivRes_11vActionFrame &out)
{
    out.res.v3 = 0;  // accepted
    put(out.res.mac, in.req.mac);
}

void answer(const ivReq_getStationsStatistics &in, ivRes_getStationsStatistics &out)
{
    stationInfo(out.res, in.req);
}

void answer(const ivReq_beaconRequest &in, ivRes_beaconRequest &out)
{
    const BeaconRequestCfg &req = in.req;
    beaconReport &r = out.res;
    r.timestamp = {1718100000123ull, 250};
    put(r.mac, req.actionFrameCfg.mac);
    r.eltsCount = req.apsCount;
    for (uint32_t i = 0; i < r.eltsCount && i < INTFVELMOR_BEACON_REPORT_MAX; ++i) {
        beaconReportElt &e = r.elts[i];
        e.v3 = 115;  // operating class
        put(e.mac, req.aps[i].mac);
        e.v5 = (uint8_t)(36 + 4 * i), e.v6 = 0, e.v7 = 50;
        e.v8 = (uint8_t)(140 - 12 * i), e.v9 = 60, e.v10 = 1;
        e.v11 = 3000 + i;
        e.extraBeaconReportElt.v3 = 0, e.extraBeaconReportElt.v4 = 20;
        put(e.extraBeaconReportElt.s5, req.aps[i].s6);
    }
}

void answer(const ivReq_setBeaconIETUK &, ivRes_setBeaconIETUK &) {}

void answer(const ivReq_getChannelCreated &, ivRes_getChannelCreated &out)
{
    channelReport &r = out.res;
    r.load = {36, 80, 35, 12, 6, 41, 1, 0, 5180, -92};
    r.channelsCount = 3;
    for (uint8_t i = 0; i < 3; ++i)
        r.channels[i] = {(uint8_t)(36 + 4 * i), 80, 1, (uint16_t)(5180 + 20 * i), 23, 17, 42,
                         1200, 300, 90, 15, (uint32_t)(2 + i)};
}

void answer(const ivReq_getCCAStatistic &, ivRes_getCCAStatistic &out)
{
    out.res = {1000, 412, 233, 97, 36};  // busy, rx, tx, interference (ms), channel
}

// ---- the service's notifications: one publication() per notification ------------------

void publication(ivNtfy_meshTUKExtenderPairing &n)
{
    n.value = 1;  // extender paired
}

void publication(ivNtfy_meshTUKClientsLowRSSI &n)
{
    put(n.ntfy.mac, station(0x04));
    n.ntfy.v4 = -82;
}

void publication(ivNtfy_beaconReport &n)
{
    put(n.mac, station(0x01));
    n.value1 = -62, n.value2 = 3;
}

// ---- everything else, from the catalogue ----------------------------------------------

// Per command: the plan's two exchanges; the client's send and response
// callback; the service's handler, which answers at once.
#define DEMO_COMMAND(idx, X, entry, magic, stamp, magicName, req, res)                        \
    void plan_##X()                                                                           \
    {                                                                                         \
        auto q = blank<ivReq_##X>(CMD(X));                                                    \
        request(q);                                                                           \
        expect(CMD(X), iv::kReq, kClient, kWifi, &q);                                         \
        auto r = blank<ivRes_##X>(CMD(X));                                                    \
        answer(q, r);                                                                         \
        expect(CMD(X), iv::kRes, kWifi, kClient, &r);                                         \
    }                                                                                         \
    void cb_##X(void *, uint32_t ref IV_EACH(IVB_PARAM, res))                                 \
    {                                                                                         \
        auto b = blank<ivRes_##X>(CMD(X));                                                    \
        IV_EACH(IVB_TAKE, res)                                                                \
        received(CMD(X), iv::kRes, ref, &b);                                                  \
    }                                                                                         \
    void send_##X(void *client)                                                               \
    {                                                                                         \
        auto b = blank<ivReq_##X>(CMD(X));                                                    \
        request(b);                                                                           \
        check(intfVelmor_sendReq_##X(client, cb_##X, kClient, 0, kService IV_EACH(IVB_GIVE, req)), \
              "sendReq_" #X);                                                                 \
    }                                                                                         \
    void respond_##X(void *ctx, const ivReq_##X &q)                                           \
    {                                                                                         \
        auto b = blank<ivRes_##X>(CMD(X));                                                    \
        answer(q, b);                                                                         \
        intfVelmor_sendRes_##X(ctx IV_EACH(IVB_GIVE, res));                                   \
    }                                                                                         \
    void hd_##X(void *ctx, uint32_t ref IV_EACH(IVB_PARAM, req))                              \
    {                                                                                         \
        auto b = blank<ivReq_##X>(CMD(X));                                                    \
        IV_EACH(IVB_TAKE, req)                                                                \
        received(CMD(X), iv::kReq, ref, &b);                                                  \
        respond_##X(ctx, b);                                                                  \
    }                                                                                         \
    static_assert(std::is_same_v<decltype(&hd_##X), intfVelmor_hdlReq_##X>, #X " handler");
IV_COMMANDS(DEMO_COMMAND)

// Per notification: the plan's exchanges (one per subscriber), the
// service's publication and the subscribers' handler.
#define DEMO_NOTIFICATION(idx, x, X, entry, magic, stamp, magicName, members)                 \
    void plan_##x()                                                                           \
    {                                                                                         \
        auto n = blank<ivNtfy_##x>(NTFY(x));                                                  \
        publication(n);                                                                       \
        for (Who w : kSubscribers)                                                            \
            expect(NTFY(x), iv::kReq, kWifi, w, &n);                                          \
    }                                                                                         \
    void publish_##x(void *wifi)                                                              \
    {                                                                                         \
        auto b = blank<ivNtfy_##x>(NTFY(x));                                                  \
        publication(b);                                                                       \
        intfVelmor_sendReq_ntfy##X(wifi, 0, 0 IV_EACH(IVB_GIVE, members));                    \
    }                                                                                         \
    void on_##x(void *, uint32_t ref IV_EACH(IVB_PARAM, members))                             \
    {                                                                                         \
        auto b = blank<ivNtfy_##x>(NTFY(x));                                                  \
        IV_EACH(IVB_TAKE, members)                                                            \
        received(NTFY(x), iv::kReq, ref, &b);                                                 \
    }                                                                                         \
    static_assert(std::is_same_v<decltype(&on_##x), intfVelmor_hdlNtfy_##x>, #x " handler");
IV_NOTIFICATIONS(DEMO_NOTIFICATION)

}  // namespace

// ---- the kit's functions --------------------------------------------------------------

void plan(const Options &o)
{
    g.o = o;
    g.exchanges.clear();
#define DEMO_PLAN_CMD(idx, X, ...) plan_##X();
#define DEMO_PLAN_NTFY(idx, x, ...) plan_##x();
    IV_COMMANDS(DEMO_PLAN_CMD)
    IV_NOTIFICATIONS(DEMO_PLAN_NTFY)
}

std::vector<Exchange> &exchanges() { return g.exchanges; }

std::string opening(const char *where)
{
    return std::string("The Wi-Fi service \"") + kNames[kWifi] + "\", a client \"" +
           kNames[kClient] + "\" and a subscriber \"" + kNames[kMonitor] + "\" " + where +
           ": the client sends the " + std::to_string(kCmdCount) +
           " commands and the service answers each, then publishes the " +
           std::to_string(kNtfyCount) + " notifications to both subscribers. Each of the " +
           std::to_string(g.exchanges.size()) +
           " crossings below shows the bytes that crossed and the values the receiver got.";
}

uint32_t serve(void *wifi, TokenFn token)
{
    uint32_t first = 0;
    auto keep = [&first](uint32_t rc) {
        if (rc && !first)
            first = rc;
    };
#define DEMO_SERVE(idx, X, ...)                                                               \
    keep(intfVelmor_modSrv_recvMsg_##X(wifi, token(reinterpret_cast<Handler>(hd_##X)), kWifi, 0));
    IV_COMMANDS(DEMO_SERVE)
    // The service is the publisher of beacon reports.
    keep(intfVelmor_modSrv_needUpdate_ntfyBeaconReport(wifi, 0, 0, 0));
    return first;
}

uint32_t subscribe(void *user, Who who, TokenFn token)
{
    uint32_t first = 0;
    auto keep = [&first](uint32_t rc) {
        if (rc && !first)
            first = rc;
    };
#define DEMO_SUBSCRIBE(idx, x, ...)                                                           \
    keep(intfVelmor_modCliNtfyUser_recvMsg_##x(user, token(reinterpret_cast<Handler>(on_##x)), \
                                               who, 0, kService, nullptr));
    IV_NOTIFICATIONS(DEMO_SUBSCRIBE)
    return first;
}

void sendCommands(void *client)
{
#define DEMO_SEND(idx, X, ...) send_##X(client);
    IV_COMMANDS(DEMO_SEND)
}

void publish(void *wifi)
{
#define DEMO_PUBLISH(idx, x, ...) publish_##x(wifi);
    IV_NOTIFICATIONS(DEMO_PUBLISH)
}

Who partyOf(const char *name)
{
    for (uint32_t w = 0; w < kParties; ++w)
        if (name && !strcmp(name, kNames[w]))
            return (Who)w;
    return kParties;
}

bool observed(const iv::MsgDesc &m, int32_t type, const char *from, const char *to,
              const uint8_t *bytes, uint32_t length)
{
    Who src = partyOf(from), dst = partyOf(to);
    for (Exchange &e : g.exchanges)
        if (!e.traced && e.m == &m && e.type == type && e.to == dst &&
            (!from || e.from == src)) {
            e.traced = true;
            e.wire.assign(bytes, bytes + length);
            return true;
        }
    fault(std::string("unexpected crossing of ") + m.name + " to " + (to ? to : "?"));
    return false;
}

static bool mine(const std::vector<Who> &parties, Who w)
{
    for (Who p : parties)
        if (p == w)
            return true;
    return false;
}

size_t pending(const std::vector<Who> &parties)
{
    size_t n = 0;
    for (const Exchange &e : g.exchanges)
        if (mine(parties, e.to) && !e.deliveries)
            n++;
    return n;
}

void fault(const std::string &what)
{
    fprintf(stderr, "intfvelmor_demo: %s\n", what.c_str());
    g.faults++;
}

int faults() { return g.faults; }

int finish(const std::vector<Who> &parties, uint32_t bodiesHeld, uint32_t contextsOpen)
{
    size_t n = 0, exact = 0;
    for (const Exchange &e : g.exchanges) {
        if (!mine(parties, e.to))
            continue;
        n++;
        if (e.exact)
            exact++;
        else
            fault(std::string(e.m->name) + " " + kindOf(e) + " to " + kNames[e.to] +
                  (e.deliveries ? " not as sent" : " not delivered"));
    }
    if (bodiesHeld || contextsOpen)
        fault("leak: " + std::to_string(bodiesHeld) + " bodies held, " +
              std::to_string(contextsOpen) + " contexts open");
    if (g.o.json)
        printf("{\"summary\":\"%zu exchanges, %zu delivered exactly\",\"exchanges\":%zu,"
               "\"deliveredExactly\":%zu,\"bodiesHeld\":%u,\"contextsOpen\":%u,\"faults\":%d}\n",
               n, exact, n, exact, bodiesHeld, contextsOpen, g.faults);
    else
        printf("%zu exchanges, %zu delivered exactly\n", n, exact);
    fflush(stdout);
    return exact == n && g.faults == 0 ? 0 : 1;
}

}  // namespace demo
