// Reference host: message core and event loop running in one process.
//
// Every user stands for a process. A request goes from the client's body
// through serializeBody to bytes, and from the bytes through unserializeBody
// to a new body on the serving side, so both halves of the library are
// exercised exactly as between two processes. Each body handed to the core
// is freed exactly once through its entry's freeBody, with its own type.

#include "tolkRefHost.h"

#include "intfVelmor.h"
#include "tolkHost.h"

#include <dlfcn.h>

#include <initializer_list>

#include <cstdlib>
#include <map>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

using BoundedFn = uint32_t (*)(intfVelmor_unserializeBodyFn entryFn, int32_t type,
                               const uint8_t *bytes, const uint8_t *end, void **outBody,
                               uint32_t *outSize);
using RecvResFn = void (*)(uint32_t ignored, void *ctx, void *body);

constexpr uint16_t kNoMngt = 0xFFFF;
constexpr uint32_t kMaxEntries = 0x10000;

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
    const uint16_t *blockMngt;        // the block's current management number
    uint32_t index;
    void *handler;
    uint32_t ref;
    uint32_t word3;
    uint32_t magic;
    std::string intf;
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

struct Ctx {
    tolkCore_msgCtx head;  // &head is the context the library sees
    Entry entry;
    uint16_t mngt;
    uint32_t index;
    RecvResFn recvRes;
    bool needRes;
    void *reqBody;  // the delivered request/notification body while held
    std::string client, server;
    bool inRecv;     // the entry's recv is on the stack
    bool inRecvRes;  // the client's recvRes is on the stack
    bool ended;      // answered or abandoned; destroyed once nothing is on the stack
};

// A body that the host unserialized and handed out.
struct Held {
    int32_t type;
    intfVelmor_freeBodyFn freeBody;
};

struct State {
    std::vector<std::pair<tick_evtFn, void *>> evts;
    std::map<uint16_t, Mngt> mngts;
    std::vector<User *> users;
    std::vector<Reg> regs;
    std::vector<Method> methods;
    std::vector<Method> subs;
    std::vector<User *> needUpdates;
    std::vector<refhost_fn> tokens;
    std::vector<Ctx *> ctxs;
    std::unordered_map<void *, Held> held;
    std::map<std::string, Blocks> blocks;
    uint32_t faults[REFHOST_CALL_COUNT] = {};
    refhost_traceFn trace = nullptr;
    void *traceArg = nullptr;
    refhost_statsInfo stats = {};
    uint32_t lastResCode = 0;
    uint16_t nextMngt = 1;  // the next management number to try
};

// Whatever a program leaves held at exit shows up as lost in a leak check.
State g;

// One lock over the whole host, taken by every entry point and held while
// the library's callbacks and the users' handlers run: a handler may call
// the host again on its own thread.
std::recursive_mutex gLock;
using Hold = std::lock_guard<std::recursive_mutex>;

// A block's management number, written by the library's lifecycle on
// another thread.
uint16_t mngtOf(const uint16_t *blockMngt)
{
    return __atomic_load_n(blockMngt, __ATOMIC_RELAXED);
}

// The words of the last call of each host function, as the library passed them.
refhost_callWords lastWords[REFHOST_CALL_COUNT];

void record(refhost_call c, std::initializer_list<uint32_t> words, const char *text = nullptr)
{
    refhost_callWords &r = lastWords[c];
    r = refhost_callWords{};
    for (uint32_t w : words)
        if (r.count < sizeof r.words / sizeof r.words[0])
            r.words[r.count++] = w;
    r.text = text;
}

uint32_t takeFault(refhost_call c)
{
    uint32_t code = g.faults[c];
    g.faults[c] = 0;
    return code;
}

User *findUser(const void *p)
{
    for (User *u : g.users)
        if (u == p)
            return u;
    return nullptr;
}

const char *nameOf(const void *p)
{
    const User *u = findUser(p);
    return u ? u->name.c_str() : "";
}

