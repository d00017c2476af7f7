// The command frame: its bytes on the wire, the body callbacks called directly
// as a message core calls them, the answers a request or a response gets when
// nobody handles it, and the aborts on a broken body magic.
#include <signal.h>
#include <stdlib.h>

#include "messages_kit.h"

using namespace ivtest;

namespace {

constexpr uint32_t kCliRef = 0xC11E0001, kSrvRef = 0x5E470002;
enum : uint32_t { kCCA = 13 };

// Bodies as the library lays them out: magic, reference word, members by value.
struct Head {
    uint32_t magic;
    uint16_t ref;
};
struct CCARes {
    uint32_t magic;
    uint16_t ref;
    ccaStats res;
};
const Bytes kCCAReq =
    hex("00 00 00 00 00 00 00 04 29 19 01 65 00 00 00 01 00 00 00 04 00 00 00 00");
const Bytes kCCARes = kCCAReq + scalarItem(3, 1) + scalarItem(4, 2) + scalarItem(5, 3) +
                      scalarItem(6, 4) + scalarItem(7, 5);

const intfVelmor_entry &cmd(uint32_t i) { return intfVelmor_base.cmd.entries[i]; }

struct Received {
    uint32_t rc;
    void *body;
    uint32_t size;
};

Received receive(const intfVelmor_entry &e, int32_t type, const Bytes &b)
{
    Received r{0, nullptr, 0};
    r.rc = e.unserializeBody(type, b.data(), &r.body, &r.size);
    return r;
}

class Frame : public Messages {
protected:
    // getCCAStatistic served by the service (handler null: none) and asked by the client.
    uint32_t serve(refhost_fn handler)
    {
        return intfVelmor_modSrv_recvMsg_getCCAStatistic(srv, refhost_token(handler), kSrvRef, 0);
    }
    uint32_t ask(intfVelmor_cbRes_getCCAStatistic cb, const char *srvName = "wifi")
    {
        return intfVelmor_sendReq_getCCAStatistic(client, cb, kCliRef, 0, srvName);
    }
};

// ---- body callbacks called directly --------------------------------------------------

// Body types the callbacks do not know, and logBody, on every entry of both
// blocks: a notification has no response body either.
TEST_F(Frame, UnknownBodyTypesAndLogBodyOnEveryEntry)
{
    Head body{0, 0};  // never looked at, never freed
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT + INTFVELMOR_NTFY_COUNT; ++i) {
        bool ntfy = i >= INTFVELMOR_CMD_COUNT;
        const intfVelmor_entry &e =
            ntfy ? intfVelmor_base.ntfy.entries[i - INTFVELMOR_CMD_COUNT] : cmd(i);
        const char *n = ntfy ? kNtfys[i - INTFVELMOR_CMD_COUNT].name : kCmds[i].name;
        const char *kind = ntfy ? "msgNtfy" : "msgCmd";
        SCOPED_TRACE(n);
        clearLogs();
        uint8_t *out = nullptr;
        uint32_t len = 0, size = 0;
        void *got = nullptr;
        Strings want;
        if (ntfy) {
            EXPECT_EQ(1u, e.serializeBody(1, &body, &out, &len));
            EXPECT_EQ(1u, e.unserializeBody(1, kCCAReq.data(), &got, &size));
            e.freeBody(1, &body);
            want = {cb("serializeBody", kind, n) + ": No Serialize response process\n",
                    cb("unserializeBody", kind, n) + ": No Unserialize response process\n",
                    cb("freeBody", kind, n) + ": No free body response process\n"};
        }
        EXPECT_EQ(1u, e.serializeBody(2, &body, &out, &len));
        EXPECT_EQ(1u, e.unserializeBody(-1, kCCAReq.data(), &got, &size));
        e.freeBody(2, &body);
        EXPECT_EQ(nullptr, out);
        EXPECT_EQ(nullptr, got);
        char *text = nullptr;
        e.logBody(1, 2, 3, &text);
        ASSERT_NE(nullptr, text);
        EXPECT_STREQ("", text);
        free(text);
        e.logBody(1, 2, 3, nullptr);
        // freeBody's line has no line end.
        want = want + Strings{cb("serializeBody", kind, n) + ": Type(2) unknown\n",
                              cb("unserializeBody", kind, n) + ": Type(-1) unknown\n",
                              cb("freeBody", kind, n) + ": Type(2) unknown",
                              cb("logBody", kind, n) + ": Invalid parameter\n"};
        EXPECT_EQ(want, linesAt(3));
        EXPECT_EQ(want.size(), logs().size());
    }
}

