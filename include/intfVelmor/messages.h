/*
 * Commands and notifications.
 *
 * Every command X has, on the client side,
 *   uint32_t intfVelmor_sendReq_X(void *user, intfVelmor_cbRes_X cb, uint32_t word1,
 *                                 uint32_t word2, const char *srvUserName, <request>);
 * and on the server side
 *   uint32_t intfVelmor_modSrv_recvMsg_X(void *user, uint32_t w1, uint32_t w2, uint32_t w3);
 *   void     intfVelmor_recvReq_X(void *ctx, void *body, void *handler, uint32_t ref);
 *   void     intfVelmor_sendRes_X(void *ctx, <response>);
 * plus the four body callbacks of its descriptor entry (both sides). A request
 * handler is called as handler(ctx, ref, <request as received>), a response
 * callback as cb(ctx, ref, <response as received>). Pointers handed to them
 * point into the message body and stay valid while the core holds it.
 *
 * Every notification Y has intfVelmor_sendReq_ntfyY (publisher),
 * intfVelmor_modCliNtfyUser_recvMsg_y and intfVelmor_recvReq_ntfyY
 * (subscriber), and its four body callbacks.
 */
#ifndef INTFVELMOR_MESSAGES_H
#define INTFVELMOR_MESSAGES_H

#include <stdint.h>

#include "records.h"

#ifdef __cplusplus
extern "C" {
#endif

#define INTFVELMOR_DECLARE_BODY_CALLBACKS(kind, X)                                              \
    void intfVelmor_cbEvtMsgMngt_freeBody_##kind##_##X(int32_t type, void *body);              \
    uint32_t intfVelmor_cbEvtMsgMngt_serializeBody_##kind##_##X(int32_t type, void *body,      \
                                                                uint8_t **out,                 \
                                                                uint32_t *outLen);             \
    uint32_t intfVelmor_cbEvtMsgMngt_unserializeBody_##kind##_##X(                             \
        int32_t type, const uint8_t *bytes, void **outBody, uint32_t *outSize);                \
    void intfVelmor_cbEvtMsgMngt_logBody_##kind##_##X(uint32_t w1, uint32_t w2, uint32_t w3,   \
                                                      char **outText);

#define INTFVELMOR_DECLARE_COMMAND(X)                                                           \
    uint32_t intfVelmor_modSrv_recvMsg_##X(void *user, uint32_t w1, uint32_t w2, uint32_t w3); \
    void intfVelmor_recvReq_##X(void *ctx, void *body, void *handler, uint32_t ref);            \
    INTFVELMOR_DECLARE_BODY_CALLBACKS(msgCmd, X)

/* ---- Commands: handler and callback types -------------------------------- */
typedef void (*intfVelmor_hdlReq_getAssocDevStats)(void *ctx, uint32_t ref, assocDevListReq *req);
typedef void (*intfVelmor_cbRes_getAssocDevStats)(void *ctx, uint32_t ref, assocDevListRet *res);
typedef void (*intfVelmor_hdlReq_selectAndCreateRadio)(void *ctx, uint32_t ref, char *text,
                                                       RadioDef *radio);
typedef void (*intfVelmor_cbRes_selectAndCreateRadio)(void *ctx, uint32_t ref, RadioCapacity *res);
typedef void (*intfVelmor_hdlReq_createAccessPoint)(void *ctx, uint32_t ref, char *text1,
                                                    char *text2, char *text3);
typedef void (*intfVelmor_cbRes_createAccessPoint)(void *ctx, uint32_t ref, uint8_t status,
                                                   APCapacity *capacity, char *text);
typedef void (*intfVelmor_hdlReq_getProbeRequestList)(void *ctx, uint32_t ref);
typedef void (*intfVelmor_cbRes_getProbeRequestList)(void *ctx, uint32_t ref,
                                                     ProbeRequestList *res);
typedef void (*intfVelmor_hdlReq_getTemporarilyBlackList)(void *ctx, uint32_t ref);
typedef void (*intfVelmor_cbRes_getTemporarilyBlackList)(void *ctx, uint32_t ref,
                                                         MacFilterList *res);
typedef void (*intfVelmor_hdlReq_configureAccessPoint)(void *ctx, uint32_t ref, APCfg *cfg,
                                                       uint8_t value);
typedef void (*intfVelmor_cbRes_configureAccessPoint)(void *ctx, uint32_t ref, APCfgRet *res);
typedef void (*intfVelmor_hdlReq_configureQTNBackHaulWPS)(void *ctx, uint32_t ref,
                                                          APBackHaulWPSCfg *cfg);
