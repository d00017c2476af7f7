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

// Wire items as a peer writes them, independently of the library.
inline void put32(Bytes &b, uint32_t w)
{
    for (int s = 24; s >= 0; s -= 8)
        b.push_back((uint8_t)(w >> s));
}

inline Bytes scalarItem(uint32_t tag, uint32_t value)
{
    Bytes b;
    put32(b, tag), put32(b, 4), put32(b, value);
    return b;
}

// Tag, L, the characters, the NUL and 1 to 4 zero pad bytes.
inline Bytes textItem(uint32_t tag, const std::string &text)
{
    uint32_t len = (((uint32_t)text.size() + 1) & ~3u) + 4;
    Bytes b;
    put32(b, tag), put32(b, len);
    b.insert(b.end(), text.begin(), text.end());
    b.resize(8 + len, 0);
    return b;
}

inline Bytes frame(uint32_t magic, uint32_t stamp)
{
    return scalarItem(0, magic) + scalarItem(1, stamp);
}

// The constants of each message, in the index order of its block.
struct MsgInfo {
    const char *name;
    const char *entry;
    uint32_t magic;
    uint32_t stamp;
};

inline const MsgInfo kCmds[INTFVELMOR_CMD_COUNT] = {
    {"getAssocDevStats", "GetAssocDevStats", 0x29170612, 1},
    {"selectAndCreateRadio", "SelectAndCreateRadio", 0x20170621, 0},
    {"createAccessPoint", "CreateAccessPoint", 0x20170711, 0},
    {"getProbeRequestList", "GetProbeRequestList", 0x20182905, 1},
    {"getTemporarilyBlackList", "GetTemporarilyBlackList", 0x29170612, 1},
    {"configureAccessPoint", "ConfigureAccessPoint", 0x20170708, 0},
    {"configureQTNBackHaulWPS", "ConfigureQTNBackHaulWPS", 0x20170788, 0},
    {"temporarilyBlackList", "TemporarilyBlackList", 0x20171010, 1},
    {"11vActionFrame", "11vActionFrame", 0x20188512, 0},
    {"getStationsStatistics", "GetStationsStatistics", 0x20185465, 0},
    {"beaconRequest", "BeaconRequest", 0x20188512, 0},
    {"setBeaconIETUK", "SetBeaconIETUK", 0x20188512, 1},
    {"getChannelCreated", "GetChannelCreated", 0x20170365, 0},
    {"getCCAStatistic", "GetCCAStatistic", 0x29190165, 0},
};

inline const MsgInfo kNtfys[INTFVELMOR_NTFY_COUNT] = {
    {"meshTUKExtenderPairing", "MeshTUKExtenderPairing", 0x13531940, 1},
    {"meshTUKClientsLowRSSI", "MeshTUKClientsLowRSSI", 0x14531940, 1},
    {"beaconReport", "BeaconReport", 0x24582563, 0},
};

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
void *fnp(F *f)
{
    return reinterpret_cast<void *>(f);
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