Mngt *findMngt(uint32_t num)
{
    auto it = g.mngts.find(static_cast<uint16_t>(num));
    return (num <= 0xFFFF && it != g.mngts.end()) ? &it->second : nullptr;
}

bool entryOf(uint32_t mngt, uint32_t index, Entry *out)
{
    Mngt *m = findMngt(mngt);
    if (!m || index >= m->count)
        return false;
    const tolkCore_mngtEntry &e = tolkCore_mngtEntries(m->rec)[index];
    out->name = e.name;
    out->freeBody = reinterpret_cast<intfVelmor_freeBodyFn>(e.freeBody);
    out->serialize = reinterpret_cast<intfVelmor_serializeBodyFn>(e.serializeBody);
    out->unserialize = reinterpret_cast<intfVelmor_unserializeBodyFn>(e.unserializeBody);
    return true;
}

void callFree(intfVelmor_freeBodyFn fn, int32_t type, void *body)
{
    if (!fn || !body)
        return;
    g.stats.bodiesFreed++;
    fn(type, body);
}

// Frees a body given to the core. A body the host delivered itself is freed
// with the type it was delivered as, whatever the caller assumes.
void release(void *body, intfVelmor_freeBodyFn fn, int32_t type)
{
    auto it = g.held.find(body);
    if (it == g.held.end()) {
        callFree(fn, type, body);
        return;
    }
    Held h = it->second;
    g.held.erase(it);
    // The address may come back for another body: no context may keep it.
    for (Ctx *c : g.ctxs)
        if (c->reqBody == body)
            c->reqBody = nullptr;
    callFree(h.freeBody, h.type, body);
}

void releaseIfHeld(void *body)
{
    if (body && g.held.count(body))
        release(body, nullptr, 0);
}

void noteBlocks(const char *intf, const void *cmd, const void *ntfy)
{
    if (intf && cmd && ntfy)
        g.blocks[intf] = Blocks{static_cast<const intfVelmor_cmdBlock *>(cmd),
                                static_cast<const intfVelmor_ntfyBlock *>(ntfy)};
}

// The freeBody for a body handed with a management number that the host does
// not know (none yet, or already returned): the same entry of the block that
// the named service installed the method from, or of the interface's
// notification block. Null when no user of the interface ever told the host
// where its blocks are.
intfVelmor_freeBodyFn orphanFree(const char *srvName, const char *intf, uint32_t index)
{
    if (srvName) {
        // A service serving that index for two interfaces leaves it unknown.
        intfVelmor_freeBodyFn fn = nullptr;
        for (const Method &m : g.methods)
            if (m.user->name == srvName && m.index == index) {
                if (fn && fn != m.entries[index].freeBody)
                    return nullptr;
                fn = m.entries[index].freeBody;
            }
        return fn;
    }
    auto it = intf ? g.blocks.find(intf) : g.blocks.end();
    if (it == g.blocks.end() || index >= it->second.ntfy->entryCount)
        return nullptr;
    return it->second.ntfy->entries[index].freeBody;
}

void freeBuf(uint8_t *buf)
{
    free(buf);
    g.stats.buffersFreed++;
}

uint32_t serialize(const Entry &e, int32_t type, void *body, uint8_t **buf, uint32_t *len)
{
    *buf = nullptr;
    *len = 0;
    if (!e.serialize)
        return REFHOST_ERR_MNGT;
    uint32_t rc = e.serialize(type, body, buf, len);
    if (rc == 0 && !*buf)
        return REFHOST_ERR_ARG;
    if (rc == 0)
        g.stats.serialized++;
    return rc;
}

// The object (shared library or program) that holds a function.
const void *objectOf(const void *fn)
{
    Dl_info info;
    return dladdr(fn, &info) ? info.dli_fbase : nullptr;
}