uint32_t notOurs(int32_t, const uint8_t *, void **, uint32_t *) { return 0; }

TEST_F(Frame, BoundedReceiptKnowsOnlyItsOwnCallbacks)
{
    void *body = nullptr;
    uint32_t size = 0;
    auto bounded = [&](intfVelmor_unserializeBodyFn f, int32_t type, const Bytes &b) {
        return intfVelmor_unserializeBodyBounded(f, type, b.data(), b.data() + b.size(), &body,
                                                 &size);
    };
    // Only the interface's own callbacks are known.
    EXPECT_EQ(1u, bounded(notOurs, 0, kCCAReq));
}

TEST_F(Frame, FreeBodyHonoursTheReferenceWord)
{
    Received req = receive(cmd(kCCA), 0, kCCAReq);
    Received res = receive(cmd(kCCA), 1, kCCARes);
    ASSERT_EQ(0u, req.rc);
    ASSERT_EQ(0u, res.rc);
    Head *h = (Head *)req.body;
    CCARes *r = (CCARes *)res.body;
    // Held elsewhere: left as it is. A held response is not even checked.
    h->ref = 1;
    r->ref = 1;
    r->magic = 0x0BADF00D;
    cmd(kCCA).freeBody(0, h);
    cmd(kCCA).freeBody(1, r);
    EXPECT_EQ(0x29190165u, h->magic);
    EXPECT_EQ(0x0BADF00Du, r->magic);
    EXPECT_EQ(5u, r->res.v7);
    EXPECT_EQ(Strings{}, lines());
    // Released once the word is 0 again.
    h->ref = 0;
    r->ref = 0;
    r->magic = 0x29190165;
    cmd(kCCA).freeBody(0, h);
    cmd(kCCA).freeBody(1, r);
    EXPECT_EQ(Strings{}, lines());
}

TEST_F(Frame, NullBodies)
{
    uint8_t *out = nullptr;
    uint32_t len = 0;
    EXPECT_EQ(4u, cmd(kCCA).serializeBody(0, nullptr, &out, &len));
    EXPECT_EQ(4u, cmd(kCCA).serializeBody(1, nullptr, &out, &len));
    EXPECT_EQ(nullptr, out);
    cmd(kCCA).freeBody(0, nullptr);
    cmd(kCCA).freeBody(1, nullptr);
    intfVelmor_recvReq_getCCAStatistic(nullptr, nullptr, reinterpret_cast<void *>(fnp(onRequest<>)), 0);
    EXPECT_TRUE(g_handled.empty());
    const std::string null = ": Ctx[NULL] text[]\n";
    EXPECT_EQ(linesAt(3), (Strings{cb("serializeBody", "msgCmdReq", "getCCAStatistic") + null,
                                   cb("serializeBody", "msgCmdRes", "getCCAStatistic") + null,
                                   cb("freeBody", "msgCmdReq", "getCCAStatistic") + null,
                                   cb("freeBody", "msgCmdRes", "getCCAStatistic") + null,
                                   "intfVelmor_recvReq_getCCAStatistic" + null}));
}

// ---- nobody to handle, nothing to answer ------------------------------------------------

TEST_F(Frame, RequestWithoutHandlerIsAnsweredWith20)
{
    ASSERT_EQ(0u, serve(nullptr));
    EXPECT_EQ(0u, ask(onResponse<ccaStats *>));
    EXPECT_TRUE(g_answered.empty());
    ASSERT_EQ(2u, events.size());
    EXPECT_EQ(REFHOST_TRACE_CODE, events[1].kind);
    EXPECT_EQ(20u, events[1].code);
    EXPECT_EQ("wifi", events[1].from);
    EXPECT_EQ(20u, refhost_lastResCode());
    // The request body itself went back: the host freed the client's request
    // and the received one, and no third body.
    EXPECT_EQ(2u, refhost_stats().bodiesFreed);
    EXPECT_EQ(Strings{}, lines());
}

