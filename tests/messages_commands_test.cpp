// Every command end to end through the reference host: what the client sends
// reaches the service's request handler, what the handler answers reaches the
// client's response callback, whether the handler answers at once or later,
// with the reference words and the bytes on the wire.
#include "messages_kit.h"

using namespace ivtest;

namespace {

constexpr uint32_t kSrvRef = 0x5E470002;  // word2 of modSrv: the handler's reference

class Commands : public Messages {
protected:
    void expectCrossed(const Event &ev, refhost_traceKind kind, const Command &x, int32_t type,
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

    void run(const Command &x)
    {
        for (bool later : {false, true}) {
            SCOPED_TRACE(later ? "answered later" : "answered at once");
            forget();
            ASSERT_EQ(0u, x.modSrv(srv, refhost_token(x.handler), kSrvRef, 0));
            g_answer = later ? nullptr : x.answer;
            EXPECT_EQ(0u, x.send(client));

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

// Every row of the catalogue has a case, and every case names its row.
TEST(CommandCases, OnePerCommandOfTheCatalogue)
{
    for (uint32_t i = 0; i < INTFVELMOR_CMD_COUNT; ++i)
        EXPECT_TRUE(commandCase(i));
    for (const Command &x : commands()) {
        ASSERT_LT(x.index, INTFVELMOR_CMD_COUNT) << x.name;
        EXPECT_EQ(kCmds[x.index].name, x.name) << "case of index " << x.index;
    }
}

TEST_F(Commands, EveryCommandEndToEnd)
{
    for (const Command &x : commands()) {
        SCOPED_TRACE(x.name);
        run(x);
    }
}

}  // namespace