// Receiving side: bounded by the length that arrived when the library offers
// it. The bounded variant only knows the callbacks of its own object, so
// callbacks from elsewhere (hand-made blocks) are called directly.
uint32_t unserialize(const Entry &e, int32_t type, const uint8_t *buf, uint32_t len, void **out)
{
    static BoundedFn bounded = nullptr;
    if (!bounded)  // looked up again until found: the library may be loaded later
        bounded = reinterpret_cast<BoundedFn>(
            dlsym(RTLD_DEFAULT, "intfVelmor_unserializeBodyBounded"));
    *out = nullptr;
    if (!e.unserialize)
        return REFHOST_ERR_MNGT;
    uint32_t size = 0;
    const void *fn = reinterpret_cast<const void *>(e.unserialize);
    bool useBounded = bounded && objectOf(fn) == objectOf(reinterpret_cast<const void *>(bounded));
    uint32_t rc = useBounded ? bounded(e.unserialize, type, buf, buf + len, out, &size)
                             : e.unserialize(type, buf, out, &size);
    if (rc != 0)
        return rc;
    if (!*out)
        return REFHOST_ERR_ARG;
    g.stats.unserialized++;
    g.held[*out] = Held{type, e.freeBody};
    return 0;
}

void emit(refhost_traceKind kind, const Entry &e, uint16_t mngt, uint32_t index, int32_t type,
          const uint8_t *bytes, uint32_t len, uint32_t code, const std::string &from,
          const std::string &to)
{
    if (!g.trace)
        return;
    refhost_traceEvent ev;
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
    g.trace(g.traceArg, &ev);
}

Ctx *liveCtx(const void *p)
{
    for (Ctx *c : g.ctxs)
        if (&c->head == p)
            return c;
    return nullptr;
}

void destroyCtx(Ctx *c)
{
    for (size_t i = 0; i < g.ctxs.size(); i++)
        if (g.ctxs[i] == c) {
            g.ctxs.erase(g.ctxs.begin() + static_cast<std::ptrdiff_t>(i));
            break;
        }
    if (c->reqBody)
        release(c->reqBody, c->entry.freeBody, INTFVELMOR_BODY_REQ);
    delete c;
}

// A context ends when answered; it is destroyed as soon as no recv of it runs.
void endCtx(Ctx *c)
{
    c->ended = true;
    if (!c->inRecv && !c->inRecvRes)
        destroyCtx(c);
}

// Delivers a received body to an entry's recv handler inside a new context.
void deliver(const Entry &e, uint16_t mngt, uint32_t index, intfVelmor_recvFn recv,
             const Method &m, void *body, void *cbRes, uint32_t ref, RecvResFn recvRes,
             const std::string &from, const std::string &to)
{
    Ctx *c = new Ctx();
    c->head.cbRes = cbRes;
    c->head.ref = ref;
    c->entry = e;
    c->mngt = mngt;
    c->index = index;
    c->recvRes = recvRes;
    c->needRes = recvRes != nullptr;
    c->reqBody = body;
    c->client = from;
    c->server = to;
    g.ctxs.push_back(c);

    c->inRecv = true;
    if (recv) {
        g.stats.deliveries++;
        recv(&c->head, body, m.handler, m.ref);
    } else {
        c->ended = true;  // nobody can ever answer
    }
    c->inRecv = false;
    // A deferred answer keeps the context; otherwise it is over now.
    if (c->ended || !c->needRes)
        destroyCtx(c);
}

void noteCode(Ctx *c, uint32_t code, const std::string &from, const std::string &to)
{
    g.lastResCode = code;
    g.stats.codeResponses++;
    emit(REFHOST_TRACE_CODE, c->entry, c->mngt, c->index, -1, nullptr, 0, code, from, to);
}

void dropMngt(uint16_t num)
{
    auto it = g.mngts.find(num);
    if (it == g.mngts.end())
        return;
    free(it->second.rec);
    g.mngts.erase(it);
    for (size_t i = g.regs.size(); i-- > 0;)
        if (g.regs[i].mngt == num)
            g.regs.erase(g.regs.begin() + static_cast<std::ptrdiff_t>(i));
}