TEST_F(Frame, RequestWithoutCallbackExpectsNoResponse)
{
    ccaStats stats{1, 2, 3, 4, 5};
    uint32_t needRes = 0;
    g_answer = [&](void *ctx) {
        EXPECT_EQ(nullptr, ((tolkCore_msgCtx *)ctx)->cbRes);
        needRes = tolkCore_isMsg_needRes(ctx);  // no response function was given
        intfVelmor_sendRes_getCCAStatistic(ctx, &stats);
    };
    ASSERT_EQ(0u, serve(fnp(onRequest<>)));
    EXPECT_EQ(0u, ask(nullptr));
    EXPECT_EQ(1u, g_handled.size());
    EXPECT_NE(0u, needRes);
    // Sent, and nothing answered: no response body was built, serialized or freed.
    ASSERT_EQ(1u, events.size());
    EXPECT_EQ(REFHOST_TRACE_REQUEST, events[0].kind);
    refhost_statsInfo s = refhost_stats();
    EXPECT_EQ(1u, s.serialized);
    EXPECT_EQ(2u, s.bodiesFreed);
    EXPECT_EQ(0u, s.codeResponses);
    EXPECT_EQ(Strings{}, lines());
}

TEST_F(Frame, ResponseWithoutCallbackIsAnsweredWith20)
{
    ccaStats stats{1, 2, 3, 4, 5};
    g_answer = [&](void *ctx) {
        ((tolkCore_msgCtx *)ctx)->cbRes = nullptr;  // the context has lost its callback
        intfVelmor_sendRes_getCCAStatistic(ctx, &stats);
    };
    ASSERT_EQ(0u, serve(fnp(onRequest<>)));
    EXPECT_EQ(0u, ask(onResponse<ccaStats *>));
    EXPECT_TRUE(g_answered.empty());
    ASSERT_EQ(3u, events.size());
    EXPECT_EQ(REFHOST_TRACE_RESPONSE, events[1].kind);
    EXPECT_EQ(REFHOST_TRACE_CODE, events[2].kind);
    EXPECT_EQ(20u, events[2].code);
    EXPECT_EQ("client", events[2].from);
    EXPECT_EQ(Strings{}, lines());
}

TEST_F(Frame, NullServiceNameSendsNothing)
{
    EXPECT_EQ(0u, ask(onResponse<ccaStats *>, nullptr));
    EXPECT_EQ(linesAt(3), Strings{"intfVelmor_sendReq_getCCAStatistic: user(" + at(client) +
                                  "): UserName Null\n"});
    EXPECT_TRUE(events.empty());
    EXPECT_EQ(0u, refhost_stats().bodiesFreed);
}

// ---- broken magic ---------------------------------------------------------------------

using FrameDeathTest = Frame;

// The emergency line, which the test kit echoes to stderr, then abort.
std::string checkMagic(const std::string &fn)
{
    return fn + "\\([0-9]+\\): Check Magic\\[INTFVELMOR_MAGIC_MSGCMD_GETCCASTATISTIC-29190165\\] "
                "Ctx\\[ptr\\(0x[0-9a-f]+\\) magic\\(12345678\\)\\] text\\[\\]";
}

TEST_F(FrameDeathTest, ForeignBodyAborts)
{
    Head body{0x12345678, 0};
    EXPECT_EXIT(intfVelmor_recvReq_getCCAStatistic(nullptr, &body, reinterpret_cast<void *>(fnp(onRequest<>)), 0),
                testing::KilledBySignal(SIGABRT), checkMagic("intfVelmor_recvReq_getCCAStatistic"));
    // A request body is checked before its reference word.
    Head held{0x12345678, 1};
    EXPECT_EXIT(cmd(kCCA).freeBody(0, &held), testing::KilledBySignal(SIGABRT),
                checkMagic(cb("freeBody", "msgCmdReq", "getCCAStatistic")));
    // A response body of its own is checked before it is released.
    EXPECT_EXIT(cmd(kCCA).freeBody(1, &body), testing::KilledBySignal(SIGABRT),
                checkMagic(cb("freeBody", "msgCmdRes", "getCCAStatistic")));
    uint8_t *out = nullptr;
    uint32_t len = 0;
    EXPECT_EXIT(cmd(kCCA).serializeBody(1, &body, &out, &len), testing::KilledBySignal(SIGABRT),
                checkMagic(cb("serializeBody", "msgCmdRes", "getCCAStatistic")));
}

}  // namespace
