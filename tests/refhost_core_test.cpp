// The reference host on its own, driven by a tiny hand-made block whose body
// callbacks keep a ledger of every body, so that each free is checked for type
// and for being the only one.
#include "tolkRefHost.h"

#include "intfVelmor.h"
#include "tolkHost.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kMagic = 0x51A7E000;  // shared by every entry: routing must not use it

struct TBody {
    uint32_t magic;
    int32_t type;
    uint32_t value;
};

struct Ledger {
    std::map<void *, int32_t> live;  // body -> type it was made as
    int frees = 0, doubleFrees = 0, wrongTypes = 0;
    int boundedCalls = 0;  // receipts through the bounded decoder, and the last one's size
    long lastBound = -1;
} L;

TBody *newBody(int32_t type, uint32_t value)
{
    auto *b = static_cast<TBody *>(calloc(1, sizeof(TBody)));
    *b = TBody{kMagic, type, value};
    L.live[b] = type;
    return b;
}

void tFree(int32_t type, void *body)
{
    L.frees++;
    auto it = L.live.find(body);
    if (it == L.live.end()) {
        L.doubleFrees++;
        return;
    }
    if (it->second != type)
        L.wrongTypes++;
    L.live.erase(it);
    free(body);
}

uint32_t tSerialize(int32_t, void *body, uint8_t **out, uint32_t *len)
{
    auto *b = static_cast<TBody *>(body);
    *out = static_cast<uint8_t *>(malloc(8));
    memcpy(*out, &b->magic, 4);
    memcpy(*out + 4, &b->value, 4);
    *len = 8;
    return 0;
}

uint32_t tUnserialize(int32_t type, const uint8_t *bytes, void **out, uint32_t *size)
{
    uint32_t v;
    memcpy(&v, bytes + 4, 4);
    *out = newBody(type, v);
    *size = sizeof(TBody);
    return 0;
}

// Server/subscriber side: what the library's receive functions do.
using Handler = void (*)(void *ctx, uint32_t ref, TBody *body);
using ResCb = void (*)(void *ctx, uint32_t ref, TBody *body);

void tRecv(void *ctx, void *body, void *handler, uint32_t ref)
{
    if (handler)
        reinterpret_cast<Handler>(handler)(ctx, ref, static_cast<TBody *>(body));
    else
        tolkCore_sendMsgRes(ctx, body, 20, 18);
}

void tRecvRes(uint32_t, void *ctx, void *body)
{
    auto *head = static_cast<tolkCore_msgCtx *>(ctx);
    if (head->cbRes) {
        reinterpret_cast<ResCb>(head->cbRes)(ctx, head->ref, static_cast<TBody *>(body));
        return;
    }
    tolkCore_sendMsgRes(ctx, body, 20, 18);
}

int unregCalls;
uint16_t unregNum;
void tUnreg(uint16_t num) { unregCalls++, unregNum = num; }

// Handlers record what reached them.
std::vector<std::pair<uint32_t, uint32_t>> seen;  // (ref, value)
void *heldCtx;
void echoNow(void *ctx, uint32_t ref, TBody *req)
{
    seen.emplace_back(ref, req->value);
    if (tolkCore_isMsg_needRes(ctx) == 0)
        tolkCore_sendMsgRes(ctx, newBody(1, req->value * 2), 0, 18);
}
uint32_t secondRc;
void echoTwice(void *ctx, uint32_t ref, TBody *req)
{
    echoNow(ctx, ref, req);
    secondRc = tolkCore_sendMsgRes(ctx, newBody(1, 0), 0, 18);
}
void keepCtx(void *ctx, uint32_t ref, TBody *req) { heldCtx = ctx, seen.emplace_back(ref, req->value); }
void onRes(void *, uint32_t ref, TBody *res) { seen.emplace_back(ref, res->value); }