template <typename T, typename Pred>
void eraseIf(std::vector<T> &v, Pred p)
{
    for (size_t i = v.size(); i-- > 0;)
        if (p(v[i]))
            v.erase(v.begin() + static_cast<std::ptrdiff_t>(i));
}

// Installs or replaces the user's method for one entry of one block.
void putMethod(std::vector<Method> &list, const Method &m)
{
    for (Method &old : list)
        if (old.user == m.user && old.entries == m.entries && old.index == m.index) {
            old = m;
            return;
        }
    list.push_back(m);
}

}  // namespace

extern "C" {

refhost_callWords refhost_lastWords(refhost_call which)
{
    Hold hold(gLock);
    return which < REFHOST_CALL_COUNT ? lastWords[which] : refhost_callWords{};
}

/* ---- event loop ---------------------------------------------------------- */

uint32_t tick_addEvtBase(tick_evtFn cb, void *ctx)
{
    Hold hold(gLock);
    if (uint32_t rc = takeFault(REFHOST_CALL_ADD_EVT_BASE))
        return rc;
    if (!cb)
        return REFHOST_ERR_ARG;
    g.evts.emplace_back(cb, ctx);
    return 0;
}

void refhost_deliverEvent(int32_t event)
{
    Hold hold(gLock);
    auto evts = g.evts;  // a callback may add more
    for (auto &e : evts)
        e.first(e.second, event);
}

/* ---- managements --------------------------------------------------------- */

uint16_t tolkCore_getBase_msgMngt(const char *name, tolkCore_mngt **record, uint32_t count)
{
    Hold hold(gLock);
    ::record(REFHOST_CALL_GET_BASE_MSG_MNGT, {count}, name);
    uint32_t fault = takeFault(REFHOST_CALL_GET_BASE_MSG_MNGT);
    if (!record || fault == kNoMngt || count > kMaxEntries)
        return kNoMngt;
    // Numbers are not reused at once: a sender still holding a returned
    // number must not reach a record that its new owner is still filling.
    uint16_t num = 0;
    for (uint32_t tries = 0; tries < kNoMngt - 1 && !num; ++tries) {
        uint16_t n = g.nextMngt;
        g.nextMngt = static_cast<uint16_t>(n + 1 < kNoMngt ? n + 1 : 1);
        if (!g.mngts.count(n))
            num = n;
    }
    if (!num)
        return kNoMngt;
    if (fault) {  // a number without a record: the caller must see a failure
        *record = nullptr;
        return num;
    }
    void *mem = calloc(1, sizeof(tolkCore_mngt) + size_t{count} * sizeof(tolkCore_mngtEntry));
    if (!mem)
        return kNoMngt;
    auto *rec = static_cast<tolkCore_mngt *>(mem);
    rec->core = num;
    g.mngts[num] = Mngt{rec, count};
    *record = rec;
    return num;
}

uint32_t tolkCore_putBase_msgMngt(uint16_t mngtNum, uint32_t zero)
{
    Hold hold(gLock);
    record(REFHOST_CALL_PUT_BASE_MSG_MNGT, {mngtNum, zero});
    if (uint32_t rc = takeFault(REFHOST_CALL_PUT_BASE_MSG_MNGT))
        return rc;
    if (!findMngt(mngtNum))
        return REFHOST_ERR_MNGT;
    dropMngt(mngtNum);  // returned by its owner: no unreg callback
    return 0;
}

uint32_t refhost_withdrawMngt(uint16_t mngtNum)
{
    Hold hold(gLock);
    Mngt *m = findMngt(mngtNum);
    if (!m)
        return REFHOST_ERR_MNGT;
    tolkCore_mngt *rec = m->rec;
    if (rec->unreg)
        rec->unreg(mngtNum);
    // The callback may have returned the management itself.
    Mngt *still = findMngt(mngtNum);
    if (still && still->rec == rec)
        dropMngt(mngtNum);
    return 0;
}

uint32_t refhost_mngtCount(void)
{
    Hold hold(gLock);
    return static_cast<uint32_t>(g.mngts.size());
}

/* ---- users --------------------------------------------------------------- */

void *refhost_newUser(const char *userName)
{
    Hold hold(gLock);
    User *u = new User();
    u->name = userName ? userName : "";
    g.users.push_back(u);
    return u;
}

void refhost_freeUser(void *user)
{
    Hold hold(gLock);
    User *u = findUser(user);
    if (!u)
        return;
    eraseIf(g.regs, [u](const Reg &r) { return r.user == u; });
    eraseIf(g.methods, [u](const Method &m) { return m.user == u; });
    eraseIf(g.subs, [u](const Method &m) { return m.user == u; });
    eraseIf(g.needUpdates, [u](const User *n) { return n == u; });
    eraseIf(g.users, [u](const User *n) { return n == u; });
    delete u;
}

int refhost_isUserRegistered(void *user, uint16_t mngtNum)
{
    Hold hold(gLock);
    for (const Reg &r : g.regs)
        if (r.user == user && r.mngt == mngtNum)
            return 1;
    return 0;
}

uint32_t tolkIntf_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t mngtNum,
                                  uint32_t none, uint32_t zero)
{
    Hold hold(gLock);
    record(REFHOST_CALL_REG_USER, {word, mngtNum, none, zero});
    if (uint32_t rc = takeFault(REFHOST_CALL_REG_USER))
        return rc;
    User *u = findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    if (!findMngt(mngtNum))
        return REFHOST_ERR_MNGT;
    for (Reg &r : g.regs)
        if (r.user == u && r.mngt == mngtNum) {
            r.word = word;
            r.ref = ref;
            return 0;
        }
    g.regs.push_back(Reg{u, static_cast<uint16_t>(mngtNum), word, ref});
    return 0;
}

