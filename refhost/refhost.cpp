// Reference host: message core and event loop running in one process.
//
// Every user stands for a process. A request goes from the client's body
// through serializeBody to bytes, and from the bytes through unserializeBody
// to a new body on the serving side, so both halves of the library are
// exercised exactly as between two processes. Each body handed to the core
// is freed exactly once through its entry's freeBody, with its own type.

#include "tolkRefHost.h"

#include "host_core.h"
#include "intfVelmor.h"
#include "tolkHost.h"

#include <initializer_list>

#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

using hostcore::Entry;
using hostcore::Method;
using hostcore::Reg;
using hostcore::RecvResFn;
using hostcore::User;
using hostcore::kNoMngt;

static_assert(REFHOST_ERR_NO_SERVER == hostcore::kErrNoServer &&
                  REFHOST_ERR_MNGT == hostcore::kErrMngt && REFHOST_ERR_USER == hostcore::kErrUser &&
                  REFHOST_ERR_CTX == hostcore::kErrCtx && REFHOST_ERR_STATE == hostcore::kErrState &&
                  REFHOST_ERR_ARG == hostcore::kErrArg,
              "the core's codes are this host's");

// In one process the client's response is delivered on the server's own
// context, so the context also knows the client's recvRes.
struct Ctx : hostcore::Ctx {
    RecvResFn recvRes = nullptr;
    bool inRecvRes = false;  // the client's recvRes is on the stack
    bool inCall() const override { return inRecv || inRecvRes; }
};

struct State : hostcore::Core {
    uint32_t faults[REFHOST_CALL_COUNT] = {};
    refhost_traceFn trace = nullptr;
    void *traceArg = nullptr;
    uint32_t buffersFreed = 0;
    uint32_t lastResCode = 0;
};

// Whatever a program leaves held at exit shows up as lost in a leak check.
State g;

// One lock over the whole host, taken by every entry point and held while
// the library's callbacks and the users' handlers run: a handler may call
// the host again on its own thread.
std::recursive_mutex gLock;
using Hold = std::lock_guard<std::recursive_mutex>;

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

Ctx *liveCtx(const void *p) { return static_cast<Ctx *>(g.liveCtx(p)); }

// The freeBody for a body handed with a management number that the host does
// not know (none yet, or already returned): the same entry of the block that
// the named service installed the method from, or of the interface's
// notification block. Null when no user of the interface ever told the host
// where its blocks are.
intfVelmor_freeBodyFn orphanFree(const char *srvName, const char *intf, uint32_t index)
{
    if (srvName)
        return g.serviceFree(srvName, index);
    const hostcore::Blocks *b = g.blocksOf(intf);
    return b ? hostcore::Core::blockFree(*b, true, index) : nullptr;
}

void freeBuf(uint8_t *buf)
{
    free(buf);
    g.buffersFreed++;
}

void emit(refhost_traceKind kind, const Entry &e, uint16_t mngt, uint32_t index, int32_t type,
          const uint8_t *bytes, uint32_t len, uint32_t code, const std::string &from,
          const std::string &to)
{
    if (!g.trace)
        return;
    auto ev = hostcore::traceEvent<refhost_traceEvent>(kind, e, mngt, index, type, bytes, len,
                                                       code, from, to);
    g.trace(g.traceArg, &ev);
}

// Delivers a received body to an entry's recv handler inside a new context.
void deliver(const Entry &e, uint16_t mngt, uint32_t index, const Method &m, void *body,
             void *cbRes, uint32_t ref, RecvResFn recvRes, const std::string &from,
             const std::string &to)
{
    Ctx *c = new Ctx();
    c->head.cbRes = cbRes;
    c->head.ref = ref;
    c->recvRes = recvRes;
    g.openCtx(c, e, mngt, index, recvRes != nullptr, body, from, to);
    g.deliver(c, m.entries[index].recv, m.handler, m.ref);
}

void noteCode(Ctx *c, uint32_t code, const std::string &from, const std::string &to)
{
    g.lastResCode = code;
    g.counts.codeResponses++;
    emit(REFHOST_TRACE_CODE, c->entry, c->mngt, c->index, -1, nullptr, 0, code, from, to);
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
    return g.addEvent(cb, ctx);
}

void refhost_deliverEvent(int32_t event)
{
    Hold hold(gLock);
    g.deliverEvent(event);
}

/* ---- managements --------------------------------------------------------- */

uint16_t tolkCore_getBase_msgMngt(const char *name, tolkCore_mngt **record, uint32_t count)
{
    Hold hold(gLock);
    ::record(REFHOST_CALL_GET_BASE_MSG_MNGT, {count}, name);
    uint32_t fault = takeFault(REFHOST_CALL_GET_BASE_MSG_MNGT);
    if (fault == kNoMngt)
        return kNoMngt;
    // Any other fault: a number without a record, which the caller must see
    // as a failure.
    return g.handOutMngt(record, count, fault != 0);
}

