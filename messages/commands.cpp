// The commands: one description per command over the shared frame,
// and the exported functions as thin typed wrappers around it.
#include "base/log.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "tolkHost.h"
#include "types/described.h"
#include "wire/describe.h"

#include <type_traits>

// Each body's description: its row's members, numbered from 3.
#define IV_BODY_FIELD(i, T, name) IV_MEMBER(name, 3 + i),
#define IV_CMD_FIELDS(idx, X, entryName, magic, stamp, magicName, req, res)   \
    IV_IF_MEMBERS(req)(IV_BODY(ivReq_##X, IV_EACH(IV_BODY_FIELD, req)))       \
    IV_IF_MEMBERS(res)(IV_BODY(ivRes_##X, IV_EACH(IV_BODY_FIELD, res)))
IV_COMMANDS(IV_CMD_FIELDS)
#undef IV_CMD_FIELDS

// A body without members has no description. The descriptions have
// external (hidden) linkage: where code needs one's address, a small core
// then loads it in one instruction instead of two.
#define IV_CMD_DESC(idx, X, entryName, magic, stamp, magicName, req, res)                    \
    extern const iv::MsgDesc ivMsg_##X;                                                      \
    const iv::MsgDesc ivMsg_##X = {                                                          \
        #X, #X, magic, stamp, idx, false,                                                    \
        {IV_IF_MEMBERS(req)(&iv::Desc<ivReq_##X>::d.head) IV_IF_NONE(req)(nullptr),          \
         IV_IF_MEMBERS(res)(&iv::Desc<ivRes_##X>::d.head) IV_IF_NONE(res)(nullptr)},         \
        {iv::bodySize<ivReq_##X>(), iv::bodySize<ivRes_##X>()}};
IV_COMMANDS(IV_CMD_DESC)
#undef IV_CMD_DESC

namespace {

#define IV_CMD_MAGIC_NAME(idx, X, entryName, magic, stamp, magicName, ...) \
    static_assert(iv::isMagicName(magicName, #X, false),                                \
                  #X ": the magic name is not composed from the name");
IV_COMMANDS(IV_CMD_MAGIC_NAME)
#undef IV_CMD_MAGIC_NAME

IV_CHECK_ROWS(IV_COMMANDS, INTFVELMOR_CMD_COUNT, command)

}  // namespace

namespace iv {
#define IV_CMD_PTR(idx, X, ...) &ivMsg_##X,
const MsgDesc *const kCommands[] = {IV_COMMANDS(IV_CMD_PTR)};
#undef IV_CMD_PTR
}  // namespace iv

// The typed ends of one command, from its row: sendReq and its internal
// response function, recvReq, sendRes, and the entry's callbacks. The
// handler and callback types built from the row must be the header's.
#define IV_COMMAND(idx, X, entryName, magic, stamp, magicName, req, res)                     \
    static_assert(std::is_same_v<intfVelmor_hdlReq_##X,                                       \
                                 void (*)(void *, uint32_t IV_EACH(IV_HANDED_TYPE, req))>,    \
                  #X ": the request handler type differs from the row");                     \
    static_assert(std::is_same_v<intfVelmor_cbRes_##X,                                        \
                                 void (*)(void *, uint32_t IV_EACH(IV_HANDED_TYPE, res))>,    \
                  #X ": the response callback type differs from the row");                   \
    static void ivRecvRes_##X(uint32_t, void *ctx, void *body)                                \
    {                                                                                         \
        if (auto *b = (ivRes_##X *)iv::recvRes(ivMsg_##X, ctx, body)) {                       \
            (void)b;                                                                          \
            tolkCore_msgCtx *c = (tolkCore_msgCtx *)ctx;                                      \
            ((intfVelmor_cbRes_##X)c->cbRes)(ctx, c->ref IV_EACH(IV_HANDED, res));            \
        }                                                                                     \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_sendReq_##X(                                     \
        void *user, intfVelmor_cbRes_##X cb, uint32_t word1, uint32_t word2,                  \
        const char *srvUserName IV_EACH(IV_PARAM, req))                                       \
    {                                                                                         \
        const void *args[] = {nullptr IV_EACH(IV_ARG, req)};                                  \
        return iv::sendReq(ivMsg_##X, user, (void *)cb, (void *)ivRecvRes_##X, word1, word2,  \
                           srvUserName, args + 1);                                            \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_recvReq_##X(void *ctx, void *body, void *handler,    \
                                                     uint32_t ref)                            \
    {                                                                                         \
        if (auto *b = (ivReq_##X *)iv::recvReq(ivMsg_##X, ctx, body, handler)) {              \
            (void)b;                                                                          \
            ((intfVelmor_hdlReq_##X)handler)(ctx, ref IV_EACH(IV_HANDED, req));               \
        }                                                                                     \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_sendRes_##X(void *ctx IV_EACH(IV_PARAM, res))        \
    {                                                                                         \
        const void *args[] = {nullptr IV_EACH(IV_ARG, res)};                                  \
        iv::sendRes(ivMsg_##X, ctx, args + 1);                                                \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_modSrv_recvMsg_##X(void *user, uint32_t w1,      \
                                                                uint32_t w2, uint32_t w3)     \
    {                                                                                         \
        return iv::modSrv(user, w1, w2, w3, ivMsg_##X);                                       \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_cbEvtMsgMngt_freeBody_msgCmd_##X(int32_t type,       \
                                                                          void *body)         \
    {                                                                                         \
        iv::freeBody(type, body, ivMsg_##X);                                                  \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_cbEvtMsgMngt_serializeBody_msgCmd_##X(           \
        int32_t type, void *body, uint8_t **out, uint32_t *outLen)                            \
    {                                                                                         \
        return iv::serializeBody(type, body, out, outLen, ivMsg_##X);                         \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_cbEvtMsgMngt_unserializeBody_msgCmd_##X(         \
        int32_t type, const uint8_t *bytes, void **out, uint32_t *outSize)                    \
    {                                                                                         \
        return iv::unserializeBody(type, bytes, out, outSize, ivMsg_##X);                     \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_cbEvtMsgMngt_logBody_msgCmd_##X(                     \
        uint32_t, uint32_t, uint32_t, char **outText)                                         \
    {                                                                                         \
        iv::logBody(outText, ivMsg_##X);                                                      \
    }

IV_COMMANDS(IV_COMMAND)