uint32_t tolkIntf_unregUser_msgMngt(void *user, uint32_t mngtNum, uint32_t none, uint32_t zero)
{
    Hold hold(gLock);
    record(REFHOST_CALL_UNREG_USER, {mngtNum, none, zero});
    if (uint32_t rc = takeFault(REFHOST_CALL_UNREG_USER))
        return rc;
    User *u = findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    if (!findMngt(mngtNum))
        return REFHOST_ERR_MNGT;
    for (size_t i = 0; i < g.regs.size(); i++)
        if (g.regs[i].user == u && g.regs[i].mngt == mngtNum) {
            g.regs.erase(g.regs.begin() + static_cast<std::ptrdiff_t>(i));
            return 0;
        }
    return REFHOST_ERR_USER;
}

void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t b, const char *intfName, uint32_t c,
                                   uint32_t d)
{
    Hold hold(gLock);
    record(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER, {(uint32_t)a, b, c, d}, intfName);
    if (takeFault(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER))
        return nullptr;
    const std::vector<Method> *list = a == 0 ? &g.methods : a == 1 ? &g.subs : nullptr;
    if (!list)
        return nullptr;
    for (const Method &m : *list)
        if (m.index == c && (!intfName || m.intf == intfName))
            return m.user;
    return nullptr;
}

void *tolkIntf_getCore_user(void *user)
{
    Hold hold(gLock);
    if (takeFault(REFHOST_CALL_GET_CORE_USER))
        return nullptr;
    return findUser(user);
}

/* ---- tokens -------------------------------------------------------------- */

uint32_t refhost_token(refhost_fn fn)
{
    Hold hold(gLock);
    if (!fn)
        return 0;
    for (size_t i = 0; i < g.tokens.size(); i++)
        if (g.tokens[i] == fn)
            return static_cast<uint32_t>(i + 1);
    g.tokens.push_back(fn);
    return static_cast<uint32_t>(g.tokens.size());
}