uint32_t tolkCore_putBase_msgMngt(uint16_t mngtNum, uint32_t zero)
{
    Hold hold(gLock);
    record(REFHOST_CALL_PUT_BASE_MSG_MNGT, {mngtNum, zero});
    if (uint32_t rc = takeFault(REFHOST_CALL_PUT_BASE_MSG_MNGT))
        return rc;
    return g.returnMngt(mngtNum);
}

uint32_t refhost_withdrawMngt(uint16_t mngtNum)
{
    Hold hold(gLock);
    hostcore::Mngt *m = g.findMngt(mngtNum);
    if (!m)
        return REFHOST_ERR_MNGT;
    tolkCore_mngt *rec = m->rec;
    if (rec->unreg)
        rec->unreg(mngtNum);
    // The callback may have returned the management itself.
    hostcore::Mngt *still = g.findMngt(mngtNum);
    if (still && still->rec == rec)
        g.dropMngt(mngtNum);
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
    return g.newUser(userName);
}

void refhost_freeUser(void *user)
{
    Hold hold(gLock);
    if (User *u = g.findUser(user))
        g.dropUser(u);
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
    return g.registerUser(user, mngtNum, word, ref);
}

uint32_t tolkIntf_unregUser_msgMngt(void *user, uint32_t mngtNum, uint32_t none, uint32_t zero)
{
    Hold hold(gLock);
    record(REFHOST_CALL_UNREG_USER, {mngtNum, none, zero});
    if (uint32_t rc = takeFault(REFHOST_CALL_UNREG_USER))
        return rc;
    return g.unregisterUser(user, mngtNum);
}

void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t b, const char *intfName, uint32_t c,
                                   uint32_t d)
{
    Hold hold(gLock);
    record(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER, {(uint32_t)a, b, c, d}, intfName);
    if (takeFault(REFHOST_CALL_FIND_SRV_MTHD_NTFY_USER))
        return nullptr;
    return g.userFor(a, intfName, c);
}

void *tolkIntf_getCore_user(void *user)
{
    Hold hold(gLock);
    if (takeFault(REFHOST_CALL_GET_CORE_USER))
        return nullptr;
    return g.findUser(user);
}

/* ---- tokens -------------------------------------------------------------- */

uint32_t refhost_token(refhost_fn fn)
{
    Hold hold(gLock);
    return g.token(fn);
}

refhost_fn refhost_fromToken(uint32_t token)
{
    Hold hold(gLock);
    return g.fromToken(token);
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
    User *u = g.findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    auto *b = static_cast<const intfVelmor_cmdBlock *>(cmdBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_CMD_COUNT)
        return REFHOST_ERR_ARG;
    g.noteBlocks(intfName, cmdBlock, ntfyBlock);
    g.putMethod(g.methods, Method{u, b->entries, b->name, &b->mngtNum, index,
                                  reinterpret_cast<void *>(g.fromToken(word1)), word2,
                                  intfName ? intfName : "", ""});
    return 0;
}