typedef void (*intfVelmor_cbRes_configureQTNBackHaulWPS)(void *ctx, uint32_t ref, uint8_t status);
typedef void (*intfVelmor_hdlReq_temporarilyBlackList)(void *ctx, uint32_t ref, char *mac,
                                                       uint32_t value);
typedef void (*intfVelmor_cbRes_temporarilyBlackList)(void *ctx, uint32_t ref, uint8_t status);
typedef void (*intfVelmor_hdlReq_11vActionFrame)(void *ctx, uint32_t ref,
                                                 bssTransitionRequest *req);
typedef void (*intfVelmor_cbRes_11vActionFrame)(void *ctx, uint32_t ref,
                                                bssTransitionResponse *res);
typedef void (*intfVelmor_hdlReq_getStationsStatistics)(void *ctx, uint32_t ref,
                                                        assocDevListReq *req);
typedef void (*intfVelmor_cbRes_getStationsStatistics)(void *ctx, uint32_t ref,
                                                       assocDevListRet *res);
typedef void (*intfVelmor_hdlReq_beaconRequest)(void *ctx, uint32_t ref, BeaconRequestCfg *req);
typedef void (*intfVelmor_cbRes_beaconRequest)(void *ctx, uint32_t ref, beaconReport *res);
typedef void (*intfVelmor_hdlReq_setBeaconIETUK)(void *ctx, uint32_t ref, BeaconIECfg *req);
typedef void (*intfVelmor_cbRes_setBeaconIETUK)(void *ctx, uint32_t ref, uint8_t status);
typedef void (*intfVelmor_hdlReq_getChannelCreated)(void *ctx, uint32_t ref);
typedef void (*intfVelmor_cbRes_getChannelCreated)(void *ctx, uint32_t ref, channelReport *res);
typedef void (*intfVelmor_hdlReq_getCCAStatistic)(void *ctx, uint32_t ref);
typedef void (*intfVelmor_cbRes_getCCAStatistic)(void *ctx, uint32_t ref, ccaStats *res);

#define INTFVELMOR_SENDREQ(X) \
    uint32_t intfVelmor_sendReq_##X(void *user, intfVelmor_cbRes_##X cb, uint32_t word1, \
                                    uint32_t word2, const char *srvUserName

/* ---- Commands: client side ---------------------------------------------------- */
INTFVELMOR_SENDREQ(getAssocDevStats), const assocDevListReq *req);
INTFVELMOR_SENDREQ(selectAndCreateRadio), const char *text, const RadioDef *radio);
INTFVELMOR_SENDREQ(createAccessPoint), const char *text1, const char *text2, const char *text3);
INTFVELMOR_SENDREQ(getProbeRequestList));
INTFVELMOR_SENDREQ(getTemporarilyBlackList));
INTFVELMOR_SENDREQ(configureAccessPoint), const APCfg *cfg, uint8_t value);
INTFVELMOR_SENDREQ(configureQTNBackHaulWPS), const APBackHaulWPSCfg *cfg);
INTFVELMOR_SENDREQ(temporarilyBlackList), const char *mac, uint32_t value);
INTFVELMOR_SENDREQ(11vActionFrame), const bssTransitionRequest *req);
INTFVELMOR_SENDREQ(getStationsStatistics), const assocDevListReq *req);
INTFVELMOR_SENDREQ(beaconRequest), const BeaconRequestCfg *req);
INTFVELMOR_SENDREQ(setBeaconIETUK), const BeaconIECfg *req);
INTFVELMOR_SENDREQ(getChannelCreated));
INTFVELMOR_SENDREQ(getCCAStatistic));

/* ---- Commands: server side ------------------------------------------------------ */
void intfVelmor_sendRes_getAssocDevStats(void *ctx, const assocDevListRet *res);
void intfVelmor_sendRes_selectAndCreateRadio(void *ctx, const RadioCapacity *res);
void intfVelmor_sendRes_createAccessPoint(void *ctx, uint8_t status, const APCapacity *capacity,
                                          const char *text);
