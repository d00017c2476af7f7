// Allocation and host failures through every command and notification, on
// both sides of the reference host. The allocation seam fails the Nth
// allocation for N = 1, 2, ... until an exchange completes untouched: each
// failure is reported where it happened, the exchange stops there, and every
// block the library allocated is released exactly once, by the library or by
// the host's free().
#include <stdlib.h>

#include <set>

#include "base/alloc.h"
#include "messages/frame.h"
#include "messages_kit.h"

using namespace ivtest;

namespace {

// ---- the seam under test -------------------------------------------------------
struct Seam {
    uint32_t made = 0;    // allocations asked for since arm()
    uint32_t failAt = 0;  // this one fails; 0: none
    bool failed = false;
    std::set<void *> live;  // allocated and not yet released
    Strings errors;         // releases of blocks that were not live
};
Seam g_seam;

void *failingZalloc(size_t n)
{
    if (++g_seam.made == g_seam.failAt) {
        g_seam.failed = true;
        return nullptr;
    }
    void *p = calloc(1, n);
    g_seam.live.insert(p);
    return p;
}

void trackedRelease(void *p)
{
    if (!p)
        return;
    if (g_seam.live.erase(p) != 1) {
        g_seam.errors.push_back("released a block that is not live: " + at(p));
        return;  // freeing it again would corrupt the heap
    }
    free(p);
}

void arm(uint32_t failAt)
{
    g_seam.made = 0;
    g_seam.failAt = failAt;
    g_seam.failed = false;
}

void disarm() { g_seam.failAt = 0; }

// A block handed out by the library and released with free() by its taker.
void takeAndFree(void *p)
{
    ASSERT_EQ(1u, g_seam.live.erase(p)) << "not a live block: " << at(p);
    free(p);
}

std::string cbName(const char *op, const char *kind, const std::string &msg)
{
    return std::string("intfVelmor_cbEvtMsgMngt_") + op + "_" + kind + "_" + msg;
}

constexpr char kAllocCtx[] = "Allocating Memory Ctx[]\n";
constexpr char kAllocN[] = "Allocating Memory N Ctx[]\n";

// ---- every command and notification, with filled members ---------------------------
using ModSrvFn = uint32_t (*)(void *user, uint32_t w1, uint32_t w2, uint32_t w3);
using SubscribeFn = uint32_t (*)(void *user, uint32_t w1, uint32_t w2, uint32_t w3,
                                 const char *busName, void *userName);

struct Command {
    std::string name;
    ModSrvFn modSrv;
    void *handler;                           // answers through g_answer
    std::function<uint32_t(void *client)> send;
    std::function<void(void *ctx)> answer;   // sendRes
};

struct Notification {
    std::string name, sendName;
    SubscribeFn subscribe;
    void *handler;
    std::function<void(void *srv)> publish;
};

const std::vector<Command> &commands()
{
    static const std::vector<Command> list = [] {
        auto devReq = patterned<assocDevListReq>(1, [](auto &r) { r.devicesCount = 3; });
        auto devRet = patterned<assocDevListRet>(2, [](auto &r) { r.devicesCount = 2; });
        auto radio = patterned<RadioDef>(3);
        auto radioCap = patterned<RadioCapacity>(4, [](auto &r) {
            r.radioChannelCapabilities.bandwidthsCount = 2;
        });
        auto apCap = patterned<APCapacity>(5);
        auto probes = patterned<ProbeRequestList>(6, [](auto &r) { r.probesCount = 4; });
        auto macs = patterned<MacFilterList>(7, [](auto &r) { r.macsCount = 5; });
        auto apCfg = patterned<APCfg>(8, [](auto &r) { r.macFilterList.macsCount = 2; });
        auto apRet = patterned<APCfgRet>(9);
        auto wps = patterned<APBackHaulWPSCfg>(10);
        auto bssReq = patterned<bssTransitionRequest>(11, [](auto &r) {
            r.actionFrame.candidatesCount = 2;
        });
        auto bssRes = patterned<bssTransitionResponse>(12);
        auto beaconReq = patterned<BeaconRequestCfg>(13, [](auto &r) { r.apsCount = 2; });
        auto beaconRep = patterned<beaconReport>(14, [](auto &r) { r.eltsCount = 3; });
        auto beaconIE = patterned<BeaconIECfg>(15);
        auto channels = patterned<channelReport>(16, [](auto &r) { r.channelsCount = 4; });
        auto cca = patterned<ccaStats>(17);
        const char *srv = "wifi";
        return std::vector<Command>{
            {"getAssocDevStats", intfVelmor_modSrv_recvMsg_getAssocDevStats,
             fnp(onRequest<assocDevListReq *>),
             [=](void *c) {
                 return intfVelmor_sendReq_getAssocDevStats(c, onResponse<assocDevListRet *>, 0,
                                                            0, srv, &devReq);
             },
             [=](void *ctx) { intfVelmor_sendRes_getAssocDevStats(ctx, &devRet); }},
            {"selectAndCreateRadio", intfVelmor_modSrv_recvMsg_selectAndCreateRadio,
             fnp(onRequest<char *, RadioDef *>),
             [=](void *c) {
                 return intfVelmor_sendReq_selectAndCreateRadio(c, onResponse<RadioCapacity *>, 0,
                                                                0, srv, "radio0", &radio);
             },
             [=](void *ctx) { intfVelmor_sendRes_selectAndCreateRadio(ctx, &radioCap); }},
            {"createAccessPoint", intfVelmor_modSrv_recvMsg_createAccessPoint,
             fnp(onRequest<char *, char *, char *>),
             [=](void *c) {
                 return intfVelmor_sendReq_createAccessPoint(
                     c, onResponse<uint8_t, APCapacity *, char *>, 0, 0, srv, "ap", "ssid", "");
             },
             [=](void *ctx) { intfVelmor_sendRes_createAccessPoint(ctx, 3, &apCap, "up"); }},
            {"getProbeRequestList", intfVelmor_modSrv_recvMsg_getProbeRequestList,
             fnp(onRequest<>),
             [=](void *c) {
                 return intfVelmor_sendReq_getProbeRequestList(
                     c, onResponse<ProbeRequestList *>, 0, 0, srv);
             },
             [=](void *ctx) { intfVelmor_sendRes_getProbeRequestList(ctx, &probes); }},
            {"getTemporarilyBlackList", intfVelmor_modSrv_recvMsg_getTemporarilyBlackList,
             fnp(onRequest<>),
             [=](void *c) {
                 return intfVelmor_sendReq_getTemporarilyBlackList(
                     c, onResponse<MacFilterList *>, 0, 0, srv);
             },
             [=](void *ctx) { intfVelmor_sendRes_getTemporarilyBlackList(ctx, &macs); }},
            {"configureAccessPoint", intfVelmor_modSrv_recvMsg_configureAccessPoint,
             fnp(onRequest<APCfg *, uint8_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureAccessPoint(c, onResponse<APCfgRet *>, 0, 0,
                                                                srv, &apCfg, 9);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureAccessPoint(ctx, &apRet); }},
            {"configureQTNBackHaulWPS", intfVelmor_modSrv_recvMsg_configureQTNBackHaulWPS,
             fnp(onRequest<APBackHaulWPSCfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_configureQTNBackHaulWPS(c, onResponse<uint8_t>, 0, 0,
                                                                   srv, &wps);
             },
             [=](void *ctx) { intfVelmor_sendRes_configureQTNBackHaulWPS(ctx, 7); }},
            {"temporarilyBlackList", intfVelmor_modSrv_recvMsg_temporarilyBlackList,
             fnp(onRequest<char *, uint32_t>),
             [=](void *c) {
                 return intfVelmor_sendReq_temporarilyBlackList(c, onResponse<uint8_t>, 0, 0, srv,
                                                                "00:11:22:33:44:55", 60);
             },
             [=](void *ctx) { intfVelmor_sendRes_temporarilyBlackList(ctx, 0); }},
            {"11vActionFrame", intfVelmor_modSrv_recvMsg_11vActionFrame,
             fnp(onRequest<bssTransitionRequest *>),
             [=](void *c) {
                 return intfVelmor_sendReq_11vActionFrame(c, onResponse<bssTransitionResponse *>,
                                                          0, 0, srv, &bssReq);
             },
             [=](void *ctx) { intfVelmor_sendRes_11vActionFrame(ctx, &bssRes); }},
            {"getStationsStatistics", intfVelmor_modSrv_recvMsg_getStationsStatistics,
             fnp(onRequest<assocDevListReq *>),
             [=](void *c) {
                 return intfVelmor_sendReq_getStationsStatistics(
                     c, onResponse<assocDevListRet *>, 0, 0, srv, &devReq);
             },
             [=](void *ctx) { intfVelmor_sendRes_getStationsStatistics(ctx, &devRet); }},
            {"beaconRequest", intfVelmor_modSrv_recvMsg_beaconRequest,
             fnp(onRequest<BeaconRequestCfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_beaconRequest(c, onResponse<beaconReport *>, 0, 0, srv,
                                                         &beaconReq);
             },
             [=](void *ctx) { intfVelmor_sendRes_beaconRequest(ctx, &beaconRep); }},
            {"setBeaconIETUK", intfVelmor_modSrv_recvMsg_setBeaconIETUK,
             fnp(onRequest<BeaconIECfg *>),
             [=](void *c) {
                 return intfVelmor_sendReq_setBeaconIETUK(c, onResponse<uint8_t>, 0, 0, srv,
                                                          &beaconIE);
             },
             [=](void *ctx) { intfVelmor_sendRes_setBeaconIETUK(ctx, 1); }},
            {"getChannelCreated", intfVelmor_modSrv_recvMsg_getChannelCreated, fnp(onRequest<>),
             [=](void *c) {
                 return intfVelmor_sendReq_getChannelCreated(c, onResponse<channelReport *>, 0, 0,
                                                             srv);
             },
             [=](void *ctx) { intfVelmor_sendRes_getChannelCreated(ctx, &channels); }},
            {"getCCAStatistic", intfVelmor_modSrv_recvMsg_getCCAStatistic, fnp(onRequest<>),
             [=](void *c) {
                 return intfVelmor_sendReq_getCCAStatistic(c, onResponse<ccaStats *>, 0, 0, srv);
             },
             [=](void *ctx) { intfVelmor_sendRes_getCCAStatistic(ctx, &cca); }},
        };
    }();
    return list;
}

const std::vector<Notification> &notifications()
{
    static const std::vector<Notification> list = [] {
        auto lowRssi = patterned<LowRSSINtf>(20);
        return std::vector<Notification>{
            {"meshTUKExtenderPairing", "ntfyMeshTUKExtenderPairing",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKExtenderPairing,
             fnp(onRequest<uint32_t>),
             [](void *u) { intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(u, 0, 0, 5); }},
            {"meshTUKClientsLowRSSI", "ntfyMeshTUKClientsLowRSSI",
             intfVelmor_modCliNtfyUser_recvMsg_meshTUKClientsLowRSSI,
             fnp(onRequest<LowRSSINtf *>),
             [=](void *u) { intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(u, 0, 0, &lowRssi); }},
            {"beaconReport", "ntfyBeaconReport", intfVelmor_modCliNtfyUser_recvMsg_beaconReport,
             fnp(onRequest<char *, int8_t, int8_t>),
             [](void *u) { intfVelmor_sendReq_ntfyBeaconReport(u, 0, 0, "ab", -1, 2); }},
        };
    }();
    return list;
}

// ---- fixture --------------------------------------------------------------------------
class Faults : public Messages {
protected:
    void SetUp() override
    {
        saved = iv::allocSeam;
        iv::allocSeam = {failingZalloc, trackedRelease};
        g_seam = Seam{};
        fresh();
    }