// The publisher a subscription names is not checked: every user is in this
// process, and notifications are routed by management and entry alone.
uint32_t tolkIntf_modCliNtfyUser_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                                      uint32_t mthdMagic, const char *, void *,
                                      const char *intfName, void *cmdBlock, void *ntfyBlock,
                                      uint32_t index)
{
    Hold hold(gLock);
    record(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD, {word1, word2, word3, mthdMagic, index}, intfName);
    if (uint32_t rc = takeFault(REFHOST_CALL_MOD_CLI_NTFY_USER_MTHD))
        return rc;
    User *u = g.findUser(user);
    if (!u)
        return REFHOST_ERR_USER;
    auto *b = static_cast<const intfVelmor_ntfyBlock *>(ntfyBlock);
    if (!b || index >= b->entryCount || index >= INTFVELMOR_NTFY_COUNT)
        return REFHOST_ERR_ARG;
    g.noteBlocks(intfName, cmdBlock, ntfyBlock);
    g.putMethod(g.subs, Method{u, b->entries, b->name, &b->mngtNum, index,
                               reinterpret_cast<void *>(g.fromToken(word1)), word2,
                               intfName ? intfName : "", ""});
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
    return g.noteNeedUpdate(user, intfName, cmdBlock, ntfyBlock);
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
    bool known = g.entryOf(mngtNum, index, &e);
    uint32_t rc = takeFault(REFHOST_CALL_SEND_MSG_REQ);
    if (rc == 0 && !known)
        rc = REFHOST_ERR_MNGT;
    if (rc == 0 && !g.findUser(coreUser))
        rc = REFHOST_ERR_USER;
    uint8_t *buf;
    uint32_t len;
    rc = g.takeBody(rc, e, known ? e.freeBody : orphanFree(srvName, nullptr, index), body, &buf,
                    &len);
    if (rc)
        return rc;

    const Method *srv = nullptr;
    for (const Method &m : g.methods)
        if (srvName && m.user->name == srvName && m.index == index &&
            hostcore::mngtOf(m.blockMngt) == mngtNum) {
            srv = &m;
            break;
        }
    if (!srv) {
        freeBuf(buf);
        return REFHOST_ERR_NO_SERVER;
    }
    Method m = *srv;  // handlers may change the method table
    std::string from = g.nameOf(coreUser), to = m.user->name;
    uint16_t num = static_cast<uint16_t>(mngtNum);
    emit(REFHOST_TRACE_REQUEST, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from, to);

    void *req;
    rc = g.unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &req);
    freeBuf(buf);
    if (rc)
        return rc;
    deliver(e, num, index, m, req, cbRes, word1, reinterpret_cast<RecvResFn>(recvRes), from, to);
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
        g.releaseIfHeld(body);
        return fault ? fault : REFHOST_ERR_CTX;
    }
    const int32_t resType = INTFVELMOR_BODY_RES;

    if (c->inRecvRes) {
        // The client answering the response it is being given (code 20 when
        // it has no callback). The delivery in progress ends the context.
        g.release(body, c->entry.freeBody, resType);
        if (fault)
            return fault;
        if (code == 0)
            return REFHOST_ERR_STATE;
        noteCode(c, code, c->client, c->server);
        return 0;
    }
    if (fault || c->ended || (code == 0 && !c->needRes)) {
        g.release(body, c->entry.freeBody, resType);
        uint32_t rc = fault ? fault : REFHOST_ERR_STATE;
        if (!c->ended)
            g.endCtx(c);
        return rc;
    }
    if (code != 0) {
        // Sent alone. The body may be the request body itself: release()
        // frees it with its own type and takes it off the context.
        g.release(body, c->entry.freeBody, resType);
        noteCode(c, code, c->server, c->client);
        g.endCtx(c);
        return 0;
    }

    uint8_t *buf;
    uint32_t len;
    uint32_t rc = g.serialize(c->entry, resType, body, &buf, &len);
    g.release(body, c->entry.freeBody, resType);
    if (rc) {
        g.endCtx(c);
        return rc;
    }
    emit(REFHOST_TRACE_RESPONSE, c->entry, c->mngt, c->index, resType, buf, len, 0, c->server,
         c->client);
    void *res;
    rc = g.unserialize(c->entry, resType, buf, len, &res);
    freeBuf(buf);
    if (rc == 0) {
        c->inRecvRes = true;
        g.counts.deliveries++;
        c->recvRes(0, &c->head, res);
        c->inRecvRes = false;
        g.releaseIfHeld(res);  // unless the client already handed it back
    }
    g.endCtx(c);
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
    bool known = g.entryOf(mngtNum, index, &e);
    uint32_t rc = takeFault(REFHOST_CALL_SEND_REQ_NTFY);
    if (rc == 0 && !known)
        rc = REFHOST_ERR_MNGT;
    if (rc == 0 && !g.findUser(user))
        rc = REFHOST_ERR_USER;
    uint8_t *buf;
    uint32_t len;
    rc = g.takeBody(rc, e, known ? e.freeBody : orphanFree(nullptr, intfName, index), body, &buf,
                    &len);
    if (rc)
        return rc;

    // Routed by management number and entry index: magics are shared.
    std::vector<std::pair<Method, std::string>> targets;
    for (const Method &s : g.subs)
        if (s.index == index && hostcore::mngtOf(s.blockMngt) == mngtNum)
            targets.emplace_back(s, s.user->name);
    std::string from = g.nameOf(user);
    uint16_t num = static_cast<uint16_t>(mngtNum);
    for (auto &t : targets) {
        emit(REFHOST_TRACE_NOTIFICATION, e, num, index, INTFVELMOR_BODY_REQ, buf, len, 0, from,
             t.second);
        void *nb;
        if (g.unserialize(e, INTFVELMOR_BODY_REQ, buf, len, &nb) != 0)
            continue;  // this subscriber refused the bytes; the others still get them
        deliver(e, num, index, t.first, nb, nullptr, word1, nullptr, from, t.second);
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
    refhost_statsInfo s{};
    g.countInto(s);
    s.buffersFreed = g.buffersFreed;
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
    g.forget();
    for (uint32_t &f : g.faults)
        f = 0;
    g.trace = nullptr;
    g.traceArg = nullptr;
    g.buffersFreed = 0;
    g.lastResCode = 0;
}

}  // extern "C"
