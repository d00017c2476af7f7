#include "messages/frame.h"

#include <string.h>

#include "base/alloc.h"
#include "base/relaxed.h"
#include "intfVelmor.h"
#include "tolkHost.h"
#include "wire/bytes.h"

namespace iv {

namespace {

constexpr char kIntfName[] = "IntfVelmor";
constexpr uint32_t kCoreWord = 18;  // passed unchanged on every delivery
constexpr uint32_t kNone = 0xFFFF;
constexpr uint32_t kDeadMagic = 0xDEADBEEF;
constexpr uint32_t kFrameSize = 2 * kScalar32Size;

enum Callback { kFree, kSerialize, kUnserialize, kLog };

// Body callbacks name the request and response paths apart in their lines:
// msgCmdReq, msgCmdRes, msgNtfyReq; an unknown type keeps the plain name
// (msgCmd, msgNtfy). The name is composed from the callback, the path and
// the message when a line is written.
constexpr char kCbFormats[4][49] = {"intfVelmor_cbEvtMsgMngt_freeBody_msg%s_%s",
                                    "intfVelmor_cbEvtMsgMngt_serializeBody_msg%s_%s",
                                    "intfVelmor_cbEvtMsgMngt_unserializeBody_msg%s_%s",
                                    "intfVelmor_cbEvtMsgMngt_logBody_msg%s_%s"};
constexpr char kCbPaths[5][8] = {"CmdReq", "CmdRes", "Cmd", "NtfyReq", "Ntfy"};

FnName cbName(const MsgDesc &m, Callback cb, int32_t type)
{
    int path = m.ntfy ? (type == kReq ? 3 : 4) : (type == kReq ? 0 : type == kRes ? 1 : 2);
    return {kCbFormats[cb], kCbPaths[path], m.name};
}

FnName plainName(const MsgDesc &m, Callback cb)
{
    return {kCbFormats[cb], kCbPaths[m.ntfy ? 4 : 2], m.name};
}

bool knownType(int32_t type) { return type == kReq || type == kRes; }

// The magic name of m, composed into out (kMagicNameSize bytes, which every
// row's name fits).
const char *magicNameOf(const MsgDesc &m, char *out)
{
    char *o = out;
    for (const char *c = m.ntfy ? kMagicNtfyPrefix : kMagicCmdPrefix; *c;)
        *o++ = *c++;
    for (const char *c = m.name; *c;)
        *o++ = capital(*c++);
    *o = 0;
    return out;
}

[[noreturn]] __attribute__((noinline)) void magicMismatch(const MsgDesc &m, const FnName &fn,
                                                          int line, const BodyHead *b)
{
    char name[kMagicNameSize];
    magicBroken(fn, line, "Check Magic", magicNameOf(m, name), m.magic, b, b->magic);
}

void checkMagic(const MsgDesc &m, const FnName &fn, int line, const BodyHead *b)
{
    if (b->magic != m.magic)
        magicMismatch(m, fn, line, b);
}

// The same in a body callback, which composes its name only for the line:
// callbacks run for every message.
void checkMagic(const MsgDesc &m, Callback cb, int32_t type, int line, const BodyHead *b)
{
    if (b->magic != m.magic)
        magicMismatch(m, cbName(m, cb, type), line, b);
}

void logNull(const FnName &fn, int line) { log(kErr, fn, line, "Ctx[NULL] text[%s]\n", ""); }

// A new zero-filled body holding the caller's members: records by their
// copy, texts cut to the field, scalars as given. A failing record copy is
// logged and the body goes out all the same.
BodyHead *newBody(const MsgDesc &m, int32_t type, const FnName &fn, Args args)
{
    BodyHead *b = (BodyHead *)zalloc(m.size[type]);
    if (!b) {
        IV_LOG(kErr, fn, "Allocating Memory Ctx[%s]\n", "");
        return nullptr;
    }
    b->magic = m.magic;
    // A body's members are scalars, texts and records: one argument each.
    if (const TypeDesc *d = m.members[type]) {
        for (const Step *s = d->steps(), *e = s + d->nsteps; s != e; ++s) {
            uint8_t *dst = (uint8_t *)b + s->offset;
            const void *arg = args[s->field];
            if (s->op == Op::Record) {
                if (copy(s->sub(), dst, arg))
                    IV_LOG(kErr, fn, "Copy %s failed\n", s->sub().name());
            } else if (s->op == Op::Text) {
                if (arg)
                    strncpy((char *)dst, (const char *)arg, s->bound);
                dst[s->bound - 1] = 0;
            } else {
                for (uint32_t k = 0, w = scalarWidth(s->op); k < s->n; ++k)
                    memcpy(dst + k * w, args[s->field + k], w);
            }
        }
    }
    return b;
}

intfVelmor_descriptor &base() { return intfVelmor_base; }

}  // namespace

uint32_t sendReq(const MsgDesc &m, void *user, void *cbRes, void *recvRes, uint32_t word1,
                 uint32_t word2, const char *srvName, Args args)
{
    FnName fn{"intfVelmor_sendReq_%s", m.sendName};
    if (!srvName) {
        IV_LOG(kErr, fn, "user(%p): UserName Null\n", user);
        return 0;
    }
    BodyHead *b = newBody(m, kReq, fn, args);
    if (!b)
        return 0;
    return tolkCore_sendMsgReq_toNameUser(tolkIntf_getCore_user(user), b,
                                          cbRes ? recvRes : nullptr, cbRes, word1, word2,
                                          srvName, loadMngt(base().cmd.mngtNum), m.index,
                                          kNone, kCoreWord);
}

void sendRes(const MsgDesc &m, void *ctx, Args args)
{
    if (tolkCore_isMsg_needRes(ctx) != 0)
        return;
    BodyHead *b = newBody(m, kRes, FnName{"intfVelmor_sendRes_%s", m.name}, args);
    if (b)
        tolkCore_sendMsgRes(ctx, b, 0, kCoreWord);
}

void sendNtfy(const MsgDesc &m, void *user, uint32_t word1, uint32_t word2, Args args)
{
    BodyHead *b = newBody(m, kReq, FnName{"intfVelmor_sendReq_%s", m.sendName}, args);
    if (b)
        tolkIntf_sendReq_ntfy(user, b, 0, 0, 0, word1, word2, kIntfName,
                              loadMngt(base().ntfy.mngtNum), m.index, 0, 0, kCoreWord);
}

BodyHead *recvReq(const MsgDesc &m, void *ctx, void *body, void *handler)
{
    FnName fn{"intfVelmor_recvReq_%s", m.sendName};
    if (!body) {
        logNull(fn, __LINE__);
        return nullptr;
    }
    BodyHead *b = (BodyHead *)body;
    checkMagic(m, fn, __LINE__, b);
    if (!handler) {
        tolkCore_sendMsgRes(ctx, body, INTFVELMOR_RES_NO_HANDLER, kCoreWord);
        return nullptr;
    }
    return b;
}

BodyHead *recvRes(const MsgDesc &m, void *ctx, void *body)
{
    FnName fn{"intfVelmor_recvRes_%s", m.name};
    if (!body) {
        logNull(fn, __LINE__);
        return nullptr;
    }
    BodyHead *b = (BodyHead *)body;
    checkMagic(m, fn, __LINE__, b);
    if (!ctx || !((tolkCore_msgCtx *)ctx)->cbRes) {
        tolkCore_sendMsgRes(ctx, body, INTFVELMOR_RES_NO_HANDLER, kCoreWord);
        return nullptr;
    }
    return b;
}

uint32_t modSrv(void *user, uint32_t w1, uint32_t w2, uint32_t w3, const MsgDesc &m)
{
    uint32_t rc = tolkIntf_modSrv_mthd(user, w1, w2, w3, m.magic + 1, kIntfName, &base().cmd,
                                       &base().ntfy, m.index, kNone, kNone);
    if (rc)
        IV_LOG(kErr, (FnName{"intfVelmor_modSrv_recvMsg_%s", m.name}),
               "user(%p): ModCliNtfyUser failed(%d)\n", user, (int)rc);
    return rc;
}

uint32_t modCliNtfy(const MsgDesc &m, void *user, uint32_t w1, uint32_t w2, uint32_t w3,
                    const char *busName, void *userName)
{
    uint32_t rc = tolkIntf_modCliNtfyUser_mthd(user, w1, w2, w3, m.magic + 1, busName, userName,
                                               kIntfName, &base().cmd, &base().ntfy, m.index);
    if (rc)
        IV_LOG(kErr, (FnName{"intfVelmor_modCliNtfyUser_recvMsg_%s", m.name}),
               "user(%p) bus name(%s) user name(%p): ModCliNtfyUser\n", user,
               busName ? busName : "", userName);
    return rc;
}

uint32_t needUpdate(const MsgDesc &m, void *user, uint32_t w1, uint32_t w2, uint32_t w3)
{
    uint32_t rc = tolkIntf_modSrv_ntfy_needUpdate(user, w1, w2, w3, kIntfName, &base().cmd,
                                                  &base().ntfy, m.index);
    if (rc)
        IV_LOG(kErr, (FnName{"intfVelmor_modSrv_needUpdate_%s", m.sendName}),
               "user(%p): ModSrv failed(%d)\n", user, (int)rc);
    return rc;
}

void freeBody(int32_t type, void *body, const MsgDesc &m)
{
    if (m.ntfy && type == kRes) {
        IV_LOG(kErr, plainName(m, kFree), "No free body response process\n");
        return;
    }
    if (!knownType(type)) {
        IV_LOG(kErr, plainName(m, kFree), "Type(%d) unknown", (int)type);
        return;
    }
    if (!body) {
        logNull(cbName(m, kFree, type), __LINE__);
        return;
    }
    BodyHead *b = (BodyHead *)body;
    // A command request is checked before its reference word; a response or
    // a notification held elsewhere is left alone unchecked.
    if (type == kReq && !m.ntfy)
        checkMagic(m, kFree, type, __LINE__, b);
    if (b->ref)
        return;
    if (type == kRes || m.ntfy)
        checkMagic(m, kFree, type, __LINE__, b);
    // Records own no storage: cleaning them releases nothing.
    b->magic = kDeadMagic;
    release(b);
}

uint32_t serializeBody(int32_t type, void *body, uint8_t **out, uint32_t *outLen,
                       const MsgDesc &m)
{
    if (m.ntfy && type == kRes) {
        IV_LOG(kErr, plainName(m, kSerialize), "No Serialize response process\n");
        return INTFVELMOR_ERR_TYPE;
    }
    if (!knownType(type)) {
        IV_LOG(kErr, plainName(m, kSerialize), "Type(%d) unknown\n", (int)type);
        return INTFVELMOR_ERR_TYPE;
    }
    if (!body || !out || !outLen) {
        logNull(cbName(m, kSerialize, type), __LINE__);
        return INTFVELMOR_ERR_BODY;
    }
    BodyHead *b = (BodyHead *)body;
    checkMagic(m, kSerialize, type, __LINE__, b);
    // The body and the buffer are checked here: writing the members cannot fail.
    const TypeDesc *d = m.members[type];
    uint32_t len = kFrameSize + (d ? length(*d, b) : 0);
    uint8_t *buf = (uint8_t *)zalloc(len);
    if (!buf) {
        IV_LOG(kErr, cbName(m, kSerialize, type), "Allocating Memory N Ctx[%s]\n", "");
        return INTFVELMOR_ERR_ALLOC;
    }
    uint8_t *p = putScalar32(buf, 0, b->magic);
    p = putScalar32(p, 1, m.stamp);
    if (d)
        write(*d, b, p);
    *out = buf;
    *outLen = len;
    return 0;
}

uint32_t unserializeBody(int32_t type, const uint8_t *bytes, void **out, uint32_t *outSize,
                         const MsgDesc &m)
{
    ReadFailure fail;
    return readBody(m, type, bytes, nullptr, out, outSize, fail);
}

uint32_t unserializeBodyBounded(const MsgDesc &m, int32_t type, const uint8_t *bytes,
                                const uint8_t *end, void **out, uint32_t *outSize)
{
    ReadFailure fail;
    return readBody(m, type, bytes, end, out, outSize, fail);
}

namespace {

// Whether the item at p is exactly a scalar32 item of this tag holding
// `value` (the stamp: in its low 16 bits), complete before end.
bool exactItem(const uint8_t *p, const uint8_t *end, uint32_t tag, uint32_t value, uint32_t mask)
{
    return (!end || (uint32_t)(end - p) >= kScalar32Size) && rd32(p) == tag && rd32(p + 4) == 4 &&
           (rd32(p + 8) & mask) == value;
}

#ifndef __OPTIMIZE_SIZE__
// Whether both frame items are exactly m's, as most are: where built for
// speed, one check before readFrame's.
bool framed(const MsgDesc &m, const uint8_t *p, const uint8_t *end)
{
    return (!end || (uint32_t)(end - p) >= kFrameSize) && exactItem(p, nullptr, 0, m.magic, ~0u) &&
           exactItem(p + kScalar32Size, nullptr, 1, m.stamp, 0xFFFFu);
}
#endif

// The frame items, each taken at once when it is exactly m's, else read by
// the reader that reports as `who`: 0 with p past them.
uint32_t readFrame(const MsgDesc &m, const Reporter &who, const uint8_t *&p, const uint8_t *end)
{
    ReadFailure &fail = *who.fail;
    const uint8_t *bytes = p;
    uint32_t value = 0;
    if (exactItem(p, end, 0, m.magic, ~0u)) {
        p += kScalar32Size;
    } else {
        if (readScalar32(who, p, end, 0, value)) {
            errorBefore(who, 1);
            return INTFVELMOR_ERR_FRAME;
        }
        if (value != m.magic) {
            fail.refuse(ReadFailure::kForeignMagic, 0, 0, 0, value);
            // Another message's bytes: refused here, before any magic check aborts.
            char name[kMagicNameSize];
            IV_LOG(kErr, who.fn, "Check Magic[%s-%X] Ctx[ptr(%p) magic(%X)] text[%s]\n",
                   magicNameOf(m, name), m.magic, (const void *)fail.start, (uint32_t)fail.found,
                   "refused");
            return INTFVELMOR_ERR_FRAME;
        }
    }
    if (exactItem(p, end, 1, m.stamp, 0xFFFFu)) {
        p += kScalar32Size;
        return 0;
    }
    const uint8_t *item1 = p;
    if (readScalar32(who, p, end, 1, value))
        return INTFVELMOR_ERR_FRAME;
    if ((uint16_t)value != m.stamp) {
        fail.refuse(ReadFailure::kWrongStamp, 1, (uint32_t)(item1 - bytes), 0, value);
        return INTFVELMOR_ERR_FRAME;
    }
    return 0;
}

}  // namespace

uint32_t readBody(const MsgDesc &m, int32_t type, const uint8_t *bytes, const uint8_t *end,
                  void **out, uint32_t *outSize, ReadFailure &fail)
{
    if (m.ntfy && type == kRes) {
        IV_LOG(kErr, plainName(m, kUnserialize), "No Unserialize response process\n");
        return INTFVELMOR_ERR_TYPE;
    }
    if (!knownType(type)) {
        IV_LOG(kErr, plainName(m, kUnserialize), "Type(%d) unknown\n", (int)type);
        return INTFVELMOR_ERR_TYPE;
    }
    if (!bytes || !out || !outSize) {
        logNull(cbName(m, kUnserialize, type), __LINE__);
        return INTFVELMOR_ERR_BODY;
    }
    BodyHead *b = (BodyHead *)zalloc(m.size[type]);
    if (!b) {
        IV_LOG(kErr, cbName(m, kUnserialize, type), "Allocating Memory Ctx[%s]\n", "");
        return INTFVELMOR_ERR_ALLOC;
    }
    fail.start = bytes;
    b->magic = m.magic;
    const TypeDesc *d = m.members[type];
    // The path of a known type: CmdReq, CmdRes or NtfyReq.
    Reporter who{{kCbFormats[kUnserialize], kCbPaths[type + 3 * m.ntfy], m.name}, bytes, &fail};
    bool whole = false;
#ifndef __OPTIMIZE_SIZE__
    whole = framed(m, bytes, end);
#endif
    const uint8_t *p = whole ? bytes + kFrameSize : bytes;
    uint32_t rc = whole ? 0 : readFrame(m, who, p, end);
    if (!rc && d)
        rc = read(*d, b, p, end, who);
    if (rc) {
        release(b);
        return rc;
    }
    fail.offset = (uint32_t)(p - bytes);
    *out = b;
    *outSize = m.size[type];
    return 0;
}

void logBody(char **outText, const MsgDesc &m)
{
    if (!outText) {
        IV_LOG(kErr, plainName(m, kLog), "Invalid parameter\n");
        return;
    }
    *outText = (char *)zalloc(1);
    if (!*outText)
        IV_LOG(kErr, plainName(m, kLog), "Allocating Memory N Ctx[%s]\n", "");
}

}  // namespace iv

extern "C" IV_EXPORT uint32_t intfVelmor_unserializeBodyBounded(
    intfVelmor_unserializeBodyFn entryFn, int32_t type, const uint8_t *bytes, const uint8_t *end,
    void **outBody, uint32_t *outSize)
{
    const intfVelmor_descriptor &d = intfVelmor_base;
    const iv::MsgDesc *m = nullptr;
    for (uint32_t i = 0; entryFn && !m && i < INTFVELMOR_CMD_COUNT; ++i)
        if (d.cmd.entries[i].unserializeBody == entryFn)
            m = iv::kCommands[i];
    for (uint32_t i = 0; entryFn && !m && i < INTFVELMOR_NTFY_COUNT; ++i)
        if (d.ntfy.entries[i].unserializeBody == entryFn)
            m = iv::kNotifications[i];
    if (!m)
        return INTFVELMOR_ERR_TYPE;
    if (!end || (bytes && end < bytes))
        return INTFVELMOR_ERR_BODY;
    return iv::unserializeBodyBounded(*m, type, bytes, end, outBody, outSize);
}
