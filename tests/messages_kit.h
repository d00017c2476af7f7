// Shared by the message tests: an initialised descriptor with a client user
// "client" and a service user "wifi" registered with both managements, the
// bytes that crossed between users, and what handlers and callbacks received.
#pragma once

#include <stdio.h>
#include <string.h>

#include <functional>
#include <string>
#include <vector>

#include "intfVelmor.h"
#include "messages/catalogue.h"
#include "record_ops.h"
#include "testkit.h"
#include "tolkHost.h"
#include "tolkRefHost.h"

namespace ivtest {

using Bytes = std::vector<uint8_t>;
using Strings = std::vector<std::string>;

inline Bytes operator+(Bytes a, const Bytes &b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A body callback's name as its lines give it: cb("freeBody", "msgCmdReq", "getCCAStatistic").
inline std::string cb(const char *op, const char *kind, const std::string &name)
{
    return std::string("intfVelmor_cbEvtMsgMngt_") + op + "_" + kind + "_" + name;
}

// Wire items in the kit's notation (texts without blanks or '*').
inline Bytes scalarItem(uint32_t tag, uint32_t value)
{
    return wire("s" + std::to_string(tag) + ":" + std::to_string(value));
}
inline Bytes textItem(uint32_t tag, const std::string &text)
{
    return wire("t" + std::to_string(tag) + ":" + text);
}
inline Bytes frame(uint32_t magic, uint32_t stamp)
{
    return scalarItem(0, magic) + scalarItem(1, stamp);
}

// The constants of each message, in the index order of its block, as the
// catalogue's rows give them.
struct MsgInfo {
    const char *name;
    const char *entry;
    uint32_t magic;
    uint32_t stamp;
};

#define IVT_CMD_INFO(idx, name, entry, magic, stamp, ...) {#name, entry, magic, stamp},
#define IVT_NTFY_INFO(idx, name, Name, entry, magic, stamp, ...) {#name, entry, magic, stamp},
inline const MsgInfo kCmds[] = {IV_COMMANDS(IVT_CMD_INFO)};
inline const MsgInfo kNtfys[] = {IV_NOTIFICATIONS(IVT_NTFY_INFO)};
#undef IVT_CMD_INFO
#undef IVT_NTFY_INFO
static_assert(sizeof kCmds / sizeof kCmds[0] == INTFVELMOR_CMD_COUNT, "one row per command");
static_assert(sizeof kNtfys / sizeof kNtfys[0] == INTFVELMOR_NTFY_COUNT,
              "one row per notification");

// A record whose bytes all come from seed and are never 0, so that once
// copied every text holds N - 1 characters; adjust sets the counts before
// the copy, which keeps them unchanged and drops elements beyond the bound.
template <class T, class F>
T patterned(uint32_t seed, F adjust)
{
    T raw;
    uint8_t *p = (uint8_t *)&raw;
    uint32_t x = seed * 2654435761u + 1;
    for (size_t i = 0; i < sizeof raw; ++i) {
        x ^= x << 13, x ^= x >> 17, x ^= x << 5;
        p[i] = (uint8_t)(x % 255 + 1);
    }
    adjust(raw);
    T rec;
    memset(&rec, 0, sizeof rec);
    EXPECT_EQ(0u, Ops<T>::copy(&rec, &raw));
    return rec;
}

template <class T>
T patterned(uint32_t seed)
{
    return patterned<T>(seed, [](T &) {});
}

// Arguments as handlers and callbacks receive them, rendered for comparison:
// a record by its type and serialized bytes, a text as itself, a number in
// decimal.
template <class T>
std::string render(const T *rec)
{
    return std::string(Ops<T>::name) + ":" + toHex(encode(*rec));
}
inline std::string render(const char *text) { return text; }
inline std::string render(uint8_t v) { return std::to_string((unsigned)v); }
inline std::string render(int8_t v) { return std::to_string((int)v); }
inline std::string render(uint32_t v) { return std::to_string(v); }

struct Call {
    void *ctx;
    uint32_t ref;
    Strings args;
};

inline std::vector<Call> g_handled;             // request and notification handlers
inline std::vector<Call> g_answered;            // response callbacks
inline std::function<void(void *ctx)> g_answer;  // what a request handler does next

// Handler and callback of any message, instantiated with its signature.
template <class... A>
void onRequest(void *ctx, uint32_t ref, A... args)
{
    g_handled.push_back(Call{ctx, ref, {render(args)...}});
    if (g_answer)
        g_answer(ctx);
}

template <class... A>
void onResponse(void *ctx, uint32_t ref, A... args)
{
    g_answered.push_back(Call{ctx, ref, {render(args)...}});
}

template <class F>
refhost_fn fnp(F *f)
{
    return reinterpret_cast<refhost_fn>(f);
}

// ---- every command and notification, with filled members --------------------------
constexpr uint32_t kCliRef = 0xC11E0001;  // word1 of sendReq: the callback's reference

using ModSrvFn = uint32_t (*)(void *user, uint32_t w1, uint32_t w2, uint32_t w3);
using SubscribeFn = uint32_t (*)(void *user, uint32_t w1, uint32_t w2, uint32_t w3,
                                 const char *busName, void *userName);

// One command: how it is served, asked and answered, and what the handler and
// the callback receive and the wire carries (members after the frame).
struct Command {
    uint32_t index;
    std::string name;
    ModSrvFn modSrv;
    refhost_fn handler;  // onRequest with the command's arguments
    std::function<uint32_t(void *client)> send;
    std::function<void(void *ctx)> answer;
    Strings handled, answered;
    Bytes reqMembers, resMembers;
};

struct Notification {
    uint32_t index;
    std::string name, sendName;
    SubscribeFn subscribe;
    refhost_fn handler;
    std::function<void(void *srv)> publish;
    Strings members;
    Bytes bytes;  // the whole body
};

// Commands whose request is one record (or nothing) and whose response is one record.
template <class Req, class Res>
Command recordCommand(uint32_t index, const char *name, ModSrvFn modSrv,
                      uint32_t (*send)(void *, void (*)(void *, uint32_t, Res *), uint32_t,
                                       uint32_t, const char *, const Req *),
                      void (*answer)(void *, const Res *), Req req, Res res)
{
    return {index, name, modSrv, fnp(onRequest<Req *>),
            [=](void *c) { return send(c, onResponse<Res *>, kCliRef, 0, "wifi", &req); },
            [=](void *ctx) { answer(ctx, &res); },
            {render(&req)}, {render(&res)}, encode(req), encode(res)};
}
template <class Res>
Command askingCommand(uint32_t index, const char *name, ModSrvFn modSrv,
                      uint32_t (*send)(void *, void (*)(void *, uint32_t, Res *), uint32_t,
                                       uint32_t, const char *),
                      void (*answer)(void *, const Res *), Res res)
{
    return {index, name, modSrv, fnp(onRequest<>),
            [=](void *c) { return send(c, onResponse<Res *>, kCliRef, 0, "wifi"); },
            [=](void *ctx) { answer(ctx, &res); },
            {}, {render(&res)}, {}, encode(res)};
}

// Counts above their bounds travel unchanged; texts longer than their
// fields go out cut.
inline const std::vector<Command> &commands()
{
    static const std::vector<Command> list = [] {
        auto devReq = patterned<assocDevListReq>(1, [](auto &r) { r.devicesCount = 150; });
        auto devRet = patterned<assocDevListRet>(2, [](auto &r) { r.devicesCount = 2; });
        const std::string radioName(70, 'r');
        auto radio = patterned<RadioDef>(3);
        auto radioCap = patterned<RadioCapacity>(
            4, [](auto &r) { r.radioChannelCapabilities.bandwidthsCount = 9; });
        const std::string full(63, 'a'), cut(64, 'b');
        auto apCap = patterned<APCapacity>(5);
        auto probes = patterned<ProbeRequestList>(6, [](auto &r) { r.probesCount = 101; });
        auto macs = patterned<MacFilterList>(7, [](auto &r) { r.macsCount = 50; });
        auto apCfg = patterned<APCfg>(8, [](auto &r) { r.macFilterList.macsCount = 60; });
        auto apRet = patterned<APCfgRet>(9);
        auto wps = patterned<APBackHaulWPSCfg>(10);
        auto bssReq = patterned<bssTransitionRequest>(
            11, [](auto &r) { r.actionFrame.candidatesCount = 11; });
        auto bssRes = patterned<bssTransitionResponse>(12);
        auto staReq = patterned<assocDevListReq>(13, [](auto &r) { r.devicesCount = 0; });
        auto staRet = patterned<assocDevListRet>(14, [](auto &r) { r.devicesCount = 100; });
        auto beaconReq = patterned<BeaconRequestCfg>(15, [](auto &r) { r.apsCount = 31; });
        auto beaconRep = patterned<beaconReport>(16, [](auto &r) { r.eltsCount = 101; });
        auto beaconIE = patterned<BeaconIECfg>(17);
        auto channels = patterned<channelReport>(18, [](auto &r) { r.channelsCount = 33; });
        auto cca = patterned<ccaStats>(19);
        const char *w = "wifi";
        return std::vector<Command>{
            recordCommand(0, "getAssocDevStats", intfVelmor_modSrv_recvMsg_getAssocDevStats,
                          intfVelmor_sendReq_getAssocDevStats,
                          intfVelmor_sendRes_getAssocDevStats, devReq, devRet),
            {1, "selectAndCreateRadio", intfVelmor_modSrv_recvMsg_selectAndCreateRadio,
             fnp(onRequest<char *, RadioDef *>),
             [=](void *c) {
                 return intfVelmor_sendReq_selectAndCreateRadio(
                     c, onResponse<RadioCapacity *>, kCliRef, 0, w, radioName.c_str(), &radio);
             },
             [=](void *ctx) { intfVelmor_sendRes_selectAndCreateRadio(ctx, &radioCap); },
             {radioName.substr(0, 63), render(&radio)}, {render(&radioCap)},
             textItem(3, radioName.substr(0, 63)) + encode(radio), encode(radioCap)},
            {2, "createAccessPoint", intfVelmor_modSrv_recvMsg_createAccessPoint,
             fnp(onRequest<char *, char *, char *>),
             [=](void *c) {
                 return intfVelmor_sendReq_createAccessPoint(
                     c, onResponse<uint8_t, APCapacity *, char *>, kCliRef, 0, w, full.c_str(),
                     cut.c_str(), "");
             },
             [=](void *ctx) { intfVelmor_sendRes_createAccessPoint(ctx, 254, &apCap, "up"); },
             {full, cut.substr(0, 63), ""}, {"254", render(&apCap), "up"},
             textItem(3, full) + textItem(4, cut.substr(0, 63)) + textItem(5, ""),
             // The status, the capacity's own items from tag 3, then the text at 5.
             scalarItem(3, 254) + encode(apCap) + textItem(5, "up")},
            askingCommand(3, "getProbeRequestList", intfVelmor_modSrv_recvMsg_getProbeRequestList,
                          intfVelmor_sendReq_getProbeRequestList,
                          intfVelmor_sendRes_getProbeRequestList, probes),
            askingCommand(4, "getTemporarilyBlackList",
                          intfVelmor_modSrv_recvMsg_getTemporarilyBlackList,
                          intfVelmor_sendReq_getTemporarilyBlackList,
                          intfVelmor_sendRes_getTemporarilyBlackList, macs),
            {5, "configureAccessPoint", intfVelmor_modSrv_recvMsg_configureAccessPoint,
             fnp(onRequest<APCfg *, uint8_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureAccessPoint(c, onResponse<APCfgRet *>,
                                                                kCliRef, 0, w, &apCfg, 0xC8);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureAccessPoint(ctx, &apRet); },
             {render(&apCfg), "200"}, {render(&apRet)}, encode(apCfg) + scalarItem(4, 0xC8),
             encode(apRet)},
            {6, "configureQTNBackHaulWPS", intfVelmor_modSrv_recvMsg_configureQTNBackHaulWPS,
             fnp(onRequest<APBackHaulWPSCfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureQTNBackHaulWPS(c, onResponse<uint8_t>,
                                                                   kCliRef, 0, w, &wps);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureQTNBackHaulWPS(ctx, 7); },
             {render(&wps)}, {"7"}, encode(wps), scalarItem(3, 7)},
            // Twenty characters go out as the seventeen of a station address.
            {7, "temporarilyBlackList", intfVelmor_modSrv_recvMsg_temporarilyBlackList,
             fnp(onRequest<char *, uint32_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_temporarilyBlackList(
                     c, onResponse<uint8_t>, kCliRef, 0, w, "00:11:22:33:44:55:66", 0xFFFFFFFE);
             },
             [=](void *ctx) { intfVelmor_sendRes_temporarilyBlackList(ctx, 0); },
             {"00:11:22:33:44:55", "4294967294"}, {"0"},
             textItem(3, "00:11:22:33:44:55") + scalarItem(4, 0xFFFFFFFE), scalarItem(3, 0)},
            recordCommand(8, "11vActionFrame", intfVelmor_modSrv_recvMsg_11vActionFrame,
                          intfVelmor_sendReq_11vActionFrame,
                          intfVelmor_sendRes_11vActionFrame, bssReq, bssRes),
            recordCommand(9, "getStationsStatistics",
                          intfVelmor_modSrv_recvMsg_getStationsStatistics,
                          intfVelmor_sendReq_getStationsStatistics,
                          intfVelmor_sendRes_getStationsStatistics, staReq, staRet),
            recordCommand(10, "beaconRequest", intfVelmor_modSrv_recvMsg_beaconRequest,
                          intfVelmor_sendReq_beaconRequest,
                          intfVelmor_sendRes_beaconRequest, beaconReq, beaconRep),
            {11, "setBeaconIETUK", intfVelmor_modSrv_recvMsg_setBeaconIETUK,
             fnp(onRequest<BeaconIECfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_setBeaconIETUK(c, onResponse<uint8_t>, kCliRef, 0, w,
                                                          &beaconIE);
             },
             [=](void *ctx) { intfVelmor_sendRes_setBeaconIETUK(ctx, 255); },
             {render(&beaconIE)}, {"255"}, encode(beaconIE), scalarItem(3, 255)},
            askingCommand(12, "getChannelCreated", intfVelmor_modSrv_recvMsg_getChannelCreated,
                          intfVelmor_sendReq_getChannelCreated,
                          intfVelmor_sendRes_getChannelCreated, channels),
            askingCommand(13, "getCCAStatistic", intfVelmor_modSrv_recvMsg_getCCAStatistic,
                          intfVelmor_sendReq_getCCAStatistic,
                          intfVelmor_sendRes_getCCAStatistic, cca),
        };
    }();
    return list;
}

inline const std::vector<Notification> &notifications()
{
    static const std::vector<Notification> list = [] {
        auto lowRssi = patterned<LowRSSINtf>(20);
        return std::vector<Notification>{
            {0, "meshTUKExtenderPairing", "ntfyMeshTUKExtenderPairing",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing, fnp(onRequest<uint32_t>),
             [](void *u) { intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(u, 0, 0, 5); }, {"5"},
             hex("00000000 00000004 13531940  00000001 00000004 00000001"
                 "00000003 00000004 00000005")},
            {1, "meshTUKClientsLowRSSI", "ntfyMeshTUKClientsLowRSSI",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI,
             fnp(onRequest<LowRSSINtf *>),
             [=](void *u) { intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(u, 0, 0, &lowRssi); },
             {render(&lowRssi)}, frame(0x14531940, 1) + encode(lowRssi)},
            {2, "beaconReport", "ntfyBeaconReport", intfVelmor_modCliNtfyUser_recvMsg_beaconReport,
             fnp(onRequest<char *, int8_t, int8_t>),
             [](void *u) { intfVelmor_sendReq_ntfyBeaconReport(u, 0, 0, "ab", -1, 2); },
             {"ab", "-1", "2"}, frame(0x24582563, 0) + wire("t3:ab s4:-1 s5:2")},
            // Twenty characters are published as the seventeen of a station address.
            {2, "beaconReport", "ntfyBeaconReport", intfVelmor_modCliNtfyUser_recvMsg_beaconReport,
             fnp(onRequest<char *, int8_t, int8_t>),
             [](void *u) {
                 intfVelmor_sendReq_ntfyBeaconReport(u, 0, 0, "0123456789abcdefghij", -128, 127);
             },
             {"0123456789abcdefg", "-128", "127"},
             frame(0x24582563, 0) + wire("t3:0123456789abcdefg s4:-128 s5:127")},
        };
    }();
    return list;
}

// The case of a message of the catalogue, by its index, or nullptr with a
// failure that names the message: a row added to the catalogue without a
// case here fails the tests that walk every message instead of going untested.
inline const Command *commandCase(uint32_t index)
{
    for (const Command &c : commands())
        if (c.index == index)
            return &c;
    ADD_FAILURE() << "command " << kCmds[index].name << " (index " << index
                  << ") has no case in commands() of tests/messages_kit.h";
    return nullptr;
}

inline const Notification *notificationCase(uint32_t index)
{
    for (const Notification &n : notifications())
        if (n.index == index)
            return &n;
    ADD_FAILURE() << "notification " << kNtfys[index].name << " (index " << index
                  << ") has no case in notifications() of tests/messages_kit.h";
    return nullptr;
}

struct Event {
    refhost_traceKind kind;
    std::string entry;
    uint32_t index;
    int32_t type;
    Bytes bytes;
    uint32_t code;
    std::string from, to;
};

class Messages : public LogTest {
protected:
    void SetUp() override
    {
        // Back to the load-time state whatever an earlier test left.
        intfVelmor_base.state = INTFVELMOR_STATE_BASE_WAIT_INIT;
        intfVelmor_base.flags = 0;
        intfVelmor_base.cmd.mngtNum = INTFVELMOR_MNGT_NONE;
        intfVelmor_base.ntfy.mngtNum = INTFVELMOR_MNGT_NONE;
        refhost_reset();
        ASSERT_EQ(0u, intfVelmor_initialize());
        client = refhost_newUser("client");
        srv = refhost_newUser("wifi");
        ASSERT_EQ(0u, intfVelmor_regUser_msgMngt(client, 0, nullptr, INTFVELMOR_SEL_BOTH));
        ASSERT_EQ(0u, intfVelmor_regUser_msgMngt(srv, 0, nullptr, INTFVELMOR_SEL_BOTH));
        refhost_setTrace(&Messages::trace, this);
        forget();
    }

    // Whatever the test did, the host holds no body and no context after it.
    void TearDown() override
    {
        refhost_statsInfo s = refhost_stats();
        EXPECT_EQ(0u, s.bodiesHeld);
        EXPECT_EQ(0u, s.contextsOpen);
        g_answer = nullptr;
        refhost_reset();
    }

    void forget()
    {
        events.clear();
        g_handled.clear();
        g_answered.clear();
        g_answer = nullptr;
        clearLogs();
    }

    static void trace(void *arg, const refhost_traceEvent *ev)
    {
        static_cast<Messages *>(arg)->events.push_back(
            Event{ev->kind, ev->entryName ? ev->entryName : "", ev->index, ev->bodyType,
                  ev->bytes ? Bytes(ev->bytes, ev->bytes + ev->length) : Bytes(), ev->code,
                  ev->sender, ev->receiver});
    }

    void *client = nullptr;
    void *srv = nullptr;
    std::vector<Event> events;
};

}  // namespace ivtest
