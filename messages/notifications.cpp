// The three notifications, on the command frame with one body type.
#include "base/log.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "types/described.h"
#include "wire/describe.h"

IV_BODY(ivNtfy_meshTUKExtenderPairing, IV_MEMBER(value, 3))
IV_BODY(ivNtfy_meshTUKClientsLowRSSI, IV_MEMBER(ntfy, 3))
IV_BODY(ivNtfy_beaconReport, IV_MEMBER(mac, 3), IV_MEMBER(value1, 4), IV_MEMBER(value2, 5))

namespace {

#define IV_NTFY_DESC(idx, x, X, entryName, magic, stamp, magicName)                            \
    const iv::MsgDesc ivMsg_##x = {#x, "ntfy" #X, magicName, magic, stamp, idx, true,          \
                                   {&iv::Desc<ivNtfy_##x>::d, nullptr},                        \
                                   {(uint16_t)sizeof(ivNtfy_##x), 0}};
IV_NOTIFICATIONS(IV_NTFY_DESC)
#undef IV_NTFY_DESC

}  // namespace

namespace iv {
#define IV_NTFY_PTR(idx, x, X, entryName, magic, stamp, magicName) &ivMsg_##x,
const MsgDesc *const kNotifications[] = {IV_NOTIFICATIONS(IV_NTFY_PTR)};
#undef IV_NTFY_PTR
}  // namespace iv

#define IV_ARGS(...) , ##__VA_ARGS__

// Typed ends of one notification: the publisher's send, the subscriber's
// receive handler; parenthesised lists as for the commands.
#define IV_NOTIFICATION(x, X, Params, Args, Handled)                                           \
    extern "C" IV_EXPORT void intfVelmor_sendReq_ntfy##X(void *user, uint32_t word1,          \
                                                         uint32_t word2 IV_ARGS Params)       \
    {                                                                                         \
        const void *args[] = {nullptr IV_ARGS Args};                                          \
        iv::sendNtfy(ivMsg_##x, user, word1, word2, args + 1);                                \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_recvReq_ntfy##X(void *ctx, void *body, void *handler, \
                                                         uint32_t ref)                        \
    {                                                                                         \
        if (auto *b = (ivNtfy_##x *)iv::recvReq(ivMsg_##x, ctx, body, handler))               \
            ((intfVelmor_hdlNtfy_##x)handler)(ctx, ref IV_ARGS Handled);                      \
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

IV_NOTIFICATION(meshTUKExtenderPairing, MeshTUKExtenderPairing, (uint32_t value), (&value),
                (b->value))
IV_NOTIFICATION(meshTUKClientsLowRSSI, MeshTUKClientsLowRSSI, (const LowRSSINtf *ntfy), (ntfy),
                (&b->ntfy))
IV_NOTIFICATION(beaconReport, BeaconReport, (const char *mac, int8_t value1, int8_t value2),
                (mac, &value1, &value2), (b->mac, b->value1, b->value2))

extern "C" IV_EXPORT uint32_t intfVelmor_modSrv_needUpdate_ntfyBeaconReport(void *user,
                                                                            uint32_t w1,
                                                                            uint32_t w2,
                                                                            uint32_t w3)
{
    return iv::needUpdate(ivMsg_beaconReport, user, w1, w2, w3);
}
