/*
 * The host's message core and event loop, as this library calls them.
 *
 * These functions are not part of libIntfVelmor: the process that loads the
 * library provides them. Words the library passes through unchanged (caller
 * words, the constants 0xFFFF, 0 and 18) belong to the core.
 */
#ifndef TOLK_HOST_H
#define TOLK_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Event loop: the callback later receives ctx and an event number. */
typedef void (*tick_evtFn)(void *ctx, int32_t event);
uint32_t tick_addEvtBase(tick_evtFn cb, void *ctx);

/*
 * Management record handed out by tolkCore_getBase_msgMngt. The library fills
 * the head's name and unregister callback and, for each entry in index order,
 * one tolkCore_mngtEntry; the core owns the rest.
 */
typedef struct tolkCore_mngtEntry {
    uintptr_t reserved;
    const char *name;
    void *freeBody;
    void *serializeBody;
    void *unserializeBody;
    void *logBody;
} tolkCore_mngtEntry;

typedef struct tolkCore_mngt {
    const char *name;
    void (*unreg)(uint16_t mngtNum);
    uintptr_t core;                      /* the core's own word */
    /* followed by one tolkCore_mngtEntry per entry */
} tolkCore_mngt;

static inline tolkCore_mngtEntry *tolkCore_mngtEntries(tolkCore_mngt *m)
{
    return (tolkCore_mngtEntry *)(void *)(m + 1);
}

/* Returns a management number, or 0xFFFF on failure. */
uint16_t tolkCore_getBase_msgMngt(const char *name, tolkCore_mngt **record, uint32_t count);
uint32_t tolkCore_putBase_msgMngt(uint16_t mngtNum, uint32_t zero);

uint32_t tolkIntf_regUser_msgMngt(void *user, uint32_t word, void *ref, uint32_t mngtNum,
                                  uint32_t none, uint32_t zero);
uint32_t tolkIntf_unregUser_msgMngt(void *user, uint32_t mngtNum, uint32_t none, uint32_t zero);
void *tolkIntf_findSrvMthdNtfyUser(int32_t a, uint32_t b, const char *intfName, uint32_t c,
                                   uint32_t d);

/*
 * Head of the core's message context: what the library reads back when a
 * response arrives. The core may keep more behind it.
 */
typedef struct tolkCore_msgCtx {
    void *cbRes;         /* response callback given at sendReq, or null */
    uint32_t ref;        /* reference word for that callback */
} tolkCore_msgCtx;

void *tolkIntf_getCore_user(void *user);
uint32_t tolkCore_sendMsgReq_toNameUser(void *coreUser, void *body, void *recvRes, void *cbRes,
                                        uint32_t word1, uint32_t word2, const char *srvName,
                                        uint32_t mngtNum, uint32_t index, uint32_t none,
                                        uint32_t eighteen);
uint32_t tolkCore_sendMsgRes(void *ctx, void *body, uint32_t code, uint32_t eighteen);
uint32_t tolkCore_isMsg_needRes(void *ctx);
uint32_t tolkIntf_modSrv_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                              uint32_t mthdMagic, const char *intfName, void *cmdBlock,
                              void *ntfyBlock, uint32_t index, uint32_t none1, uint32_t none2);
uint32_t tolkIntf_modCliNtfyUser_mthd(void *user, uint32_t word1, uint32_t word2, uint32_t word3,
                                      uint32_t mthdMagic, const char *busName, void *userName,
                                      const char *intfName, void *cmdBlock, void *ntfyBlock,
                                      uint32_t index);
uint32_t tolkIntf_modSrv_ntfy_needUpdate(void *user, uint32_t word1, uint32_t word2,
                                         uint32_t word3, const char *intfName, void *cmdBlock,
                                         void *ntfyBlock, uint32_t index);
uint32_t tolkIntf_sendReq_ntfy(void *user, void *body, uint32_t z1, uint32_t z2, uint32_t z3,
                               uint32_t word1, uint32_t word2, const char *intfName,
                               uint32_t mngtNum, uint32_t index, uint32_t z4, uint32_t z5,
                               uint32_t eighteen);

#ifdef __cplusplus
}
#endif

#endif /* TOLK_HOST_H */
