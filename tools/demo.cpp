// intfvelmor_demo: the Wi-Fi service "wifi", a client "client" and a second
// subscriber "monitor" talk through the library on the reference host. The
// client sends all fourteen commands, the service answers each and publishes
// the three notifications to both subscribers.
//
// Every crossing is printed (message, direction, body type, size, bytes, and
// the values as the receiving handler got them) and checked: the bytes that
// crossed must be the library's serialization of what the sender gave, and
// the receiver's values must serialize to the same bytes.
//
//   intfvelmor_demo [--json] [--quiet]
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include "intfVelmor.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "tolkRefHost.h"
#include "types/names.h"
#include "tools/describe_print.h"
#include "wire/bytes.h"

namespace {

// Message descriptions by name: CMD(getCCAStatistic), NTFY(beaconReport).
#define IV_DEMO_CMD(idx, X, ...) kCmd_##X = idx,
#define IV_DEMO_NTFY(idx, x, ...) kNtfy_##x = idx,
enum CmdIndex { IV_COMMANDS(IV_DEMO_CMD) };
enum NtfyIndex { IV_NOTIFICATIONS(IV_DEMO_NTFY) };
#define CMD(X) (*iv::kCommands[kCmd_##X])
#define NTFY(x) (*iv::kNotifications[kNtfy_##x])

// The users; each handler's reference word says which one it belongs to.
enum Who : uint32_t { kClient, kWifi, kMonitor };
const char *const kNames[] = {"client", "wifi", "monitor"};

constexpr uint32_t kFrameSize = 2 * iv::kScalar32Size;  // magic and stamp items

struct Exchange {
    const iv::MsgDesc *m;
    int32_t type;
    Who from, to;
    std::vector<uint8_t> sent;  // serialization of the body the sender gave
    std::vector<uint8_t> wire;  // the bytes that crossed
    bool traced = false;
    int deliveries = 0;
    bool exact = false;
};

struct State {
    bool json = false, quiet = false;
    void *users[3] = {};
    std::vector<Exchange> exchanges;
    int faults = 0;  // failed calls, unannounced crossings or deliveries
} g;

void fault(const std::string &what)
{
    fprintf(stderr, "intfvelmor_demo: %s\n", what.c_str());
    g.faults++;
}

void check(uint32_t rc, const char *what)
{
    if (rc)
        fault(std::string(what) + " failed (" + std::to_string(rc) + ")");
}

const char *kindOf(const Exchange &e)
{
    return e.m->ntfy ? "notification" : e.type == iv::kReq ? "request" : "response";
}

// A body as the library lays it out, head filled so its callbacks accept it.
template <class Body>
Body blank(const iv::MsgDesc &m)
{
    Body b{};
    b.magic = m.magic;
    return b;
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

// ---- the crossings -----------------------------------------------------------------

// Announces what the sender is about to hand to the library.
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

// The host reports the bytes before the receiver's handler runs.
void onTrace(void *, const refhost_traceEvent *ev)
{
    bool ntfy = ev->kind == REFHOST_TRACE_NOTIFICATION;
    if (ev->kind == REFHOST_TRACE_CODE || ev->index >= (ntfy ? 3u : 14u)) {
        fault(std::string("unexpected crossing of ") + (ev->entryName ? ev->entryName : "?") +
              ", code " + std::to_string(ev->code));
        return;
    }
    const iv::MsgDesc *m = ntfy ? iv::kNotifications[ev->index] : iv::kCommands[ev->index];
    for (Exchange &e : g.exchanges)
        if (!e.traced && e.m == m && e.type == ev->bodyType && !strcmp(kNames[e.from], ev->sender) &&
            !strcmp(kNames[e.to], ev->receiver)) {
            e.traced = true;
            e.wire.assign(ev->bytes, ev->bytes + ev->length);
            return;
        }
    fault(std::string("unannounced crossing of ") + m->name + " to " + ev->receiver);
}

void show(const Exchange &e, size_t seq, const void *body)
{
    const iv::TypeDesc *d = e.m->members[e.type];
    std::string out;
    if (g.json) {
        out = "{\"seq\":" + std::to_string(seq) + ",\"message\":\"" + e.m->name +
              "\",\"kind\":\"" + kindOf(e) + "\",\"from\":\"" + kNames[e.from] + "\",\"to\":\"" +
              kNames[e.to] + "\",\"bodyType\":" + std::to_string(e.type) + ",\"body\":\"" +
              (d ? iv::typeName(*d) : "ivEmptyBody") + "\",\"size\":" + std::to_string(e.wire.size()) +
              ",\"bytes\":\"";
        for (uint8_t b : e.wire) {
            out += "0123456789abcdef"[b >> 4];
            out += "0123456789abcdef"[b & 15];
        }
        out += "\",\"values\":";
        if (d)
            ivtool::printJson(out, *d, body);
        else
            out += "{}";
        out += std::string(",\"exact\":") + (e.exact ? "true" : "false") + "}\n";
    } else {
        char head[256];
        snprintf(head, sizeof head, "#%zu %s %s  %s -> %s  body type %d (%s)  %zu bytes\n", seq,
                 e.m->name, kindOf(e), kNames[e.from], kNames[e.to], (int)e.type,
                 d ? iv::typeName(*d) : "ivEmptyBody", e.wire.size());
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
        if (!g.quiet)
            show(e, i + 1, body);
        return;
    }
    fault(std::string("unannounced delivery of ") + m.name + " to " + (ref < 3 ? kNames[ref] : "?"));
}

// ---- made-up content -----------------------------------------------------------------

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

// ---- the service: one handler per command --------------------------------------------

// A handler's two bodies: `in` takes its arguments, `out` is its answer (zero-filled:
// a status of 0 means done).
#define BODIES(X)                         \
    auto in = blank<ivReq_##X>(CMD(X));   \
    auto out = blank<ivRes_##X>(CMD(X))
// The answer to the request in hand travels back to the client.
#define ANSWER(X, body, ...) \
    (expect(CMD(X), iv::kRes, kWifi, kClient, &body), intfVelmor_sendRes_##X(ctx, __VA_ARGS__))

void hdGetAssocDevStats(void *ctx, uint32_t ref, assocDevListReq *req)
{
    BODIES(getAssocDevStats);
    in.req = *req;
    received(CMD(getAssocDevStats), iv::kReq, ref, &in);
    stationInfo(out.res, *req);
    ANSWER(getAssocDevStats, out, &out.res);
}

void hdSelectAndCreateRadio(void *ctx, uint32_t ref, char *text, RadioDef *radio)
{
    BODIES(selectAndCreateRadio);
    put(in.text, text);
    in.radio = *radio;
    received(CMD(selectAndCreateRadio), iv::kReq, ref, &in);
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
    ANSWER(selectAndCreateRadio, out, &out.res);
}

void hdCreateAccessPoint(void *ctx, uint32_t ref, char *text1, char *text2, char *text3)
{
    BODIES(createAccessPoint);
    put(in.text1, text1), put(in.text2, text2), put(in.text3, text3);
    received(CMD(createAccessPoint), iv::kReq, ref, &in);
    put(out.capacity.mac, bssid(0x11));
    out.capacity.v4 = 1, out.capacity.v5 = 8, out.capacity.v6 = 64, out.capacity.v7 = 1,
    out.capacity.v8 = 128;
    put(out.text, "wl1.1");
    ANSWER(createAccessPoint, out, out.status, &out.capacity, out.text);
}

void hdGetProbeRequestList(void *ctx, uint32_t ref)
{
    BODIES(getProbeRequestList);
    received(CMD(getProbeRequestList), iv::kReq, ref, &in);
    out.res.probesCount = 3;
    for (uint32_t i = 0; i < 3; ++i) {
        put(out.res.probes[i].mac, station(0x40 + i));
        out.res.probes[i].v4 = 70 - 8 * i;  // RSSI magnitude
        out.res.probes[i].v5 = 1 + 5 * i;   // channel
        out.res.probes[i].v6 = 12 + i;      // seconds ago
    }
    put(out.res.s5, "wl0");
    ANSWER(getProbeRequestList, out, &out.res);
}

void hdGetTemporarilyBlackList(void *ctx, uint32_t ref)
{
    BODIES(getTemporarilyBlackList);
    received(CMD(getTemporarilyBlackList), iv::kReq, ref, &in);
    out.res.v3 = 2;  // deny list
    out.res.macsCount = 2;
    put(out.res.macs[0].mac, station(0x03));
    put(out.res.macs[1].mac, station(0x0b));
    ANSWER(getTemporarilyBlackList, out, &out.res);
}

void hdConfigureAccessPoint(void *ctx, uint32_t ref, APCfg *cfg, uint8_t value)
{
    BODIES(configureAccessPoint);
    in.cfg = *cfg;
    in.value = value;
    received(CMD(configureAccessPoint), iv::kReq, ref, &in);
    out.res.v3 = 0, out.res.v4 = 1;  // applied, restart needed
    ANSWER(configureAccessPoint, out, &out.res);
}

void hdConfigureQTNBackHaulWPS(void *ctx, uint32_t ref, APBackHaulWPSCfg *cfg)
{
    BODIES(configureQTNBackHaulWPS);
    in.cfg = *cfg;
    received(CMD(configureQTNBackHaulWPS), iv::kReq, ref, &in);
    ANSWER(configureQTNBackHaulWPS, out, out.status);
}

void hdTemporarilyBlackList(void *ctx, uint32_t ref, char *mac, uint32_t value)
{
    BODIES(temporarilyBlackList);
    put(in.mac, mac);
    in.value = value;
    received(CMD(temporarilyBlackList), iv::kReq, ref, &in);
    ANSWER(temporarilyBlackList, out, out.status);
}

void hd11vActionFrame(void *ctx, uint32_t ref, bssTransitionRequest *req)
{
    BODIES(11vActionFrame);
    in.req = *req;
    received(CMD(11vActionFrame), iv::kReq, ref, &in);
    out.res.v3 = 0;  // accepted
    put(out.res.mac, req->mac);
    ANSWER(11vActionFrame, out, &out.res);
}

void hdGetStationsStatistics(void *ctx, uint32_t ref, assocDevListReq *req)
{
    BODIES(getStationsStatistics);
    in.req = *req;
    received(CMD(getStationsStatistics), iv::kReq, ref, &in);
    stationInfo(out.res, *req);
    ANSWER(getStationsStatistics, out, &out.res);
}

void hdBeaconRequest(void *ctx, uint32_t ref, BeaconRequestCfg *req)
{
    BODIES(beaconRequest);
    in.req = *req;
    received(CMD(beaconRequest), iv::kReq, ref, &in);
    beaconReport &r = out.res;
    r.timestamp = {1718100000123ull, 250};
    put(r.mac, req->actionFrameCfg.mac);
    r.eltsCount = req->apsCount;
    for (uint32_t i = 0; i < r.eltsCount && i < INTFVELMOR_BEACON_REPORT_MAX; ++i) {
        beaconReportElt &e = r.elts[i];
        e.v3 = 115;  // operating class
        put(e.mac, req->aps[i].mac);
        e.v5 = (uint8_t)(36 + 4 * i), e.v6 = 0, e.v7 = 50;
        e.v8 = (uint8_t)(140 - 12 * i), e.v9 = 60, e.v10 = 1;
        e.v11 = 3000 + i;
        e.extraBeaconReportElt.v3 = 0, e.extraBeaconReportElt.v4 = 20;
        put(e.extraBeaconReportElt.s5, req->aps[i].s6);
    }
    ANSWER(beaconRequest, out, &out.res);
}

void hdSetBeaconIETUK(void *ctx, uint32_t ref, BeaconIECfg *req)
{
    BODIES(setBeaconIETUK);
    in.req = *req;
    received(CMD(setBeaconIETUK), iv::kReq, ref, &in);
    ANSWER(setBeaconIETUK, out, out.status);
}

void hdGetChannelCreated(void *ctx, uint32_t ref)
{
    BODIES(getChannelCreated);
    received(CMD(getChannelCreated), iv::kReq, ref, &in);
    channelReport &r = out.res;
    r.load = {36, 80, 35, 12, 6, 41, 1, 0, 5180, -92};
    r.channelsCount = 3;
    for (uint8_t i = 0; i < 3; ++i)
        r.channels[i] = {(uint8_t)(36 + 4 * i), 80, 1, (uint16_t)(5180 + 20 * i), 23, 17, 42,
                         1200, 300, 90, 15, (uint32_t)(2 + i)};
    ANSWER(getChannelCreated, out, &out.res);
}

void hdGetCCAStatistic(void *ctx, uint32_t ref)
{
    BODIES(getCCAStatistic);
    received(CMD(getCCAStatistic), iv::kReq, ref, &in);
    out.res = {1000, 412, 233, 97, 36};  // busy, rx, tx, interference (ms), channel
    ANSWER(getCCAStatistic, out, &out.res);
}

// ---- the client: one response callback per command -------------------------------------

// A response that carries one record as `res`.
#define RECORD_CALLBACK(X, Rec)                                  \
    void cb_##X(void *, uint32_t ref, Rec *res)                  \
    {                                                            \
        auto b = blank<ivRes_##X>(CMD(X));                       \
        b.res = *res;                                            \
        received(CMD(X), iv::kRes, ref, &b);                     \
    }
// A response that carries one status byte.
#define STATUS_CALLBACK(X)                                       \
    void cb_##X(void *, uint32_t ref, uint8_t status)            \
    {                                                            \
        auto b = blank<ivRes_##X>(CMD(X));                       \
        b.status = status;                                       \
        received(CMD(X), iv::kRes, ref, &b);                     \
    }
RECORD_CALLBACK(getAssocDevStats, assocDevListRet)
RECORD_CALLBACK(selectAndCreateRadio, RadioCapacity)
RECORD_CALLBACK(getProbeRequestList, ProbeRequestList)
RECORD_CALLBACK(getTemporarilyBlackList, MacFilterList)
RECORD_CALLBACK(configureAccessPoint, APCfgRet)
RECORD_CALLBACK(11vActionFrame, bssTransitionResponse)
RECORD_CALLBACK(getStationsStatistics, assocDevListRet)
RECORD_CALLBACK(beaconRequest, beaconReport)
RECORD_CALLBACK(getChannelCreated, channelReport)
RECORD_CALLBACK(getCCAStatistic, ccaStats)
STATUS_CALLBACK(configureQTNBackHaulWPS)
STATUS_CALLBACK(temporarilyBlackList)
STATUS_CALLBACK(setBeaconIETUK)

void cb_createAccessPoint(void *, uint32_t ref, uint8_t status, APCapacity *capacity, char *text)
{
    auto b = blank<ivRes_createAccessPoint>(CMD(createAccessPoint));
    b.status = status;
    b.capacity = *capacity;
    put(b.text, text);
    received(CMD(createAccessPoint), iv::kRes, ref, &b);
}

// ---- the subscribers ------------------------------------------------------------------

void onExtenderPairing(void *, uint32_t ref, uint32_t value)
{
    auto b = blank<ivNtfy_meshTUKExtenderPairing>(NTFY(meshTUKExtenderPairing));
    b.value = value;
    received(NTFY(meshTUKExtenderPairing), iv::kReq, ref, &b);
}

void onClientsLowRSSI(void *, uint32_t ref, LowRSSINtf *ntfy)
{
    auto b = blank<ivNtfy_meshTUKClientsLowRSSI>(NTFY(meshTUKClientsLowRSSI));
    b.ntfy = *ntfy;
    received(NTFY(meshTUKClientsLowRSSI), iv::kReq, ref, &b);
}

void onBeaconReport(void *, uint32_t ref, char *mac, int8_t value1, int8_t value2)
{
    auto b = blank<ivNtfy_beaconReport>(NTFY(beaconReport));
    put(b.mac, mac);
    b.value1 = value1;
    b.value2 = value2;
    received(NTFY(beaconReport), iv::kReq, ref, &b);
}

// ---- the run ----------------------------------------------------------------------------

void setUp()
{
    check(intfVelmor_initialize(), "intfVelmor_initialize");
    for (uint32_t u = 0; u < 3; ++u) {
        g.users[u] = refhost_newUser(kNames[u]);
        check(intfVelmor_regUser_msgMngt(g.users[u], 0, nullptr, INTFVELMOR_SEL_BOTH),
              "intfVelmor_regUser_msgMngt");
    }
    void *wifi = g.users[kWifi];
#define SERVE(X, hd) check(intfVelmor_modSrv_recvMsg_##X(wifi, refhost_token((refhost_fn)hd), kWifi, 0), #X)
    SERVE(getAssocDevStats, hdGetAssocDevStats);
    SERVE(selectAndCreateRadio, hdSelectAndCreateRadio);
    SERVE(createAccessPoint, hdCreateAccessPoint);
    SERVE(getProbeRequestList, hdGetProbeRequestList);
    SERVE(getTemporarilyBlackList, hdGetTemporarilyBlackList);
    SERVE(configureAccessPoint, hdConfigureAccessPoint);
    SERVE(configureQTNBackHaulWPS, hdConfigureQTNBackHaulWPS);
    SERVE(temporarilyBlackList, hdTemporarilyBlackList);
    SERVE(11vActionFrame, hd11vActionFrame);
    SERVE(getStationsStatistics, hdGetStationsStatistics);
    SERVE(beaconRequest, hdBeaconRequest);
    SERVE(setBeaconIETUK, hdSetBeaconIETUK);
    SERVE(getChannelCreated, hdGetChannelCreated);
    SERVE(getCCAStatistic, hdGetCCAStatistic);
#undef SERVE
    check(intfVelmor_modSrv_needUpdate_ntfyBeaconReport(wifi, 0, 0, 0), "needUpdate");
    for (Who w : {kClient, kMonitor}) {
        void *u = g.users[w];
        check(intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing(
                  u, refhost_token((refhost_fn)onExtenderPairing), w, 0, "wifi", nullptr), "subscribe");
        check(intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI(
                  u, refhost_token((refhost_fn)onClientsLowRSSI), w, 0, "wifi", nullptr), "subscribe");
        check(intfVelmor_modCliNtfyUser_recvMsg_beaconReport(u, refhost_token((refhost_fn)onBeaconReport), w,
                                                             0, "wifi", nullptr), "subscribe");
    }
}

// The client announces each request, then sends it to "wifi" with the
// members of the announced body.
#define SEND(X, body, ...)                                                           \
    (expect(CMD(X), iv::kReq, kClient, kWifi, &body),                                \
     check(intfVelmor_sendReq_##X(g.users[kClient], cb_##X, kClient, 0, "wifi",      \
                                  ##__VA_ARGS__), "sendReq_" #X))

void sendCommands()
{
    auto q0 = blank<ivReq_getAssocDevStats>(CMD(getAssocDevStats));
    stationList(q0.req, 2);
    SEND(getAssocDevStats, q0, &q0.req);

    auto q1 = blank<ivReq_selectAndCreateRadio>(CMD(selectAndCreateRadio));
    put(q1.text, "wifi1");
    put(q1.radio.s3, "5GHz");
    put(q1.radio.mac, bssid(0x10));
    q1.radio.v5 = -1;  // any free slot
    SEND(selectAndCreateRadio, q1, q1.text, &q1.radio);

    auto q2 = blank<ivReq_createAccessPoint>(CMD(createAccessPoint));
    put(q2.text1, "wifi1"), put(q2.text2, "HomeNet-5G"), put(q2.text3, "guest");
    SEND(createAccessPoint, q2, q2.text1, q2.text2, q2.text3);

    auto q3 = blank<ivReq_getProbeRequestList>(CMD(getProbeRequestList));
    SEND(getProbeRequestList, q3);
    auto q4 = blank<ivReq_getTemporarilyBlackList>(CMD(getTemporarilyBlackList));
    SEND(getTemporarilyBlackList, q4);

    auto q5 = blank<ivReq_configureAccessPoint>(CMD(configureAccessPoint));
    APCfg &c = q5.cfg;
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
    q5.value = 1;  // apply now
    SEND(configureAccessPoint, q5, &q5.cfg, q5.value);

    auto q6 = blank<ivReq_configureQTNBackHaulWPS>(CMD(configureQTNBackHaulWPS));
    q6.cfg.v3 = 1;
    put(q6.cfg.ssid, "HomeNet-Backhaul");
    q6.cfg.v5 = 4;
    put(q6.cfg.s6, "WPA2-PSK"), put(q6.cfg.s7, "mesh-backhaul-key-0042");
    put(q6.cfg.mac, bssid(0x20));
    SEND(configureQTNBackHaulWPS, q6, &q6.cfg);

    auto q7 = blank<ivReq_temporarilyBlackList>(CMD(temporarilyBlackList));
    put(q7.mac, station(0x03));
    q7.value = 300;  // seconds
    SEND(temporarilyBlackList, q7, q7.mac, q7.value);

    auto q8 = blank<ivReq_11vActionFrame>(CMD(11vActionFrame));
    bssTransitionActionFrame &f = q8.req.actionFrame;
    f.v3 = 7, f.v4 = 0, f.v5 = 1, f.v6 = 1, f.v7 = 100, f.v8 = 0;
    f.candidate = {0x8f, 1, "", 115, 115, 36, 255};
    put(f.candidate.mac, bssid(0x11));
    f.candidatesCount = 2;
    for (uint32_t i = 0; i < 2; ++i) {
        f.candidates[i] = {0x8f, 1, "", 115, 115, (uint8_t)(36 + 4 * i), (uint8_t)(200 - 50 * i)};
        put(f.candidates[i].mac, bssid(0x11 + i));
    }
    put(q8.req.mac, station(0x02));
    q8.req.v5 = 1, q8.req.v6 = 0;
    SEND(11vActionFrame, q8, &q8.req);

    auto q9 = blank<ivReq_getStationsStatistics>(CMD(getStationsStatistics));
    stationList(q9.req, 3);
    SEND(getStationsStatistics, q9, &q9.req);

    auto q10 = blank<ivReq_beaconRequest>(CMD(beaconRequest));
    BeaconRequestCfg &b = q10.req;
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
    SEND(beaconRequest, q10, &q10.req);

    auto q11 = blank<ivReq_setBeaconIETUK>(CMD(setBeaconIETUK));
    put(q11.req.s3, "dd0700904c04180201");
    q11.req.v4 = 221, q11.req.v5 = 9;
    SEND(setBeaconIETUK, q11, &q11.req);

    auto q12 = blank<ivReq_getChannelCreated>(CMD(getChannelCreated));
    SEND(getChannelCreated, q12);
    auto q13 = blank<ivReq_getCCAStatistic>(CMD(getCCAStatistic));
    SEND(getCCAStatistic, q13);
}

// The service publishes; each notification is announced to both subscribers.
void publish()
{
    void *wifi = g.users[kWifi];
    auto toAll = [](const iv::MsgDesc &m, const void *body) {
        for (Who w : {kClient, kMonitor})
            expect(m, iv::kReq, kWifi, w, body);
    };
    auto n0 = blank<ivNtfy_meshTUKExtenderPairing>(NTFY(meshTUKExtenderPairing));
    n0.value = 1;  // extender paired
    toAll(NTFY(meshTUKExtenderPairing), &n0);
    intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(wifi, 0, 0, n0.value);

    auto n1 = blank<ivNtfy_meshTUKClientsLowRSSI>(NTFY(meshTUKClientsLowRSSI));
    put(n1.ntfy.mac, station(0x04));
    n1.ntfy.v4 = -82;
    toAll(NTFY(meshTUKClientsLowRSSI), &n1);
    intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(wifi, 0, 0, &n1.ntfy);

    auto n2 = blank<ivNtfy_beaconReport>(NTFY(beaconReport));
    put(n2.mac, station(0x01));
    n2.value1 = -62, n2.value2 = 3;
    toAll(NTFY(beaconReport), &n2);
    intfVelmor_sendReq_ntfyBeaconReport(wifi, 0, 0, n2.mac, n2.value1, n2.value2);
}

int usage(const char *prog)
{
    fprintf(stderr, "usage: %s [--json] [--quiet]\n", prog);
    return 2;
}

}  // namespace

int main(int argc, char **argv)
{
    for (int i = 1; i < argc; ++i) {
        if (!strcmp(argv[i], "--json"))
            g.json = true;
        else if (!strcmp(argv[i], "--quiet"))
            g.quiet = true;
        else
            return usage(argv[0]);
    }
    refhost_setTrace(onTrace, nullptr);
    setUp();
    sendCommands();
    publish();

    size_t exact = 0;
    for (const Exchange &e : g.exchanges) {
        if (e.exact)
            exact++;
        else
            fault(std::string(e.m->name) + " " + kindOf(e) + " to " + kNames[e.to] +
                  (e.deliveries ? " not as sent" : " not delivered"));
    }
    refhost_statsInfo st = refhost_stats();
    if (st.bodiesHeld || st.contextsOpen)
        fault("leak: " + std::to_string(st.bodiesHeld) + " bodies held, " +
              std::to_string(st.contextsOpen) + " contexts open");

    for (void *u : g.users) {
        intfVelmor_unregUser_msgMngt(u, INTFVELMOR_SEL_BOTH);
        refhost_freeUser(u);
    }
    intfVelmor_delBase();

    size_t n = g.exchanges.size();
    if (g.json)
        printf("{\"summary\":\"%zu exchanges, %zu delivered exactly\",\"exchanges\":%zu,"
               "\"deliveredExactly\":%zu,\"bodiesHeld\":%u,\"contextsOpen\":%u,\"faults\":%d}\n",
               n, exact, n, exact, st.bodiesHeld, st.contextsOpen, g.faults);
    else
        printf("%zu exchanges, %zu delivered exactly\n", n, exact);
    return exact == n && g.faults == 0 ? 0 : 1;
}