void intfVelmor_sendRes_getProbeRequestList(void *ctx, const ProbeRequestList *res);
void intfVelmor_sendRes_getTemporarilyBlackList(void *ctx, const MacFilterList *res);
void intfVelmor_sendRes_configureAccessPoint(void *ctx, const APCfgRet *res);
void intfVelmor_sendRes_configureQTNBackHaulWPS(void *ctx, uint8_t status);
void intfVelmor_sendRes_temporarilyBlackList(void *ctx, uint8_t status);
void intfVelmor_sendRes_11vActionFrame(void *ctx, const bssTransitionResponse *res);
void intfVelmor_sendRes_getStationsStatistics(void *ctx, const assocDevListRet *res);
void intfVelmor_sendRes_beaconRequest(void *ctx, const beaconReport *res);
void intfVelmor_sendRes_setBeaconIETUK(void *ctx, uint8_t status);
void intfVelmor_sendRes_getChannelCreated(void *ctx, const channelReport *res);
void intfVelmor_sendRes_getCCAStatistic(void *ctx, const ccaStats *res);

INTFVELMOR_DECLARE_COMMAND(getAssocDevStats)
INTFVELMOR_DECLARE_COMMAND(selectAndCreateRadio)
INTFVELMOR_DECLARE_COMMAND(createAccessPoint)
INTFVELMOR_DECLARE_COMMAND(getProbeRequestList)
INTFVELMOR_DECLARE_COMMAND(getTemporarilyBlackList)
INTFVELMOR_DECLARE_COMMAND(configureAccessPoint)
INTFVELMOR_DECLARE_COMMAND(configureQTNBackHaulWPS)
INTFVELMOR_DECLARE_COMMAND(temporarilyBlackList)
INTFVELMOR_DECLARE_COMMAND(11vActionFrame)
INTFVELMOR_DECLARE_COMMAND(getStationsStatistics)
INTFVELMOR_DECLARE_COMMAND(beaconRequest)
INTFVELMOR_DECLARE_COMMAND(setBeaconIETUK)
INTFVELMOR_DECLARE_COMMAND(getChannelCreated)
INTFVELMOR_DECLARE_COMMAND(getCCAStatistic)

/* ---- Notifications ------------------------------------------------------------------ */
typedef void (*intfVelmor_hdlNtfy_meshTUKExtenderPairing)(void *ctx, uint32_t ref, uint32_t value);
typedef void (*intfVelmor_hdlNtfy_meshTUKClientsLowRSSI)(void *ctx, uint32_t ref,
                                                        LowRSSINtf *ntfy);
typedef void (*intfVelmor_hdlNtfy_beaconReport)(void *ctx, uint32_t ref, char *mac, int8_t value1,
                                               int8_t value2);

void intfVelmor_sendReq_ntfyMeshTUKExtenderPairing(void *user, uint32_t word1, uint32_t word2,
                                                   uint32_t value);
void intfVelmor_sendReq_ntfyMeshTUKClientsLowRSSI(void *user, uint32_t word1, uint32_t word2,
                                                  const LowRSSINtf *ntfy);
void intfVelmor_sendReq_ntfyBeaconReport(void *user, uint32_t word1, uint32_t word2,
                                         const char *mac, int8_t value1, int8_t value2);
uint32_t intfVelmor_modSrv_needUpdate_ntfyBeaconReport(void *user, uint32_t w1, uint32_t w2,
                                                       uint32_t w3);

#define INTFVELMOR_DECLARE_NOTIFICATION(x, X)                                                   \
    uint32_t intfVelmor_modCliNtfyUser_recvMsg_##x(void *user, uint32_t w1, uint32_t w2,       \
                                                  uint32_t w3, const char *busName,            \
                                                  void *userName);                             \
    void intfVelmor_recvReq_ntfy##X(void *ctx, void *body, void *handler, uint32_t ref);       \
    INTFVELMOR_DECLARE_BODY_CALLBACKS(msgNtfy, x)

INTFVELMOR_DECLARE_NOTIFICATION(meshTUKExtenderPairing, MeshTUKExtenderPairing)
INTFVELMOR_DECLARE_NOTIFICATION(meshTUKClientsLowRSSI, MeshTUKClientsLowRSSI)
INTFVELMOR_DECLARE_NOTIFICATION(beaconReport, BeaconReport)

/*
 * Bounded receipt for hosts that know the received length: the same as the
 * entry's unserializeBody callback (named by entryFn), but no read reaches
 * end. Returns 1 for a callback that is not one of this interface's.
 */
uint32_t intfVelmor_unserializeBodyBounded(intfVelmor_unserializeBodyFn entryFn, int32_t type,
                                           const uint8_t *bytes, const uint8_t *end,
                                           void **outBody, uint32_t *outSize);

#ifdef __cplusplus
}
#endif

#endif /* INTFVELMOR_MESSAGES_H */