refhost_fn refhost_fromToken(uint32_t token)
{
    Hold hold(gLock);
    if (token == 0 || token > g.tokens.size())
        return nullptr;
    return g.tokens[token - 1];
}

/* ---- methods and subscriptions ------------------------------------------- */

uint32_t tolkIntf_modSrv_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                              uint32_t mthdMagic, const char *intfName, void *cmdBlock,
                              void *ntfyBlock, uint32_t index, uint32_t none1, uint32_t none2)
{
    Hold hold(gLock);
    record(REFHOST_CALL_MOD_SRV_MTHD, {word1, word2, word3, mthdMagic, index, none1, none2},
           intfName);
    if (uint32_t rc = takeFault(REFHOST_CALL_MOD_SRV_MTHD))
        return rc;
    User *u = findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    auto *b = static_cast<const intfVelmor_cmdBlock *>(cmdBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_CMD_COUNT)
        return REFHOST_ERR_ARG;
    noteBlocks(intfName, cmdBlock, ntfyBlock);
    putMethod(g.methods, Method{u, b->entries, &b->mngtNum, index, reinterpret_cast<void *>(refhost_fromToken(word1)),
                                word2, word3, mthdMagic, intfName ? intfName : ""});
    return 0;
}

uint32_t tolkIntf_modCliNtfyUser_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                                      uint32_t mthdMagic, const char *, void *,
                                      const char *intfName, void *cmdBlock, void *ntfyBlock,
                                      uint32_t index)
{
    Hold hold(gLock);
    record(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD, {word1, word2, word3, mthdMagic, index}, intfName);
    if (uint32_t rc = takeFault(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD))
        return rc;
    User *u = findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    auto *b = static_cast<const intfVelmor_ntfyBlock *>(ntfyBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_NTFY_COUNT)
        return REFHOST_ERR_ARG;
    noteBlocks(intfName, cmdBlock, ntfyBlock);
    putMethod(g.subs, Method{u, b->entries, &b->mngtNum, index, reinterpret_cast<void *>(refhost_fromToken(word1)), word2,
                             word3, mthdMagic, intfName ? intfName : ""});
    return 0;
}

uint32_t tolkIntf_modSrv_ntfy_needUpdate(void *user, uint32_t word1, uint32_t word2,
                                         uint32_t word3, const char *intfName, void *cmdBlock,
                                         void *ntfyBlock, uint32_t index)
{
    Hold hold(gLock);
    record(REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE, {word1, word2, word3, index}, intfName);
    if (uint32_t rc = takeFault(REFHOST_CALL_MOD_SRV_NTFY_NEED_UPDATE))
        return rc;
    User *u = findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    noteBlocks(intfName, cmdBlock, ntfyBlock);
    g.needUpdates.push_back(u);
    g.stats.needUpdates++;
    return 0;
}

/* ---- requests and responses ---------------------------------------------- */

