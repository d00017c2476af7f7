// Every command end to end through the reference host: what the client sends
// reaches the service's request handler, what the handler answers reaches the
// client's response callback, whether the handler answers at once or later,
// with the reference words and the bytes on the wire.
#include "messages_kit.h"

using namespace ivtest;

namespace {

constexpr uint32_t kCliRef = 0xC11E0001;  // word1 of sendReq: the callback's reference
constexpr uint32_t kSrvRef = 0x5E470002;  // word2 of modSrv: the handler's reference

using ModSrvFn = uint32_t (*)(void *user, uint32_t w1, uint32_t w2, uint32_t w3);

struct Exchange {
    uint32_t index;
    ModSrvFn modSrv;
    void *handler;                           // onRequest with the command's arguments
    std::function<uint32_t()> send;          // the client's sendReq
    std::function<void(void *ctx)> answer;   // the service's sendRes
    Strings handled, answered;               // what the handler and the callback receive
    Bytes reqMembers, resMembers;            // the members on the wire, after the frame
};

class Commands : public Messages {
protected:
    void expectCrossed(const Event &ev, refhost_traceKind kind, const Exchange &x, int32_t type,
                       const Bytes &members, const char *from, const char *to)
    {
        const MsgInfo &m = kCmds[x.index];
        EXPECT_EQ(kind, ev.kind);
        EXPECT_EQ(m.entry, ev.entry);
        EXPECT_EQ(x.index, ev.index);
        EXPECT_EQ(type, ev.type);
        EXPECT_EQ(from, ev.from);
        EXPECT_EQ(to, ev.to);
        EXPECT_EQ(toHex(frame(m.magic, m.stamp) + members), toHex(ev.bytes));
    }