intfVelmor_entry makeEntry(const char *name, uintptr_t index)
{
    return intfVelmor_entry{tRecv, 0, name, tFree, tSerialize, tUnserialize, nullptr, index};
}

class RefHost : public ::testing::Test {
public:
    intfVelmor_cmdBlock cmd{};
    intfVelmor_ntfyBlock ntfy{};
    void *client = nullptr, *server = nullptr;

    template <typename Block>
    uint16_t registerBlock(Block &b, const char *name, uint16_t count)
    {
        tolkCore_mngt *rec = nullptr;
        uint16_t num = tolkCore_getBase_msgMngt(name, &rec, count);
        EXPECT_NE(rec, nullptr);
        rec->name = name;
        rec->unreg = tUnreg;
        for (uint16_t i = 0; i < count; i++) {
            b.entries[i] = makeEntry(i ? "Second" : "First", i);
            const intfVelmor_entry &e = b.entries[i];
            tolkCore_mngtEntries(rec)[i] = tolkCore_mngtEntry{
                0, e.name, reinterpret_cast<void *>(e.freeBody),
                reinterpret_cast<void *>(e.serializeBody),
                reinterpret_cast<void *>(e.unserializeBody), nullptr};
        }
        b.mngtNum = num;
        b.entryCount = count;
        return num;
    }

    void SetUp() override
    {
        refhost_reset();
        L = Ledger{};
        seen.clear();
        unregCalls = 0, heldCtx = nullptr, secondRc = 0;
        registerBlock(cmd, "TestCmd", 2);
        registerBlock(ntfy, "TestNtfy", 2);
        client = refhost_newUser("client");
        server = refhost_newUser("server");
        serve(0, echoNow, 7);
    }
    void TearDown() override
    {
        refhost_reset();
        EXPECT_TRUE(L.live.empty()) << "bodies leaked";
        EXPECT_EQ(L.doubleFrees, 0);
        EXPECT_EQ(L.wrongTypes, 0);
    }
    void serve(uint32_t index, Handler h, uint32_t ref)
    {
        ASSERT_EQ(tolkIntf_modSrv_mthd(server, refhost_token(reinterpret_cast<refhost_fn>(h)), ref, 0,
                                       kMagic + 1, "Test", &cmd, &ntfy, index, 0xFFFF, 0xFFFF),
                  0u);
    }
    uint32_t send(uint32_t value, ResCb cb, bool wantRes = true, uint32_t index = 0,
                  const char *to = "server")
    {
        return tolkCore_sendMsgReq_toNameUser(tolkIntf_getCore_user(client), newBody(0, value),
                                              wantRes ? reinterpret_cast<void *>(tRecvRes) : nullptr,
                                              reinterpret_cast<void *>(cb), 42, 0, to, cmd.mngtNum,
                                              index, 0xFFFF, 18);
    }
    void subscribe(void *user, uint32_t index, Handler h, uint32_t ref)
    {
        ASSERT_EQ(tolkIntf_modCliNtfyUser_mthd(user, refhost_token(reinterpret_cast<refhost_fn>(h)),
                                               ref, 0, kMagic + 1, "bus", nullptr, "Test", &cmd,
                                               &ntfy, index),
                  0u);
    }
    uint32_t publish(uint32_t value, uint32_t index)
    {
        return tolkIntf_sendReq_ntfy(server, newBody(0, value), 0, 0, 0, 1, 2, "Test",
                                     ntfy.mngtNum, index, 0, 0, 18);
    }
};

}  // namespace

// Found by the host through dlsym, as the library's own would be.
extern "C" uint32_t intfVelmor_unserializeBodyBounded(intfVelmor_unserializeBodyFn fn,
                                                      int32_t type, const uint8_t *bytes,
                                                      const uint8_t *end, void **out,
                                                      uint32_t *size)
{
    L.boundedCalls++;
    L.lastBound = end - bytes;
    return end - bytes < 8 ? 2u : fn(type, bytes, out, size);
}

