// The fourteen commands: one description per command over the shared frame,
// and the exported functions as thin typed wrappers around it.
#include "base/log.h"
#include "messages/bodies.h"
#include "messages/catalogue.h"
#include "messages/frame.h"
#include "tolkHost.h"
#include "types/described.h"
#include "wire/describe.h"

// Members of each body, numbered from 3 like a record's.
IV_BODY(ivReq_getAssocDevStats, IV_MEMBER(req, 3))
IV_BODY(ivRes_getAssocDevStats, IV_MEMBER(res, 3))
IV_BODY(ivReq_selectAndCreateRadio, IV_MEMBER(text, 3), IV_MEMBER(radio, 4))
IV_BODY(ivRes_selectAndCreateRadio, IV_MEMBER(res, 3))
IV_BODY(ivReq_createAccessPoint, IV_MEMBER(text1, 3), IV_MEMBER(text2, 4), IV_MEMBER(text3, 5))
IV_BODY(ivRes_createAccessPoint, IV_MEMBER(status, 3), IV_MEMBER(capacity, 4),
          IV_MEMBER(text, 5))
IV_BODY(ivRes_getProbeRequestList, IV_MEMBER(res, 3))
IV_BODY(ivRes_getTemporarilyBlackList, IV_MEMBER(res, 3))
IV_BODY(ivReq_configureAccessPoint, IV_MEMBER(cfg, 3), IV_MEMBER(value, 4))
IV_BODY(ivRes_configureAccessPoint, IV_MEMBER(res, 3))
IV_BODY(ivReq_configureQTNBackHaulWPS, IV_MEMBER(cfg, 3))
IV_BODY(ivRes_configureQTNBackHaulWPS, IV_MEMBER(status, 3))
IV_BODY(ivReq_temporarilyBlackList, IV_MEMBER(mac, 3), IV_MEMBER(value, 4))
IV_BODY(ivRes_temporarilyBlackList, IV_MEMBER(status, 3))
IV_BODY(ivReq_11vActionFrame, IV_MEMBER(req, 3))
IV_BODY(ivRes_11vActionFrame, IV_MEMBER(res, 3))
IV_BODY(ivReq_getStationsStatistics, IV_MEMBER(req, 3))
IV_BODY(ivRes_getStationsStatistics, IV_MEMBER(res, 3))
IV_BODY(ivReq_beaconRequest, IV_MEMBER(req, 3))
IV_BODY(ivRes_beaconRequest, IV_MEMBER(res, 3))
IV_BODY(ivReq_setBeaconIETUK, IV_MEMBER(req, 3))
IV_BODY(ivRes_setBeaconIETUK, IV_MEMBER(status, 3))
IV_BODY(ivRes_getChannelCreated, IV_MEMBER(res, 3))
IV_BODY(ivRes_getCCAStatistic, IV_MEMBER(res, 3))