    void run(const Exchange &x)
    {
        for (bool later : {false, true}) {
            SCOPED_TRACE(later ? "answered later" : "answered at once");
            forget();
            ASSERT_EQ(0u, x.modSrv(srv, refhost_token(x.handler), kSrvRef, 0));
            g_answer = later ? nullptr : x.answer;
            EXPECT_EQ(0u, x.send());

            ASSERT_EQ(1u, g_handled.size());
            EXPECT_EQ(kSrvRef, g_handled[0].ref);
            EXPECT_EQ(x.handled, g_handled[0].args);
            if (later) {
                // The context and the request body wait for the answer.
                EXPECT_TRUE(g_answered.empty());
                EXPECT_EQ(1u, refhost_stats().contextsOpen);
                EXPECT_EQ(1u, refhost_stats().bodiesHeld);
                x.answer(g_handled[0].ctx);
            }
            ASSERT_EQ(1u, g_answered.size());
            EXPECT_EQ(kCliRef, g_answered[0].ref);
            EXPECT_EQ(g_handled[0].ctx, g_answered[0].ctx);
            EXPECT_EQ(x.answered, g_answered[0].args);

            ASSERT_EQ(2u, events.size());
            expectCrossed(events[0], REFHOST_TRACE_REQUEST, x, 0, x.reqMembers, "client", "wifi");
            expectCrossed(events[1], REFHOST_TRACE_RESPONSE, x, 1, x.resMembers, "wifi", "client");
            EXPECT_EQ(Strings{}, lines());
            EXPECT_EQ(0u, refhost_stats().contextsOpen);
            EXPECT_EQ(0u, refhost_stats().bodiesHeld);
        }
    }
};

TEST_F(Commands, GetAssocDevStats)
{
    auto req = patterned<assocDevListReq>(1, [](auto &r) { r.devicesCount = 150; });  // bound 100
    auto res = patterned<assocDevListRet>(2, [](auto &r) { r.devicesCount = 2; });
    run({0, intfVelmor_modSrv_recvMsg_getAssocDevStats, fnp(onRequest<assocDevListReq *>),
         [&] {
             return intfVelmor_sendReq_getAssocDevStats(client, onResponse<assocDevListRet *>,
                                                        kCliRef, 0, "wifi", &req);
         },
         [&](void *ctx) { intfVelmor_sendRes_getAssocDevStats(ctx, &res); },
         {render(&req)}, {render(&res)}, encode(req), encode(res)});
}

TEST_F(Commands, SelectAndCreateRadio)
{
    const std::string name(70, 'r');  // cut to 63 characters
    auto def = patterned<RadioDef>(3);
    auto cap = patterned<RadioCapacity>(
        4, [](auto &r) { r.radioChannelCapabilities.bandwidthsCount = 9; });  // bound 4
    run({1, intfVelmor_modSrv_recvMsg_selectAndCreateRadio, fnp(onRequest<char *, RadioDef *>),
         [&] {
             return intfVelmor_sendReq_selectAndCreateRadio(client, onResponse<RadioCapacity *>,
                                                            kCliRef, 0, "wifi", name.c_str(), &def);
         },
         [&](void *ctx) { intfVelmor_sendRes_selectAndCreateRadio(ctx, &cap); },
         {name.substr(0, 63), render(&def)}, {render(&cap)},
         textItem(3, name.substr(0, 63)) + encode(def), encode(cap)});
}

TEST_F(Commands, CreateAccessPoint)
{
    const std::string full(63, 'a'), cut(64, 'b');
    auto cap = patterned<APCapacity>(5);
    run({2, intfVelmor_modSrv_recvMsg_createAccessPoint,
         fnp(onRequest<char *, char *, char *>),
         [&] {
             return intfVelmor_sendReq_createAccessPoint(
                 client, onResponse<uint8_t, APCapacity *, char *>, kCliRef, 0, "wifi",
                 full.c_str(), cut.c_str(), "");
         },
         [&](void *ctx) { intfVelmor_sendRes_createAccessPoint(ctx, 254, &cap, "up"); },
         {full, cut.substr(0, 63), ""}, {"254", render(&cap), "up"},
         textItem(3, full) + textItem(4, cut.substr(0, 63)) + textItem(5, ""),
         // The status, the capacity's own items from tag 3, then the text at 5.
         scalarItem(3, 254) + encode(cap) + textItem(5, "up")});
}

TEST_F(Commands, GetProbeRequestList)
{
    auto res = patterned<ProbeRequestList>(6, [](auto &r) { r.probesCount = 101; });
    run({3, intfVelmor_modSrv_recvMsg_getProbeRequestList, fnp(onRequest<>),
         [&] {
             return intfVelmor_sendReq_getProbeRequestList(client, onResponse<ProbeRequestList *>,
                                                           kCliRef, 0, "wifi");
         },
         [&](void *ctx) { intfVelmor_sendRes_getProbeRequestList(ctx, &res); },
         {}, {render(&res)}, {}, encode(res)});
}

TEST_F(Commands, GetTemporarilyBlackList)
{
    auto res = patterned<MacFilterList>(7, [](auto &r) { r.macsCount = 50; });
    run({4, intfVelmor_modSrv_recvMsg_getTemporarilyBlackList, fnp(onRequest<>),
         [&] {
             return intfVelmor_sendReq_getTemporarilyBlackList(
                 client, onResponse<MacFilterList *>, kCliRef, 0, "wifi");
         },
         [&](void *ctx) { intfVelmor_sendRes_getTemporarilyBlackList(ctx, &res); },
         {}, {render(&res)}, {}, encode(res)});
}

TEST_F(Commands, ConfigureAccessPoint)
{
    auto cfg = patterned<APCfg>(8, [](auto &r) { r.macFilterList.macsCount = 60; });
    auto res = patterned<APCfgRet>(9);
    run({5, intfVelmor_modSrv_recvMsg_configureAccessPoint, fnp(onRequest<APCfg *, uint8_t>),
         [&] {
             return intfVelmor_sendReq_configureAccessPoint(client, onResponse<APCfgRet *>,
                                                            kCliRef, 0, "wifi", &cfg, 0xC8);
         },
         [&](void *ctx) { intfVelmor_sendRes_configureAccessPoint(ctx, &res); },
         {render(&cfg), "200"}, {render(&res)}, encode(cfg) + scalarItem(4, 0xC8),
         encode(res)});
}

TEST_F(Commands, ConfigureQTNBackHaulWPS)
{
    auto cfg = patterned<APBackHaulWPSCfg>(10);
    run({6, intfVelmor_modSrv_recvMsg_configureQTNBackHaulWPS,
         fnp(onRequest<APBackHaulWPSCfg *>),
         [&] {
             return intfVelmor_sendReq_configureQTNBackHaulWPS(client, onResponse<uint8_t>,
                                                               kCliRef, 0, "wifi", &cfg);
         },
         [&](void *ctx) { intfVelmor_sendRes_configureQTNBackHaulWPS(ctx, 7); },
         {render(&cfg)}, {"7"}, encode(cfg), scalarItem(3, 7)});
}

TEST_F(Commands, TemporarilyBlackList)
{
    // Twenty characters go out as the seventeen of a station address.
    run({7, intfVelmor_modSrv_recvMsg_temporarilyBlackList, fnp(onRequest<char *, uint32_t>),
         [&] {
             return intfVelmor_sendReq_temporarilyBlackList(client, onResponse<uint8_t>, kCliRef,
                                                            0, "wifi", "00:11:22:33:44:55:66",
                                                            0xFFFFFFFE);
         },
         [&](void *ctx) { intfVelmor_sendRes_temporarilyBlackList(ctx, 0); },
         {"00:11:22:33:44:55", "4294967294"}, {"0"},
         textItem(3, "00:11:22:33:44:55") + scalarItem(4, 0xFFFFFFFE), scalarItem(3, 0)});
}

TEST_F(Commands, ActionFrame11v)
{
    auto req = patterned<bssTransitionRequest>(
        11, [](auto &r) { r.actionFrame.candidatesCount = 11; });  // bound 10
    auto res = patterned<bssTransitionResponse>(12);
    run({8, intfVelmor_modSrv_recvMsg_11vActionFrame, fnp(onRequest<bssTransitionRequest *>),
         [&] {
             return intfVelmor_sendReq_11vActionFrame(client, onResponse<bssTransitionResponse *>,
                                                      kCliRef, 0, "wifi", &req);
         },
         [&](void *ctx) { intfVelmor_sendRes_11vActionFrame(ctx, &res); },
         {render(&req)}, {render(&res)}, encode(req), encode(res)});
}

TEST_F(Commands, GetStationsStatistics)
{
    auto req = patterned<assocDevListReq>(13, [](auto &r) { r.devicesCount = 0; });
    auto res = patterned<assocDevListRet>(14, [](auto &r) { r.devicesCount = 100; });
    run({9, intfVelmor_modSrv_recvMsg_getStationsStatistics, fnp(onRequest<assocDevListReq *>),
         [&] {
             return intfVelmor_sendReq_getStationsStatistics(client, onResponse<assocDevListRet *>,
                                                             kCliRef, 0, "wifi", &req);
         },
         [&](void *ctx) { intfVelmor_sendRes_getStationsStatistics(ctx, &res); },
         {render(&req)}, {render(&res)}, encode(req), encode(res)});
}

TEST_F(Commands, BeaconRequest)
{
    auto req = patterned<BeaconRequestCfg>(15, [](auto &r) { r.apsCount = 31; });
    auto res = patterned<beaconReport>(16, [](auto &r) { r.eltsCount = 101; });
    run({10, intfVelmor_modSrv_recvMsg_beaconRequest, fnp(onRequest<BeaconRequestCfg *>),
         [&] {
             return intfVelmor_sendReq_beaconRequest(client, onResponse<beaconReport *>, kCliRef,
                                                     0, "wifi", &req);
         },
         [&](void *ctx) { intfVelmor_sendRes_beaconRequest(ctx, &res); },
         {render(&req)}, {render(&res)}, encode(req), encode(res)});
}

TEST_F(Commands, SetBeaconIETUK)
{
    auto req = patterned<BeaconIECfg>(17);
    run({11, intfVelmor_modSrv_recvMsg_setBeaconIETUK, fnp(onRequest<BeaconIECfg *>),
         [&] {
             return intfVelmor_sendReq_setBeaconIETUK(client, onResponse<uint8_t>, kCliRef, 0,
                                                      "wifi", &req);
         },
         [&](void *ctx) { intfVelmor_sendRes_setBeaconIETUK(ctx, 255); },
         {render(&req)}, {"255"}, encode(req), scalarItem(3, 255)});
}

TEST_F(Commands, GetChannelCreated)
{
    auto res = patterned<channelReport>(18, [](auto &r) { r.channelsCount = 33; });  // u8, bound 32
    run({12, intfVelmor_modSrv_recvMsg_getChannelCreated, fnp(onRequest<>),
         [&] {
             return intfVelmor_sendReq_getChannelCreated(client, onResponse<channelReport *>,
                                                         kCliRef, 0, "wifi");
         },
         [&](void *ctx) { intfVelmor_sendRes_getChannelCreated(ctx, &res); },
         {}, {render(&res)}, {}, encode(res)});
}

TEST_F(Commands, GetCCAStatistic)
{
    auto res = patterned<ccaStats>(19);
    run({13, intfVelmor_modSrv_recvMsg_getCCAStatistic, fnp(onRequest<>),
         [&] {
             return intfVelmor_sendReq_getCCAStatistic(client, onResponse<ccaStats *>, kCliRef, 0,
                                                       "wifi");
         },
         [&](void *ctx) { intfVelmor_sendRes_getCCAStatistic(ctx, &res); },
         {}, {render(&res)}, {}, encode(res)});
}

}  // namespace
