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

constexpr char kAllocCtx[] = "Allocating Memory Ctx[]\n";
constexpr char kAllocN[] = "Allocating Memory N Ctx[]\n";

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
            {cb("serializeBody", "msgCmdReq", cmd.name), kAllocN, INTFVELMOR_ERR_ALLOC, 0},
            {cb("unserializeBody", "msgCmdReq", cmd.name), kAllocCtx, INTFVELMOR_ERR_ALLOC, 0},
            {"intfVelmor_sendRes_" + cmd.name, kAllocCtx, 0, 1},
            {cb("serializeBody", "msgCmdRes", cmd.name), kAllocN, 0, 1},
            {cb("unserializeBody", "msgCmdRes", cmd.name), kAllocCtx, 0, 1},
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
            {cb("serializeBody", "msgNtfyReq", nt.name), kAllocN, 0, 0},
            {cb("unserializeBody", "msgNtfyReq", nt.name), kAllocCtx, 0, 0},
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
        check(intfVelmor_base.cmd.entries[i], cb("logBody", "msgCmd", kCmds[i].name));
    for (uint32_t i = 0; i < INTFVELMOR_NTFY_COUNT; ++i)
        check(intfVelmor_base.ntfy.entries[i], cb("logBody", "msgNtfy", kNtfys[i].name));
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