uint32_t tolkCore_sendMsgReq_toNameUser(void *coreUser, void *body, void *recvRes, void *cbRes,
                                        uint32_t word1, uint32_t word2, const char *srvName,
                                        uint32_t mngtNum, uint32_t index, uint32_t none,
                                        uint32_t eighteen)
{
    Hold hold(gLock);
    record(REFHOST_CALL_SEND_MSG_REQ, {word1, word2, mngtNum, index, none, eighteen}, srvName);
    Entry e{};
    bool known = entryOf(mngtNum, index, &e);
    uint32_t rc = takeFault(REFHOST_CALL_SEND_MSG_REQ);
    if (rc == 0 && !known)
        rc = REFHOST_ERR_MNGT;
    if (rc == 0 && !findUser(coreUser))
        rc = REFHOST_ERR_USER;
    if (rc) {
        // The body is ours even now.
        callFree(known ? e.freeBody : orphanFree(srvName, nullptr, index), INTFVELMOR_BODY_REQ,
                 body);
        return rc;
    }

    uint8_t *buf;
    uint32_t len;
    rc = serialize(e, INTFVELMOR_BODY_REQ, body, &buf, &len);
    callFree(e.freeBody, INTFVELMOR_BODY_REQ, body);
    if (rc)
        return rc;

    const Method *srv = nullptr;
    for (const Method &m : g.methods)
        if (srvName && m.user->name == srvName && m.index == index &&
            mngtOf(m.blockMngt) == mngtNum) {
            srv = &m;
            break;
        }
    if (!srv) {
        freeBuf(buf);
        return REFHOST_ERR_NO_SERVER;
    }
    Method m = *srv;  // handlers may change the method table
    std::string from = nameOf(coreUser), to = m.user->name;
    uint16_t num = static_cast<uint16_t>(mngtNum);
    emit(REFHOST_TRACE_REQUEST, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from, to);

    void *req;
    rc = unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &req);
    freeBuf(buf);
    if (rc)
        return rc;
    deliver(e, num, index, m.entries[index].recv, m, req, cbRes, word1,
            reinterpret_cast<RecvResFn>(recvRes), from, to);
    return 0;
}

uint32_t tolkCore_isMsg_needRes(void *ctx)
{
    Hold hold(gLock);
    if (uint32_t rc = takeFault(REFHOST_CALL_IS_MSG_NEED_RES))
        return rc;
    const Ctx *c = liveCtx(ctx);
    return (c && c->needRes && !c->ended && !c->inRecvRes) ? 0 : 1;
}

uint32_t tolkCore_sendMsgRes(void *ctx, void *body, uint32_t code, uint32_t eighteen)
{
    Hold hold(gLock);
    record(REFHOST_CALL_SEND_MSG_RES, {code, eighteen});
    uint32_t fault = takeFault(REFHOST_CALL_SEND_MSG_RES);
    Ctx *c = liveCtx(ctx);
    if (!c) {
        // Unknown context: only a body the host handed out can still be freed.
        releaseIfHeld(body);
        return fault ? fault : REFHOST_ERR_CTX;
    }
    const int32_t resType = INTFVELMOR_BODY_RES;

    if (c->inRecvRes) {
        // The client answering the response it is being given (code 20 when
        // it has no callback). The delivery in progress ends the context.
        release(body, c->entry.freeBody, resType);
        if (fault)
            return fault;
        if (code == 0)
            return REFHOST_ERR_STATE;
        noteCode(c, code, c->client, c->server);
        return 0;
    }
    if (fault || c->ended || (code == 0 && !c->needRes)) {
        release(body, c->entry.freeBody, resType);
        uint32_t rc = fault ? fault : REFHOST_ERR_STATE;
        if (!c->ended)
            endCtx(c);
        return rc;
    }
    if (code != 0) {
        // Sent alone. The body may be the request body itself: release()
        // frees it with its own type and takes it off the context.
        release(body, c->entry.freeBody, resType);
        noteCode(c, code, c->server, c->client);
        endCtx(c);
        return 0;
    }

    uint8_t *buf;
    uint32_t len;
    uint32_t rc = serialize(c->entry, resType, body, &buf, &len);
    release(body, c->entry.freeBody, resType);
    if (rc) {
        endCtx(c);
        return rc;
    }
    emit(REFHOST_TRACE_RESPONSE, c->entry, c->mngt, c->index, resType, buf, len, 0, c->server,
         c->client);
    void *res;
    rc = unserialize(c->entry, resType, buf, len, &res);
    freeBuf(buf);
    if (rc == 0) {
        c->inRecvRes = true;
        g.stats.deliveries++;
        c->recvRes(0, &c->head, res);
        c->inRecvRes = false;
        releaseIfHeld(res);  // unless the client already handed it back
    }
    endCtx(c);
    return rc;
}