namespace {

// Bodies without members have no description.
template <class Body>
constexpr const iv::TypeDesc *membersOf()
{
    if constexpr (std::is_same_v<Body, ivEmptyBody>)
        return nullptr;
    else
        return &iv::Desc<Body>::d;
}

#define IV_CMD_DESC(idx, X, entryName, magic, stamp, magicName)                               \
    const iv::MsgDesc ivMsg_##X = {                                                           \
        #X, #X, magicName, magic, stamp, idx, false,                                          \
        {membersOf<ivReq_##X>(), membersOf<ivRes_##X>()},                                     \
        {(uint16_t)sizeof(ivReq_##X), (uint16_t)sizeof(ivRes_##X)}};
IV_COMMANDS(IV_CMD_DESC)
#undef IV_CMD_DESC

}  // namespace

namespace iv {
#define IV_CMD_PTR(idx, X, entryName, magic, stamp, magicName) &ivMsg_##X,
const MsgDesc *const kCommands[] = {IV_COMMANDS(IV_CMD_PTR)};
#undef IV_CMD_PTR
}  // namespace iv

#define IV_ARGS(...) , ##__VA_ARGS__

// Typed ends of one command: sendReq and its internal response function,
// recvReq, sendRes. Parenthesised lists: sendReq's request parameters, the
// member pointers they become, what the request handler receives from the
// body `b`; sendRes's parameters, their member pointers, what the response
// callback receives.
#define IV_COMMAND(X, ReqParams, ReqArgs, ReqHandled, ResParams, ResArgs, ResHandled)          \
    static void ivRecvRes_##X(uint32_t, void *ctx, void *body)                                \
    {                                                                                         \
        if (auto *b = (ivRes_##X *)iv::recvRes(ivMsg_##X, ctx, body)) {                       \
            tolkCore_msgCtx *c = (tolkCore_msgCtx *)ctx;                                      \
            ((intfVelmor_cbRes_##X)c->cbRes)(ctx, c->ref IV_ARGS ResHandled);                 \
        }                                                                                     \
    }                                                                                         \
    extern "C" IV_EXPORT uint32_t intfVelmor_sendReq_##X(                                     \
        void *user, intfVelmor_cbRes_##X cb, uint32_t word1, uint32_t word2,                  \
        const char *srvUserName IV_ARGS ReqParams)                                            \
    {                                                                                         \
        const void *args[] = {nullptr IV_ARGS ReqArgs};                                       \
        return iv::sendReq(ivMsg_##X, user, (void *)cb, (void *)ivRecvRes_##X, word1, word2,  \
                           srvUserName, args + 1);                                            \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_recvReq_##X(void *ctx, void *body, void *handler,    \
                                                     uint32_t ref)                            \
    {                                                                                         \
        if (auto *b = (ivReq_##X *)iv::recvReq(ivMsg_##X, ctx, body, handler)) {              \
            (void)b;                                                                          \
            ((intfVelmor_hdlReq_##X)handler)(ctx, ref IV_ARGS ReqHandled);                    \
        }                                                                                     \
    }                                                                                         \
    extern "C" IV_EXPORT void intfVelmor_sendRes_##X(void *ctx IV_ARGS ResParams)             \
    {                                                                                         \
        const void *args[] = {nullptr IV_ARGS ResArgs};                                       \
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

IV_COMMAND(getAssocDevStats,
           (const assocDevListReq *req), (req), (&b->req),
           (const assocDevListRet *res), (res), (&b->res))
IV_COMMAND(selectAndCreateRadio,
           (const char *text, const RadioDef *radio), (text, radio), (b->text, &b->radio),
           (const RadioCapacity *res), (res), (&b->res))
IV_COMMAND(createAccessPoint,
           (const char *text1, const char *text2, const char *text3), (text1, text2, text3),
           (b->text1, b->text2, b->text3),
           (uint8_t status, const APCapacity *capacity, const char *text),
           (&status, capacity, text), (b->status, &b->capacity, b->text))
IV_COMMAND(getProbeRequestList, (), (), (),
           (const ProbeRequestList *res), (res), (&b->res))
IV_COMMAND(getTemporarilyBlackList, (), (), (),
           (const MacFilterList *res), (res), (&b->res))
IV_COMMAND(configureAccessPoint,
           (const APCfg *cfg, uint8_t value), (cfg, &value), (&b->cfg, b->value),
           (const APCfgRet *res), (res), (&b->res))
IV_COMMAND(configureQTNBackHaulWPS,
           (const APBackHaulWPSCfg *cfg), (cfg), (&b->cfg),
           (uint8_t status), (&status), (b->status))
IV_COMMAND(temporarilyBlackList,
           (const char *mac, uint32_t value), (mac, &value), (b->mac, b->value),
           (uint8_t status), (&status), (b->status))
IV_COMMAND(11vActionFrame,
           (const bssTransitionRequest *req), (req), (&b->req),
           (const bssTransitionResponse *res), (res), (&b->res))
IV_COMMAND(getStationsStatistics,
           (const assocDevListReq *req), (req), (&b->req),
           (const assocDevListRet *res), (res), (&b->res))
IV_COMMAND(beaconRequest,
           (const BeaconRequestCfg *req), (req), (&b->req),
           (const beaconReport *res), (res), (&b->res))
IV_COMMAND(setBeaconIETUK,
           (const BeaconIECfg *req), (req), (&b->req),
           (uint8_t status), (&status), (b->status))
IV_COMMAND(getChannelCreated, (), (), (),
           (const channelReport *res), (res), (&b->res))
IV_COMMAND(getCCAStatistic, (), (), (),
           (const ccaStats *res), (res), (&b->res))
