// The hosts' shared core on its own: management numbers, bodies freed once
// through their entries with the type they were delivered as, contexts
// answered while their delivery still runs, and the freeBody that a body of
// an unknown management falls back on.
#include "host_core.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>

namespace {

using hostcore::Core;
using hostcore::Entry;
using hostcore::Method;

// Every body the callbacks made, with its type; each free is checked against it.
struct Ledger {
    std::map<void *, int32_t> live;
    int wrongTypes = 0, unknown = 0, freedByB = 0;
} L;

void *newBody(int32_t type)
{
    void *b = malloc(4);
    L.live[b] = type;
    return b;
}

void freeA(int32_t type, void *body)
{
    auto it = L.live.find(body);
    if (it == L.live.end()) {
        L.unknown++;
        return;
    }
    L.wrongTypes += it->second != type;
    L.live.erase(it);
    free(body);
}

void freeB(int32_t type, void *body)
{
    L.freedByB++;
    freeA(type, body);
}

uint32_t unserializeA(int32_t type, const uint8_t *, void **out, uint32_t *size)
{
    *out = newBody(type);
    *size = 4;
    return 0;
}

const uint8_t kBytes[1] = {7};

Entry entryA() { return Entry{"A", freeA, nullptr, unserializeA}; }

class HostCore : public ::testing::Test {
protected:
    Core core;
    void SetUp() override { L = Ledger{}; }
    void TearDown() override
    {
        core.forget();
        EXPECT_TRUE(L.live.empty()) << "bodies leaked";
        EXPECT_EQ(L.wrongTypes, 0);
        EXPECT_EQ(L.unknown, 0) << "a body freed twice";
    }
};

TEST_F(HostCore, ManagementNumbersAreNotReusedAtOnceAndWrapPastLiveOnes)
{
    tolkCore_mngt *rec = nullptr;
    uint16_t first = core.handOutMngt(&rec, 2, false);
    ASSERT_EQ(first, 1);
    ASSERT_NE(rec, nullptr);
    EXPECT_EQ(rec->core, 1u);
    EXPECT_EQ(core.returnMngt(first), 0u);
    EXPECT_EQ(core.returnMngt(first), hostcore::kErrMngt);
    EXPECT_EQ(core.handOutMngt(&rec, 2, false), 2);  // not the 1 just returned

    // At the top of the range the numbers start again at 1, past the live 2.
    core.nextMngt = 0xFFFE;
    EXPECT_EQ(core.handOutMngt(&rec, 0, false), 0xFFFE);
    EXPECT_EQ(core.handOutMngt(&rec, 0, false), 1);
    EXPECT_EQ(core.handOutMngt(&rec, 0, false), 3);

    uint16_t bare = core.handOutMngt(&rec, 1, true);
    EXPECT_EQ(rec, nullptr);
    EXPECT_EQ(core.findMngt(bare), nullptr);
    EXPECT_EQ(core.handOutMngt(nullptr, 1, false), hostcore::kNoMngt);
    EXPECT_EQ(core.handOutMngt(&rec, hostcore::kMaxEntries + 1, false), hostcore::kNoMngt);
    EXPECT_EQ(core.findMngt(0x10001), nullptr);  // never truncated to 1
}

TEST_F(HostCore, HeldBodyIsFreedOnceAsTheTypeItWasDeliveredAs)
{
    void *res = nullptr;
    ASSERT_EQ(core.unserialize(entryA(), INTFVELMOR_BODY_RES, kBytes, 1, &res), 0u);
    EXPECT_EQ(core.held.size(), 1u);

    // Handed back as another entry's request: freed by its own entry, as a response.
    core.release(res, freeB, INTFVELMOR_BODY_REQ);
    EXPECT_EQ(L.freedByB, 0);
    EXPECT_TRUE(core.held.empty());
    core.releaseIfHeld(res);  // already gone: no second free
    EXPECT_EQ(core.counts.bodiesFreed, 1u);

    // A body the core never held goes through the callback it is given.
    core.release(newBody(INTFVELMOR_BODY_REQ), freeB, INTFVELMOR_BODY_REQ);
    EXPECT_EQ(L.freedByB, 1);
    EXPECT_EQ(core.counts.unserialized, 1u);
}

// A context that reports when it goes, for answers given inside its recv.
struct Probe : hostcore::Ctx {
    bool *gone;
    explicit Probe(bool *g) : gone(g) {}
    ~Probe() override { *gone = true; }
};

Core *gCore;
bool gGoneInRecv;
bool *gGone;

void answerInRecv(void *ctx, void *body, void *, uint32_t)
{
    hostcore::Ctx *c = gCore->liveCtx(ctx);
    ASSERT_NE(c, nullptr);
    gCore->release(body, nullptr, 0);  // the request body answered back as the response
    EXPECT_EQ(c->reqBody, nullptr);
    gCore->endCtx(c);
    gGoneInRecv = *gGone;
}

TEST_F(HostCore, ContextAnsweredInsideItsRecvGoesOnlyAfterRecvReturns)
{
    gCore = &core;
    bool gone = false;
    gGone = &gone;
    void *req = nullptr;
    ASSERT_EQ(core.unserialize(entryA(), INTFVELMOR_BODY_REQ, kBytes, 1, &req), 0u);
    auto *c = new Probe(&gone);
    core.openCtx(c, entryA(), 1, 0, true, req, "client", "server");
    core.deliver(c, answerInRecv, nullptr, 0);
    EXPECT_FALSE(gGoneInRecv);
    EXPECT_TRUE(gone);
    EXPECT_TRUE(core.ctxs.empty());
    EXPECT_EQ(core.counts.bodiesFreed, 1u);

    // Nobody to answer: a context that expects an answer still goes at once.
    gone = false;
    ASSERT_EQ(core.unserialize(entryA(), INTFVELMOR_BODY_REQ, kBytes, 1, &req), 0u);
    c = new Probe(&gone);
    core.openCtx(c, entryA(), 1, 0, true, req, "client", "server");
    core.deliver(c, nullptr, nullptr, 0);
    EXPECT_TRUE(gone);
    EXPECT_EQ(core.counts.deliveries, 1u);
}

TEST_F(HostCore, OrphanBodyFallsBackOnlyOnAnEntryThatIsSurelyItsOwn)
{
    static intfVelmor_cmdBlock one{}, two{};
    static intfVelmor_ntfyBlock ntfy{};
    one.entryCount = two.entryCount = 1;
    one.entries[0].freeBody = freeA;
    two.entries[0].freeBody = freeB;
    hostcore::User *srv = core.newUser("srv");
    auto method = [&](intfVelmor_cmdBlock &b, const char *intf, uint32_t ref) {
        return Method{srv, b.entries, "Cmd", &b.mngtNum, 0, nullptr, ref, intf, ""};
    };

    EXPECT_FALSE(core.putMethod(core.methods, method(one, "One", 1)));
    EXPECT_EQ(core.serviceFree("srv", 0), freeA);
    EXPECT_EQ(core.serviceFree("other", 0), nullptr);

    // The same entry installed again replaces the method and says which it was.
    Method old{};
    EXPECT_TRUE(core.putMethod(core.methods, method(one, "One", 2), &old));
    EXPECT_EQ(old.ref, 1u);
    EXPECT_EQ(core.methods.size(), 1u);

    // The index served for two interfaces with two freeBody: none is sure.
    core.putMethod(core.methods, method(two, "Two", 3));
    EXPECT_EQ(core.serviceFree("srv", 0), nullptr);
    EXPECT_EQ(core.userFor(0, "Two", 0), srv);

    core.noteBlocks("One", &one, &ntfy);
    const hostcore::Blocks *b = core.blocksOf("One");
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(Core::blockFree(*b, false, 0), freeA);
    EXPECT_EQ(Core::blockFree(*b, false, 1), nullptr);  // past the block's entries
    EXPECT_EQ(core.blocksOf("Two"), nullptr);

    core.dropUser(srv);
    EXPECT_TRUE(core.methods.empty());
    EXPECT_EQ(core.userFor(0, nullptr, 0), nullptr);
}

}  // namespace