TEST_F(RefHost, ManagementNumbersRegistrationAndWithdrawal)
{
    EXPECT_EQ(cmd.mngtNum, 1);
    EXPECT_EQ(ntfy.mngtNum, 2);
    EXPECT_EQ(refhost_mngtCount(), 2u);

    // Returned by its owner: no unregister callback; a second return fails.
    EXPECT_EQ(tolkCore_putBase_msgMngt(1, 0), 0u);
    EXPECT_NE(tolkCore_putBase_msgMngt(1, 0), 0u);
    EXPECT_EQ(unregCalls, 0);

    // Withdrawn by the core: the callback hears the number, and it is gone.
    EXPECT_EQ(tolkIntf_regUser_msgMngt(client, 0, nullptr, 2, 0xFFFF, 0), 0u);
    EXPECT_EQ(refhost_withdrawMngt(2), 0u);
    EXPECT_EQ(unregCalls, 1);
    EXPECT_EQ(unregNum, 2);
    EXPECT_EQ(refhost_isUserRegistered(client, 2), 0);
    EXPECT_NE(tolkCore_putBase_msgMngt(2, 0), 0u);
    EXPECT_NE(refhost_withdrawMngt(2), 0u);
    EXPECT_EQ(refhost_mngtCount(), 0u);
}

TEST_F(RefHost, DeferredResponseKeepsContextAndRequestBody)
{
    serve(1, keepCtx, 3);
    ASSERT_EQ(send(5, onRes, true, 1), 0u);
    ASSERT_NE(heldCtx, nullptr);
    EXPECT_EQ(refhost_stats().contextsOpen, 1u);
    EXPECT_EQ(refhost_stats().bodiesHeld, 1u);  // the server's request body
    EXPECT_EQ(tolkCore_isMsg_needRes(heldCtx), 0u);

    ASSERT_EQ(tolkCore_sendMsgRes(heldCtx, newBody(1, 6), 0, 18), 0u);
    EXPECT_EQ(seen.back(), std::make_pair(42u, 6u));
    EXPECT_EQ(refhost_stats().contextsOpen, 0u);
    EXPECT_EQ(refhost_stats().bodiesHeld, 0u);
    EXPECT_TRUE(L.live.empty());
    EXPECT_EQ(tolkCore_isMsg_needRes(heldCtx), 1u);  // what keeps a late sendRes quiet
    EXPECT_EQ(L.boundedCalls, 2);  // both bodies received through the bounded decoder
    EXPECT_EQ(L.lastBound, 8);

    // A second answer while the first one's recv still runs is refused and freed.
    serve(0, echoTwice, 0);
    ASSERT_EQ(send(2, onRes), 0u);
    EXPECT_EQ(secondRc, REFHOST_ERR_STATE);
    EXPECT_EQ(seen.back(), std::make_pair(42u, 4u));
}

TEST_F(RefHost, NotificationReachesEverySubscriberOfItsEntry)
{
    void *other = refhost_newUser("other"), *mute = refhost_newUser("mute");
    subscribe(client, 0, keepCtx, 10);
    subscribe(other, 0, keepCtx, 11);
    subscribe(mute, 0, nullptr, 12);   // no handler: answers 20
    subscribe(other, 1, keepCtx, 13);  // same magic, other entry
    ASSERT_EQ(publish(8, 0), 0u);
    EXPECT_EQ(seen, (std::vector<std::pair<uint32_t, uint32_t>>{{10, 8}, {11, 8}}));
    EXPECT_EQ(tolkCore_isMsg_needRes(heldCtx), 1u);
    EXPECT_EQ(refhost_lastResCode(), 20u);
    EXPECT_EQ(L.frees, 4);  // published body + three delivered ones
    EXPECT_EQ(refhost_stats().contextsOpen, 0u);
    EXPECT_EQ(refhost_stats().deliveries, 3u);
}