    void TearDown() override
    {
        Messages::TearDown();
        iv::allocSeam = saved;
    }

    // A new world: host, descriptor and users, with the seam's counters kept.
    void fresh()
    {
        Messages::SetUp();
        refhost_setTrace(&Faults::traced, this);
    }

    // The host sends the serialized bytes, then frees them with free(): the
    // buffer leaves the library's account as it crosses.
    static void traced(void *self, const refhost_traceEvent *ev)
    {
        Messages::trace(self, ev);
        if (ev->bytes && g_seam.live.erase(const_cast<uint8_t *>(ev->bytes)) == 1)
            static_cast<Faults *>(self)->buffersOut++;
    }

    // Everything the host still holds goes back through freeBody; nothing the
    // library allocated may be left, and nothing may have been released twice.
    void expectAllReleased()
    {
        refhost_reset();
        EXPECT_EQ(Strings{}, g_seam.errors);
        EXPECT_TRUE(g_seam.live.empty()) << g_seam.live.size() << " blocks not released";
        g_seam.errors.clear();
        g_seam.live.clear();
    }

    iv::AllocSeam saved{};
    uint32_t buffersOut = 0;
};

// One failing allocation of an exchange: where it is, and what the caller sees.
struct Stage {
    std::string fn, text;
    uint32_t rc;         // what the client's send returns
    size_t handled;      // request handler calls
};

// ---- every allocation of every exchange, failed in turn -------------------------------
TEST_F(Faults, EveryAllocationOfEveryCommandFailsCleanly)
{
    for (const Command &cmd : commands()) {
        SCOPED_TRACE(cmd.name);
        // Client: request body, its buffer; service: request body, response
        // body, its buffer; client: response body.
        const std::vector<Stage> stages = {
            {"intfVelmor_sendReq_" + cmd.name, kAllocCtx, 0, 0},
            {cbName("serializeBody", "msgCmdReq", cmd.name), kAllocN, INTFVELMOR_ERR_ALLOC, 0},
            {cbName("unserializeBody", "msgCmdReq", cmd.name), kAllocCtx, INTFVELMOR_ERR_ALLOC, 0},
            {"intfVelmor_sendRes_" + cmd.name, kAllocCtx, 0, 1},
            {cbName("serializeBody", "msgCmdRes", cmd.name), kAllocN, 0, 1},
            {cbName("unserializeBody", "msgCmdRes", cmd.name), kAllocCtx, 0, 1},
        };
        uint32_t n = 1;
        for (;; ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            fresh();
            ASSERT_EQ(0u, cmd.modSrv(srv, refhost_token(cmd.handler), 0, 0));
            g_answer = cmd.answer;
            buffersOut = 0;
            arm(n);
            uint32_t rc = cmd.send(client);
            disarm();
            if (!g_seam.failed) {
                // The whole exchange, untouched: both sides answered.
                EXPECT_EQ(0u, rc);
                EXPECT_EQ(Strings{}, lines());
                EXPECT_EQ(1u, g_handled.size());
                EXPECT_EQ(1u, g_answered.size());
                EXPECT_EQ(2u, buffersOut);
                EXPECT_EQ(2u, refhost_stats().buffersFreed);
                EXPECT_EQ(0u, refhost_stats().contextsOpen);
                EXPECT_EQ(0u, refhost_stats().bodiesHeld);
                expectAllReleased();
                break;
            }
            ASSERT_LE(n, stages.size());
            const Stage &s = stages[n - 1];
            EXPECT_EQ(n, g_seam.made) << "the exchange went on after the failure";
            EXPECT_EQ(s.rc, rc);
            EXPECT_EQ(Strings{s.fn + ": " + s.text}, lines());
            for (const LogLine &l : logs())
                EXPECT_EQ(3, l.prio);
            EXPECT_EQ(s.handled, g_handled.size());
            EXPECT_EQ(0u, g_answered.size());
            EXPECT_EQ(refhost_stats().serialized, refhost_stats().buffersFreed);
            EXPECT_EQ(buffersOut, refhost_stats().buffersFreed);
            expectAllReleased();
        }
        EXPECT_EQ(stages.size() + 1, n);
    }
}

TEST_F(Faults, EveryAllocationOfEveryNotificationFailsCleanly)
{
    for (const Notification &nt : notifications()) {
        SCOPED_TRACE(nt.name);
        // Publisher: body, its buffer; subscriber: body.
        const std::vector<Stage> stages = {
            {"intfVelmor_sendReq_" + nt.sendName, kAllocCtx, 0, 0},
            {cbName("serializeBody", "msgNtfyReq", nt.name), kAllocN, 0, 0},
            {cbName("unserializeBody", "msgNtfyReq", nt.name), kAllocCtx, 0, 0},
        };
        uint32_t n = 1;
        for (;; ++n) {
            SCOPED_TRACE("allocation " + std::to_string(n));
            fresh();
            ASSERT_EQ(0u, nt.subscribe(client, refhost_token(nt.handler), 0, 0, "bus", nullptr));
            buffersOut = 0;
            arm(n);
            nt.publish(srv);
            disarm();
            if (!g_seam.failed) {
                EXPECT_EQ(Strings{}, lines());
                EXPECT_EQ(1u, g_handled.size());
                EXPECT_EQ(1u, buffersOut);
                EXPECT_EQ(1u, refhost_stats().buffersFreed);
                expectAllReleased();
                break;
            }
            ASSERT_LE(n, stages.size());
            const Stage &s = stages[n - 1];
            EXPECT_EQ(n, g_seam.made);
            EXPECT_EQ(Strings{s.fn + ": " + s.text}, lines());
            EXPECT_EQ(0u, g_handled.size());
            EXPECT_EQ(refhost_stats().serialized, refhost_stats().buffersFreed);
            expectAllReleased();
        }
        EXPECT_EQ(stages.size() + 1, n);
    }
}

TEST_F(Faults, LogBodyTextAllocationFailsToNull)
{
    auto check = [&](const intfVelmor_entry &e, const std::string &fn) {
        SCOPED_TRACE(fn);
        clearLogs();
        char *text = (char *)&g_seam;
        arm(1);
        e.logBody(0, 0, 0, &text);
        EXPECT_EQ(nullptr, text);
        EXPECT_EQ(Strings{fn + ": " + kAllocN}, lines());
        clearLogs();
        arm(0);
        e.logBody(0, 0, 0, &text);
        EXPECT_EQ(1u, g_seam.made);
        ASSERT_NE(nullptr, text);
        EXPECT_STREQ("", text);
        takeAndFree(text);
        EXPECT_EQ(Strings{}, lines());
    };
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        check(intfVelmor_base.cmd.entries[i], cbName("logBody", "msgCmd", commands()[i].name));
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        check(intfVelmor_base.ntfy.entries[i],
              cbName("logBody", "msgNtfy", notifications()[i].name));
    expectAllReleased();
}

// ---- one allocation per body and per buffer --------------------------------------------
TEST_F(Faults, SendingBuildsEachBodyWithOneAllocation)
{
    constexpr uint32_t kRefused = 0x77;
    for (const Command &cmd : commands()) {
        SCOPED_TRACE(cmd.name);
        // Request: the host refuses it at once and frees the body unsent.
        fresh();
        refhost_failNext(REFHOST_CALL_SEND_MSG_REQ, kRefused);
        arm(0);
        EXPECT_EQ(kRefused, cmd.send(client));
        EXPECT_EQ(1u, g_seam.made);
        EXPECT_EQ(1u, refhost_stats().bodiesFreed);
        EXPECT_EQ(0u, refhost_stats().serialized);
        EXPECT_EQ(Strings{}, lines());
        expectAllReleased();

        // Response: built by one allocation, refused by the host, freed.
        fresh();
        ASSERT_EQ(0u, cmd.modSrv(srv, refhost_token(cmd.handler), 0, 0));
        uint32_t before = 0;
        g_answer = [&](void *ctx) {
            before = g_seam.made;
            refhost_failNext(REFHOST_CALL_SEND_MSG_RES, kRefused);
            cmd.answer(ctx);
        };
        arm(0);
        EXPECT_EQ(0u, cmd.send(client));
        EXPECT_EQ(1u, g_seam.made - before);
        EXPECT_EQ(1u, g_handled.size());
        EXPECT_EQ(0u, g_answered.size());
        EXPECT_EQ(0u, refhost_stats().contextsOpen);
        EXPECT_EQ(Strings{}, lines());
        expectAllReleased();
    }
    for (const Notification &nt : notifications()) {
        SCOPED_TRACE(nt.name);
        fresh();
        refhost_failNext(REFHOST_CALL_SEND_REQ_NTFY, kRefused);
        arm(0);
        nt.publish(srv);
        EXPECT_EQ(1u, g_seam.made);
        EXPECT_EQ(1u, refhost_stats().bodiesFreed);
        EXPECT_EQ(Strings{}, lines());
        expectAllReleased();
    }
}

// serializeBody makes the buffer and unserializeBody the body, one
// allocation each, for every body type of every entry, bounded or not.
TEST_F(Faults, BodyCallbacksAllocateOnce)
{
    struct Case {
        const intfVelmor_entry *entry;
        const iv::MsgDesc *msg;
        int32_t type;
    };
    std::vector<Case> cases;
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        for (int32_t type : {INTFVELMOR_BODY_REQ, INTFVELMOR_BODY_RES})
            cases.push_back({&intfVelmor_base.cmd.entries[i], iv::kCommands[i], type});
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        cases.push_back({&intfVelmor_base.ntfy.entries[i], iv::kNotifications[i], 0});

    for (const Case &c : cases) {
        SCOPED_TRACE(std::string(c.msg->name) + (c.type ? " response" : " request"));
        std::vector<uint8_t> body(c.msg->size[c.type], 0);
        memcpy(body.data(), &c.msg->magic, 4);
        uint8_t *buf = nullptr;
        uint32_t len = 0;
        arm(0);
        ASSERT_EQ(0u, c.entry->serializeBody(c.type, body.data(), &buf, &len));
        EXPECT_EQ(1u, g_seam.made);

        for (bool bounded : {false, true}) {
            void *out = nullptr;
            uint32_t size = 0;
            arm(0);
            uint32_t rc = bounded ? intfVelmor_unserializeBodyBounded(
                                        c.entry->unserializeBody, c.type, buf, buf + len, &out,
                                        &size)
                                  : c.entry->unserializeBody(c.type, buf, &out, &size);
            ASSERT_EQ(0u, rc);
            EXPECT_EQ(1u, g_seam.made);
            EXPECT_EQ(c.msg->size[c.type], size);
            EXPECT_EQ(0, memcmp(body.data(), out, size));
            c.entry->freeBody(c.type, out);
            EXPECT_EQ(0u, g_seam.live.count(out));
        }
        takeAndFree(buf);
        EXPECT_EQ(Strings{}, lines());
    }
    expectAllReleased();
}

// ---- the host refusing calls --------------------------------------------------------------
TEST_F(Faults, HostRefusalsLoseNothing)
{
    constexpr uint32_t kCode = 0x42;
    for (const Command &cmd : commands()) {
        SCOPED_TRACE(cmd.name);
        // No core user: the host frees the body and says why.
        fresh();
        refhost_failNext(REFHOST_CALL_GET_CORE_USER, 1);
        EXPECT_EQ(REFHOST_ERR_USER, cmd.send(client));
        EXPECT_EQ(Strings{}, lines());
        expectAllReleased();

        // No response expected: sendRes allocates nothing; the request
        // waits in its context until the host drops it.
        fresh();
        ASSERT_EQ(0u, cmd.modSrv(srv, refhost_token(cmd.handler), 0, 0));
        g_answer = [&](void *ctx) {
            refhost_failNext(REFHOST_CALL_IS_MSG_NEED_RES, 1);
            uint32_t before = g_seam.made;
            cmd.answer(ctx);
            EXPECT_EQ(before, g_seam.made);
        };
        arm(0);
        EXPECT_EQ(0u, cmd.send(client));
        EXPECT_EQ(1u, g_handled.size());
        EXPECT_EQ(0u, g_answered.size());
        EXPECT_EQ(Strings{}, lines());
        expectAllReleased();

        // The service cannot install its handler: logged with the code.
        fresh();
        refhost_failNext(REFHOST_CALL_MOD_SRV_MTHD, kCode);
        arm(0);
        EXPECT_EQ(kCode, cmd.modSrv(srv, refhost_token(cmd.handler), 0, 0));
        EXPECT_EQ(0u, g_seam.made);
        EXPECT_EQ(Strings{"intfVelmor_modSrv_recvMsg_" + cmd.name + ": user(" + at(srv) +
                          "): ModCliNtfyUser failed(66)\n"},
                  lines());
    }
    for (const Notification &nt : notifications()) {
        SCOPED_TRACE(nt.name);
        fresh();
        refhost_failNext(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD, kCode);
        arm(0);
        EXPECT_EQ(kCode, nt.subscribe(client, refhost_token(nt.handler), 0, 0, "bus", srv));
        EXPECT_EQ(0u, g_seam.made);
        EXPECT_EQ(Strings{"intfVelmor_modCliNtfyUser_recvMsg_" + nt.name + ": user(" +
                          at(client) + ") bus name(bus) user name(" + at(srv) +
                          "): ModCliNtfyUser\n"},
                  lines());
    }
    fresh();
    refhost_failNext(REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE, kCode);
    arm(0);
    EXPECT_EQ(kCode, intfVelmor_modSrv_needUpdate_ntfyBeaconReport(srv, 0, 0, 0));
    EXPECT_EQ(0u, g_seam.made);
    EXPECT_EQ(Strings{"intfVelmor_modSrv_needUpdate_ntfyBeaconReport: user(" + at(srv) +
                      "): ModSrv failed(66)\n"},
              lines());
    expectAllReleased();
}

}  // namespace
