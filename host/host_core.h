// The bookkeeping every host of tolkHost.h keeps, whatever carries the bytes:
// managements, users, installed methods and subscriptions, message contexts,
// bodies the host unserialized and still holds, and tokens. Bodies are made
// into bytes and back, and freed, only through their entries' callbacks.
//
// A host derives its state from Core and adds its transport; Core takes no
// lock and logs nothing. It is linked statically into each host library
// with hidden visibility, so every host has its own copy and exports none
// of it.
#ifndef TOLK_HOST_CORE_H
#define TOLK_HOST_CORE_H

#include "intfVelmor.h"
#include "tolkHost.h"

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace hostcore __attribute__((visibility("hidden"))) {

constexpr uint16_t kNoMngt = 0xFFFF;
constexpr uint32_t kMaxEntries = 0x10000;

// Codes the core returns; each host's header gives them the same values.
constexpr uint32_t kErrNoServer = 0x100;
constexpr uint32_t kErrMngt = 0x101;
constexpr uint32_t kErrUser = 0x102;
constexpr uint32_t kErrCtx = 0x103;
constexpr uint32_t kErrState = 0x104;
constexpr uint32_t kErrArg = 0x105;

// A handler function as a token stands for it in a 32-bit caller word.
using Fn = void (*)(void);
using RecvResFn = void (*)(uint32_t ignored, void *ctx, void *body);

struct User {
    std::string name;
};

struct Reg {
    User *user;
    uint16_t mngt;
    uint32_t word;
    void *ref;
};

// A command that a user serves, or a notification it subscribed to.
struct Method {
    User *user;
    const intfVelmor_entry *entries;  // the block's entries (recv handlers)
    const char *blockName;
    const uint16_t *blockMngt;        // the block's current management number
    uint32_t index;
    void *handler;
    uint32_t ref;
    std::string intf;
    std::string publisher;  // subscriptions: the publisher it is limited to, or "" for any
};

// The blocks an interface's users installed methods from, by interface name.
struct Blocks {
    const intfVelmor_cmdBlock *cmd;
    const intfVelmor_ntfyBlock *ntfy;
};

struct Mngt {
    tolkCore_mngt *rec;
    uint32_t count;
};

// The body callbacks of one entry, copied out of the management record so
// that a context outlives the return of its management.
struct Entry {
    const char *name;
    intfVelmor_freeBodyFn freeBody;
    intfVelmor_serializeBodyFn serialize;
    intfVelmor_unserializeBodyFn unserialize;
};

// The receiving side of a request or notification. A host derives its own
// context from it when it needs more; Core deletes it through the base.
struct Ctx {
    virtual ~Ctx() = default;
    // Whether a call of the library for this context is on the stack, which
    // keeps an ended context alive until it returns.
    virtual bool inCall() const { return inRecv; }

    tolkCore_msgCtx head{};  // &head is the context the library sees
    Entry entry{};
    uint16_t mngt = 0;
    uint32_t index = 0;
    bool needRes = false;
    void *reqBody = nullptr;  // the delivered request/notification body while held
    std::string client, server;
    bool inRecv = false;  // the entry's recv is on the stack
    bool ended = false;   // answered or abandoned; destroyed once nothing is on the stack
};

// A body that the host unserialized and handed out.
struct Held {
    int32_t type;
    intfVelmor_freeBodyFn freeBody;
};

// The counters both hosts report; each adds its transport's own.
struct Counters {
    uint32_t serialized;     // successful serializeBody calls
    uint32_t unserialized;   // successful unserializeBody calls
    uint32_t bodiesFreed;    // freeBody calls made by the host
    uint32_t deliveries;     // calls of an entry's recv or of a recvRes
    uint32_t codeResponses;  // non-zero codes sent through tolkCore_sendMsgRes
    uint32_t needUpdates;    // tolkIntf_modSrv_ntfy_needUpdate registrations
};

// A block's management number, written by the library's lifecycle on
// another thread.
inline uint16_t mngtOf(const uint16_t *blockMngt)
{
    return __atomic_load_n(blockMngt, __ATOMIC_RELAXED);
}

template <typename T, typename Pred>
void eraseIf(std::vector<T> &v, Pred p)
{
    for (size_t i = v.size(); i-- > 0;)
        if (p(v[i]))
            v.erase(v.begin() + static_cast<std::ptrdiff_t>(i));
}

// A host's trace event (its public type) filled from what crossed; the
// fields a host adds beyond these stay zero for it to set.
template <typename Event, typename Kind>
Event traceEvent(Kind kind, const Entry &e, uint16_t mngt, uint32_t index, int32_t type,
                 const uint8_t *bytes, uint32_t len, uint32_t code, const std::string &from,
                 const std::string &to)
{
    Event ev{};
    ev.kind = kind;
    ev.entryName = e.name;
    ev.mngtNum = mngt;
    ev.index = index;
    ev.bodyType = type;
    ev.bytes = bytes;
    ev.length = len;
    ev.code = code;
    ev.sender = from.c_str();
    ev.receiver = to.c_str();
    return ev;
}

struct Core {
    std::vector<std::pair<tick_evtFn, void *>> evts;
    std::map<uint16_t, Mngt> mngts;
    std::vector<User *> users;
    std::vector<Reg> regs;
    std::vector<Method> methods;
    std::vector<Method> subs;
    std::vector<Fn> tokens;
    std::vector<Ctx *> ctxs;
    std::unordered_map<void *, Held> held;
    std::map<std::string, Blocks> blocks;
    // unserializeBody callback -> whether the bounded reader applies to it;
    // emptied whenever a management goes, since its object may go with it
    std::unordered_map<const void *, bool> boundedFor;
    Counters counts{};
    uint16_t nextMngt = 1;  // the next management number to try

    Core() = default;
    Core(const Core &) = delete;
    Core &operator=(const Core &) = delete;

    /* event loop */
    uint32_t addEvent(tick_evtFn cb, void *ctx);
    void deliverEvent(int32_t event);

    /* managements */
    // A new number and, unless numberOnly, its zeroed record of count
    // entries; kNoMngt when none can be had.
    uint16_t handOutMngt(tolkCore_mngt **record, uint32_t count, bool numberOnly);
    // Returned by its owner: never calls the record's unregister callback.
    uint32_t returnMngt(uint32_t num);
    Mngt *findMngt(uint32_t num);
    void dropMngt(uint16_t num);
    bool entryOf(uint32_t mngt, uint32_t index, Entry *out);

    /* users */
    User *newUser(const char *name);
    User *findUser(const void *p) const;
    const char *nameOf(const void *p) const;  // "" for no user
    // Drops its registrations, methods and subscriptions, then the user.
    void dropUser(User *u);
    uint32_t registerUser(void *user, uint32_t mngt, uint32_t word, void *ref);
    uint32_t unregisterUser(void *user, uint32_t mngt);
    // a = 0: the first user serving command entry index, a = 1: the first
    // subscribed to notification entry index; of intf unless it is null.
    User *userFor(int32_t a, const char *intf, uint32_t index) const;

    /* methods and the blocks they came from */
    // Installs or replaces the user's method for one entry of one block;
    // true, and the method it replaced in *replaced, when there was one.
    bool putMethod(std::vector<Method> &list, const Method &m, Method *replaced = nullptr);
    void noteBlocks(const char *intf, const void *cmd, const void *ntfy);
    uint32_t noteNeedUpdate(void *user, const char *intf, const void *cmd, const void *ntfy);
    const Blocks *blocksOf(const char *intf) const;
    // The freeBody of entry index of the methods srvName serves; null when it
    // serves none, or serves the index for two interfaces.
    intfVelmor_freeBodyFn serviceFree(const char *srvName, uint32_t index) const;
    static intfVelmor_freeBodyFn blockFree(const Blocks &b, bool ntfy, uint32_t index);

    /* tokens */
    uint32_t token(Fn fn)
    {
        if (!fn)
            return 0;
        for (size_t i = 0; i < tokens.size(); i++)
            if (tokens[i] == fn)
                return static_cast<uint32_t>(i + 1);
        tokens.push_back(fn);
        return static_cast<uint32_t>(tokens.size());
    }
    Fn fromToken(uint32_t token) const
    {
        if (token == 0 || token > tokens.size())
            return nullptr;
        return tokens[token - 1];
    }

    /* bodies */
    void callFree(intfVelmor_freeBodyFn fn, int32_t type, void *body);
    // Frees a body given to the core. A body the host delivered itself is
    // freed with the type it was delivered as, whatever the caller assumes.
    void release(void *body, intfVelmor_freeBodyFn fn, int32_t type);
    void releaseIfHeld(void *body);
    uint32_t serialize(const Entry &e, int32_t type, void *body, uint8_t **buf, uint32_t *len);
    // A request or notification body handed to the host with a call, which
    // owns it from then on: made into the bytes to send unless the call is
    // already refused (refusal, returned as it is), then freed either way
    // with freeBody (the entry's, or a stand-in for an unknown management).
    uint32_t takeBody(uint32_t refusal, const Entry &e, intfVelmor_freeBodyFn freeBody,
                      void *body, uint8_t **buf, uint32_t *len);
    // A new body from len bytes at buf, held until it is released.
    uint32_t unserialize(const Entry &e, int32_t type, const uint8_t *buf, uint32_t len,
                         void **out);

    /* contexts */
    Ctx *liveCtx(const void *p) const;
    // Fills the context's common part and adds it to the live ones.
    void openCtx(Ctx *c, const Entry &e, uint16_t mngt, uint32_t index, bool needRes, void *body,
                 const std::string &client, const std::string &server);
    // Hands the context's body to an entry's recv; destroys the context
    // after unless an answer is still expected.
    void deliver(Ctx *c, intfVelmor_recvFn recv, void *handler, uint32_t ref);
    // A context ends when answered; it is destroyed as soon as no call of it runs.
    void endCtx(Ctx *c);
    void destroyCtx(Ctx *c);

    /* ending */
    // Destroys every context and frees every held body.
    void endExchanges();
    // Ends the exchanges, then drops everything else: managements, users,
    // methods, blocks, event callbacks, tokens, counters.
    void forget();

    // The current counters into a host's statistics, which name them alike.
    template <typename Stats>
    void countInto(Stats &s) const
    {
        s.serialized = counts.serialized;
        s.unserialized = counts.unserialized;
        s.bodiesFreed = counts.bodiesFreed;
        s.deliveries = counts.deliveries;
        s.codeResponses = counts.codeResponses;
        s.needUpdates = counts.needUpdates;
        s.contextsOpen = static_cast<uint32_t>(ctxs.size());
        s.bodiesHeld = static_cast<uint32_t>(held.size());
    }
};

}  // namespace hostcore

#endif  // TOLK_HOST_CORE_H
