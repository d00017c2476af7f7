#include "host_core.h"

#include <dlfcn.h>

#include <cstdlib>

namespace hostcore {

namespace {

using BoundedFn = uint32_t (*)(intfVelmor_unserializeBodyFn entryFn, int32_t type,
                               const uint8_t *bytes, const uint8_t *end, void **outBody,
                               uint32_t *outSize);

// The object (shared library or program) that holds a function.
const void *objectOf(const void *fn)
{
    Dl_info info;
    return dladdr(fn, &info) ? info.dli_fbase : nullptr;
}

}  // namespace

/* ---- event loop ---------------------------------------------------------- */

uint32_t Core::addEvent(tick_evtFn cb, void *ctx)
{
    if (!cb)
        return kErrArg;
    evts.emplace_back(cb, ctx);
    return 0;
}

void Core::deliverEvent(int32_t event)
{
    auto now = evts;  // a callback may add more
    for (auto &e : now)
        e.first(e.second, event);
}

/* ---- managements --------------------------------------------------------- */

uint16_t Core::handOutMngt(tolkCore_mngt **record, uint32_t count, bool numberOnly)
{
    if (!record || count > kMaxEntries)
        return kNoMngt;
    // Numbers are not reused at once: a sender still holding a returned
    // number must not reach a record that its new owner is still filling.
    uint16_t num = 0;
    for (uint32_t tries = 0; tries < kNoMngt - 1 && !num; ++tries) {
        uint16_t n = nextMngt;
        nextMngt = static_cast<uint16_t>(n + 1 < kNoMngt ? n + 1 : 1);
        if (!mngts.count(n))
            num = n;
    }
    if (!num)
        return kNoMngt;
    if (numberOnly) {
        *record = nullptr;
        return num;
    }
    void *mem = calloc(1, sizeof(tolkCore_mngt) + size_t{count} * sizeof(tolkCore_mngtEntry));
    if (!mem)
        return kNoMngt;
    auto *rec = static_cast<tolkCore_mngt *>(mem);
    rec->core = num;
    mngts[num] = Mngt{rec, count};
    *record = rec;
    return num;
}

uint32_t Core::returnMngt(uint32_t num)
{
    if (!findMngt(num))
        return kErrMngt;
    dropMngt(static_cast<uint16_t>(num));
    return 0;
}

Mngt *Core::findMngt(uint32_t num)
{
    auto it = mngts.find(static_cast<uint16_t>(num));
    return (num <= 0xFFFF && it != mngts.end()) ? &it->second : nullptr;
}

void Core::dropMngt(uint16_t num)
{
    auto it = mngts.find(num);
    if (it == mngts.end())
        return;
    free(it->second.rec);
    mngts.erase(it);
    boundedFor.clear();
    eraseIf(regs, [num](const Reg &r) { return r.mngt == num; });
}

bool Core::entryOf(uint32_t mngt, uint32_t index, Entry *out)
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

/* ---- users --------------------------------------------------------------- */

User *Core::newUser(const char *name)
{
    User *u = new User();
    u->name = name ? name : "";
    users.push_back(u);
    return u;
}

User *Core::findUser(const void *p) const
{
    for (User *u : users)
        if (u == p)
            return u;
    return nullptr;
}

const char *Core::nameOf(const void *p) const
{
    const User *u = findUser(p);
    return u ? u->name.c_str() : "";
}

void Core::dropUser(User *u)
{
    eraseIf(regs, [u](const Reg &r) { return r.user == u; });
    eraseIf(methods, [u](const Method &m) { return m.user == u; });
    eraseIf(subs, [u](const Method &m) { return m.user == u; });
    eraseIf(users, [u](const User *n) { return n == u; });
    delete u;
}

uint32_t Core::registerUser(void *user, uint32_t mngt, uint32_t word, void *ref)
{
    User *u = findUser(user);
    if (!u)
        return kErrUser;
    if (!findMngt(mngt))
        return kErrMngt;
    for (Reg &r : regs)
        if (r.user == u && r.mngt == mngt) {
            r.word = word;
            r.ref = ref;
            return 0;
        }
    regs.push_back(Reg{u, static_cast<uint16_t>(mngt), word, ref});
    return 0;
}

uint32_t Core::unregisterUser(void *user, uint32_t mngt)
{
    User *u = findUser(user);
    if (!u)
        return kErrUser;
    if (!findMngt(mngt))
        return kErrMngt;
    for (size_t i = 0; i < regs.size(); i++)
        if (regs[i].user == u && regs[i].mngt == mngt) {
            regs.erase(regs.begin() + static_cast<std::ptrdiff_t>(i));
            return 0;
        }
    return kErrUser;
}

User *Core::userFor(int32_t a, const char *intf, uint32_t index) const
{
    const std::vector<Method> *list = a == 0 ? &methods : a == 1 ? &subs : nullptr;
    if (!list)
        return nullptr;
    for (const Method &m : *list)
        if (m.index == index && (!intf || m.intf == intf))
            return m.user;
    return nullptr;
}

/* ---- methods and blocks -------------------------------------------------- */

bool Core::putMethod(std::vector<Method> &list, const Method &m, Method *replaced)
{
    for (Method &old : list)
        if (old.user == m.user && old.entries == m.entries && old.index == m.index) {
            if (replaced)
                *replaced = old;
            old = m;
            return true;
        }
    list.push_back(m);
    return false;
}

void Core::noteBlocks(const char *intf, const void *cmd, const void *ntfy)
{
    if (intf && cmd && ntfy)
        blocks[intf] = Blocks{static_cast<const intfVelmor_cmdBlock *>(cmd),
                              static_cast<const intfVelmor_ntfyBlock *>(ntfy)};
}

uint32_t Core::noteNeedUpdate(void *user, const char *intf, const void *cmd, const void *ntfy)
{
    if (!findUser(user))
        return kErrUser;
    noteBlocks(intf, cmd, ntfy);
    counts.needUpdates++;
    return 0;
}

const Blocks *Core::blocksOf(const char *intf) const
{
    auto it = intf ? blocks.find(intf) : blocks.end();
    return it == blocks.end() ? nullptr : &it->second;
}

intfVelmor_freeBodyFn Core::serviceFree(const char *srvName, uint32_t index) const
{
    intfVelmor_freeBodyFn fn = nullptr;
    for (const Method &m : methods)
        if (m.user->name == srvName && m.index == index) {
            if (fn && fn != m.entries[index].freeBody)
                return nullptr;
            fn = m.entries[index].freeBody;
        }
    return fn;
}

intfVelmor_freeBodyFn Core::blockFree(const Blocks &b, bool ntfy, uint32_t index)
{
    if (ntfy)
        return index < b.ntfy->entryCount ? b.ntfy->entries[index].freeBody : nullptr;
    return index < b.cmd->entryCount ? b.cmd->entries[index].freeBody : nullptr;
}

/* ---- bodies -------------------------------------------------------------- */

void Core::callFree(intfVelmor_freeBodyFn fn, int32_t type, void *body)
{
    if (!fn || !body)
        return;
    counts.bodiesFreed++;
    fn(type, body);
}

void Core::release(void *body, intfVelmor_freeBodyFn fn, int32_t type)
{
    auto it = held.find(body);
    if (it == held.end()) {
        callFree(fn, type, body);
        return;
    }
    Held h = it->second;
    held.erase(it);
    // The address may come back for another body: no context may keep it.
    for (Ctx *c : ctxs)
        if (c->reqBody == body)
            c->reqBody = nullptr;
    callFree(h.freeBody, h.type, body);
}

void Core::releaseIfHeld(void *body)
{
    if (body && held.count(body))
        release(body, nullptr, 0);
}

uint32_t Core::serialize(const Entry &e, int32_t type, void *body, uint8_t **buf, uint32_t *len)
{
    *buf = nullptr;
    *len = 0;
    if (!e.serialize)
        return kErrMngt;
    uint32_t rc = e.serialize(type, body, buf, len);
    if (rc == 0 && !*buf)
        return kErrArg;
    if (rc == 0)
        counts.serialized++;
    return rc;
}

uint32_t Core::takeBody(uint32_t refusal, const Entry &e, intfVelmor_freeBodyFn freeBody,
                        void *body, uint8_t **buf, uint32_t *len)
{
    *buf = nullptr;
    *len = 0;
    uint32_t rc = refusal ? refusal : serialize(e, INTFVELMOR_BODY_REQ, body, buf, len);
    callFree(freeBody, INTFVELMOR_BODY_REQ, body);
    return rc;
}

// Bounded by the length that arrived when the entry's callback belongs to the
// object that offers the bounded reader, which knows only the callbacks of
// its own object; callbacks from elsewhere (hand-made blocks) are called
// directly.
uint32_t Core::unserialize(const Entry &e, int32_t type, const uint8_t *buf, uint32_t len,
                           void **out)
{
    static BoundedFn bounded = nullptr;
    if (!bounded)  // looked up again until found: the library may be loaded later
        bounded = reinterpret_cast<BoundedFn>(
            dlsym(RTLD_DEFAULT, "intfVelmor_unserializeBodyBounded"));
    *out = nullptr;
    if (!e.unserialize)
        return kErrMngt;
    bool useBounded = false;
    if (bounded) {
        // dladdr costs tens of thousands of instructions: the answer is kept
        // per callback.
        const void *fn = reinterpret_cast<const void *>(e.unserialize);
        auto it = boundedFor.find(fn);
        if (it == boundedFor.end())
            it = boundedFor
                     .emplace(fn, objectOf(fn) == objectOf(reinterpret_cast<const void *>(bounded)))
                     .first;
        useBounded = it->second;
    }
    uint32_t size = 0;
    uint32_t rc = useBounded ? bounded(e.unserialize, type, buf, buf + len, out, &size)
                             : e.unserialize(type, buf, out, &size);
    if (rc != 0)
        return rc;
    if (!*out)
        return kErrArg;
    counts.unserialized++;
    held[*out] = Held{type, e.freeBody};
    return 0;
}

/* ---- contexts ------------------------------------------------------------ */

Ctx *Core::liveCtx(const void *p) const
{
    for (Ctx *c : ctxs)
        if (&c->head == p)
            return c;
    return nullptr;
}

void Core::openCtx(Ctx *c, const Entry &e, uint16_t mngt, uint32_t index, bool needRes,
                   void *body, const std::string &client, const std::string &server)
{
    c->entry = e;
    c->mngt = mngt;
    c->index = index;
    c->needRes = needRes;
    c->reqBody = body;
    c->client = client;
    c->server = server;
    ctxs.push_back(c);
}

void Core::deliver(Ctx *c, intfVelmor_recvFn recv, void *handler, uint32_t ref)
{
    c->inRecv = true;
    if (recv) {
        counts.deliveries++;
        recv(&c->head, c->reqBody, handler, ref);
    } else {
        c->ended = true;  // nobody can ever answer
    }
    c->inRecv = false;
    // A deferred answer keeps the context; otherwise it is over now.
    if (c->ended || !c->needRes)
        destroyCtx(c);
}

void Core::endCtx(Ctx *c)
{
    c->ended = true;
    if (!c->inCall())
        destroyCtx(c);
}

void Core::destroyCtx(Ctx *c)
{
    eraseIf(ctxs, [c](const Ctx *x) { return x == c; });
    if (c->reqBody)
        release(c->reqBody, c->entry.freeBody, INTFVELMOR_BODY_REQ);
    delete c;
}

/* ---- ending -------------------------------------------------------------- */

void Core::endExchanges()
{
    while (!ctxs.empty())
        destroyCtx(ctxs.back());
    while (!held.empty())
        release(held.begin()->first, nullptr, 0);
}

void Core::forget()
{
    endExchanges();
    for (auto &m : mngts)
        free(m.second.rec);
    mngts.clear();
    boundedFor.clear();
    for (User *u : users)
        delete u;
    users.clear();
    regs.clear();
    methods.clear();
    subs.clear();
    blocks.clear();
    evts.clear();
    tokens.clear();
    counts = Counters{};
    nextMngt = 1;
}

}  // namespace hostcore
