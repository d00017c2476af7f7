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

// Every command and notification with filled members (messages_kit.cpp):
// counts above their bounds travel unchanged, texts longer than their fields
// go out cut. A notification may have several cases.
const std::vector<Command> &commands();
const std::vector<Notification> &notifications();

// The case of a message of the catalogue, by its index, or nullptr with a
// failure that names the message: a row added to the catalogue without a
// case fails the tests that walk every message instead of going untested.
const Command *commandCase(uint32_t index);
const Notification *notificationCase(uint32_t index);

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