/* ---- notifications ------------------------------------------------------- */

uint32_t tolkIntf_sendReq_ntfy(void *user, void *body, uint32_t z1, uint32_t z2, uint32_t z3,
                               uint32_t word1, uint32_t word2, const char *intfName,
                               uint32_t mngtNum, uint32_t index, uint32_t z4, uint32_t z5,
                               uint32_t eighteen)
{
    Hold hold(gLock);
    record(REFHOST_CALL_SEND_REQ_NTFY,
           {z1, z2, z3, word1, word2, mngtNum, index, z4, z5, eighteen}, intfName);
    Entry e{};
    bool known = entryOf(mngtNum, index, &e);
    uint32_t rc = takeFault(REFHOST_CALL_SEND_REQ_NTFY);
    if (rc == 0 && !known)
        rc = REFHOST_ERR_MNGT;
    if (rc == 0 && !findUser(user))
        rc = REFHOST_ERR_USER;
    if (rc) {
        callFree(known ? e.freeBody : orphanFree(nullptr, intfName, index), INTFVELMOR_BODY_REQ,
                 body);
        return rc;
    }

    uint8_t *buf;
    uint32_t len;
    rc = serialize(e, INTFVELMOR_BODY_REQ, body, &buf, &len);
    callFree(e.freeBody, INTFVELMOR_BODY_REQ, body);
    if (rc)
        return rc;

    // Routed by management number and entry index: magics are shared.
    std::vector<std::pair<Method, std::string>> targets;
    for (const Method &s : g.subs)
        if (s.index == index && mngtOf(s.blockMngt) == mngtNum)
            targets.emplace_back(s, s.user->name);
    std::string from = nameOf(user);
    uint16_t num = static_cast<uint16_t>(mngtNum);
    for (auto &t : targets) {
        emit(REFHOST_TRACE_NOTIFICATION, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from,
             t.second);
        void *nb;
        if (unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &nb) != 0)
            continue;  // this subscriber refused the bytes; the others still get them
        deliver(e, num, index, t.first.entries[index].recv, t.first, nb, nullptr, word1, nullptr,
                from, t.second);
    }
    freeBuf(buf);
    return 0;
}

/* ---- control ------------------------------------------------------------- */

void refhost_failNext(refhost_call which, uint32_t code)
{
    Hold hold(gLock);
    auto w = static_cast<unsigned>(which);
    if (w < REFHOST_CALL_COUNT)
        g.faults[w] = code;
}

void refhost_setTrace(refhost_traceFn fn, void *arg)
{
    Hold hold(gLock);
    g.trace = fn;
    g.traceArg = arg;
}

refhost_statsInfo refhost_stats(void)
{
    Hold hold(gLock);
    refhost_statsInfo s = g.stats;
    s.contextsOpen = static_cast<uint32_t>(g.ctxs.size());
    s.bodiesHeld = static_cast<uint32_t>(g.held.size());
    return s;
}

uint32_t refhost_lastResCode(void)
{
    Hold hold(gLock);
    return g.lastResCode;
}

void refhost_reset(void)
{
    Hold hold(gLock);
    while (!g.ctxs.empty())
        destroyCtx(g.ctxs.back());
    while (!g.held.empty())
        release(g.held.begin()->first, nullptr, 0);
    for (auto &m : g.mngts)
        free(m.second.rec);
    g.mngts.clear();
    for (User *u : g.users)
        delete u;
    g.users.clear();
    g.regs.clear();
    g.methods.clear();
    g.subs.clear();
    g.needUpdates.clear();
    g.blocks.clear();
    g.evts.clear();
    g.tokens.clear();
    for (uint32_t &f : g.faults)
        f = 0;
    g.trace = nullptr;
    g.traceArg = nullptr;
    g.stats = refhost_statsInfo{};
    g.lastResCode = 0;
    g.nextMngt = 1;
}

}  // extern "C"
