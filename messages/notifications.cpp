// The notifications, on the command frame with one body type.
#include "base/log.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "types/described.h"
#include "wire/describe.h"

#include <type_traits>

// Each body's description: its row's members, numbered from 3.
#define IV_BODY_FIELD(i, T, name) IV_MEMBER(name, 3 + i),
#define IV_NTFY_FIELDS(idx, x, X, entryName, magic, stamp, magicName, members) \
    IV_BODY(ivNtfy_##x, IV_EACH(IV_BODY_FIELD, members))
IV_NOTIFICATIONS(IV_NTFY_FIELDS)
#undef IV_NTFY_FIELDS

#define IV_NTFY_DESC(idx, x, X, entryName, magic, stamp, magicName, members)                 \
    extern const iv::MsgDesc ivMsg_##x;                                                      \
    const iv::MsgDesc ivMsg_##x = {#x, "ntfy" #X, magic, stamp, idx, true,                    \
                                   {&iv::Desc<ivNtfy_##x>::d.head, nullptr},                 \
                                   {iv::bodySize<ivNtfy_##x>(), 0}};
IV_NOTIFICATIONS(IV_NTFY_DESC)
#undef IV_NTFY_DESC

namespace {

#define IV_NTFY_MAGIC_NAME(idx, x, X, entryName, magic, stamp, magicName, ...) \
    static_assert(iv::isMagicName(magicName, #x, true),                                \
                  #x ": the magic name is not composed from the name");
IV_NOTIFICATIONS(IV_NTFY_MAGIC_NAME)
#undef IV_NTFY_MAGIC_NAME

IV_CHECK_ROWS(IV_NOTIFICATIONS, INTFVELMOR_NTFY_COUNT, notification)

}  // namespace

namespace iv {
#define IV_NTFY_PTR(idx, x, ...) &ivMsg_##x,
const MsgDesc *const kNotifications[] = {IV_NOTIFICATIONS(IV_NTFY_PTR)};
#undef IV_NTFY_PTR
}  // namespace iv

// The typed ends of one notification, from its row: the publisher's send,
// the subscriber's receive handler, and the entry's callbacks.
#define IV_NOTIFICATION(idx, x, X, entryName, magic, stamp, magicName, members)                \
    static_assert(std::is_same_v<intfVelmor_hdlNtfy_##x,                                      \
                                 void (*)(void *, uint32_t IV_EACH(IV_HANDED_TYPE, members))>, \
                  #x ": the handler type differs from the row");                             \
    extern "C" IV_EXPORT void intfVelmor_sendReq_ntfy##X(void *user, uint32_t word1,          \
                                                         uint32_t word2                       \
                                                         IV_EACH(IV_PARAM, members))          \
    {                                                                                         \
        const void *args[] = {nullptr IV_EACH(IV_ARG, members)};                              \
        iv::sendNtfy(ivMsg_##x, user, word1, word2, args + 1);                                \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_recvReq_ntfy##X(void *ctx, void *body, void *handler, \
                                                         uint32_t ref)                        \
    {                                                                                         \
        if (auto *b = (ivNtfy_##x *)iv::recvReq(ivMsg_##x, ctx, body, handler))               \
            ((intfVelmor_hdlNtfy_##x)handler)(ctx, ref IV_EACH(IV_HANDED, members));          \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_modCliNtfyUser_recvMsg_##x(                      \
        void *user, uint32_t w1, uint32_t w2, uint32_t w3, const char *busName,               \
        void *userName)                                                                       \
    {                                                                                         \
        return iv::modCliNtfy(ivMsg_##x, user, w1, w2, w3, busName, userName);                \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_cbEvtMsgMngt_freeBody_msgNtfy_##x(int32_t type,      \
                                                                           void *body)        \
    {                                                                                         \
        iv::freeBody(type, body, ivMsg_##x);                                                  \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_cbEvtMsgMngt_serializeBody_msgNtfy_##x(          \
        int32_t type, void *body, uint8_t **out, uint32_t *outLen)                            \
    {                                                                                         \
        return iv::serializeBody(type, body, out, outLen, ivMsg_##x);                         \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_cbEvtMsgMngt_unserializeBody_msgNtfy_##x(        \
        int32_t type, const uint8_t *bytes, void **out, uint32_t *outSize)                    \
    {                                                                                         \
        return iv::unserializeBody(type, bytes, out, outSize, ivMsg_##x);                     \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_cbEvtMsgMngt_logBody_msgNtfy_##x(                    \
        uint32_t, uint32_t, uint32_t, char **outText)                                         \
    {                                                                                         \
        iv::logBody(outText, ivMsg_##x);                                                      \
    }

IV_NOTIFICATIONS(IV_NOTIFICATION)

extern "C" IV_EXPORT uint32_t intfVelmor_modSrv_needUpdate_ntfyBeaconReport(void *user,
                                                                            uint32_t w1,
                                                                            uint32_t w2,
                                                                            uint32_t w3)
{
    return iv::needUpdate(ivMsg_beaconReport, user, w1, w2, w3);
}
